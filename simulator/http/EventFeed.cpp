#include "simulator/http/EventFeed.h"

#include <algorithm>
#include <utility>

namespace {

std::string Framed(const char* name, const std::string& json)
{
    return std::string("event: ") + name + "\ndata: " + json + "\n\n";
}

} // namespace

void CEventFeed::Enter()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_viewers;
}

void CEventFeed::Leave()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (--m_viewers > 0) {
        return;
    }
    m_newest = {};
    m_line.reset();
    ++m_generation;
}

bool CEventFeed::HasViewers() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_viewers > 0;
}

std::uint64_t CEventFeed::Generation() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_generation;
}

void CEventFeed::Publish(EFeedEvent event, const std::string& json)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Newest& newest = m_newest[static_cast<std::size_t>(event)];
        if (m_viewers == 0 || newest.json == json) {
            return;
        }
        newest = {json, ++m_lastNumber};
    }
    if (m_changed) {
        m_changed();
    }
}

void CEventFeed::PublishLine(LinePicturePtr picture)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_viewers == 0) {
            return;
        }
        m_line = std::move(picture);
        m_lineNumber = ++m_lastNumber;
    }
    if (m_changed) {
        m_changed();
    }
}

std::string CEventFeed::TakeEvent(EFeedEvent event, Seen& seen) const
{
    static const char* const names[] = {"settings", "state", "show"};
    const auto index = static_cast<std::size_t>(event);
    const Newest& newest = m_newest[index];
    if (newest.number <= seen.numbers[index] || newest.json.empty()) {
        return {};
    }
    seen.numbers[index] = newest.number;
    return Framed(names[index], newest.json);
}

std::string CEventFeed::TakeLine(Seen& seen) const
{
    const bool mayHavePoints = seen.savedBytes > 0.0;
    const bool isNew = m_lineNumber > seen.line;
    if (!m_line || !(isNew || (seen.lacksPoints && mayHavePoints))) {
        return {};
    }
    bool isWhole = false;
    const std::string event =
        LineEvent(*m_line, seen.pieces, mayHavePoints ? kMostPointBytes : 0, isWhole);
    seen.line = m_lineNumber;
    seen.lacksPoints = !isWhole;
    return Framed("line", event);
}

std::string CEventFeed::Take(Seen& seen, TimePoint now) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::chrono::duration<double> passed = now - seen.last.value_or(now);
    seen.last = now;
    seen.savedBytes = std::min(kMostSavedBytes, seen.savedBytes + kBytesASecond * passed.count());
    const std::string state = TakeEvent(EFeedEvent::State, seen);
    seen.savedBytes -= static_cast<double>(state.size());
    // It is short, and changes a few times in a minute.
    std::string events = TakeEvent(EFeedEvent::Show, seen);
    seen.savedBytes -= static_cast<double>(events.size());
    const auto takeOther = [&](std::optional<TimePoint>& before, auto take) {
        if (seen.savedBytes <= -kMostAdvance || (before && now - *before < kBetweenOthers)) {
            return;
        }
        const std::string event = take();
        if (!event.empty()) {
            before = now;
            seen.savedBytes -= static_cast<double>(event.size());
            events += event;
        }
    };
    takeOther(seen.lastSettings, [&] { return TakeEvent(EFeedEvent::Settings, seen); });
    takeOther(seen.lastLine, [&] { return TakeLine(seen); });
    return events + state;
}
