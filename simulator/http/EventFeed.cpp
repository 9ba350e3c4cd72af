#include "simulator/http/EventFeed.h"

namespace {

std::string Framed(EFeedEvent event, const std::string& json)
{
    static const char* const names[] = {"settings", "line", "state"};
    return std::string("event: ") + names[static_cast<std::size_t>(event)] + "\ndata: " + json +
           "\n\n";
}

} // namespace

bool EventFeedC::Enter(std::chrono::milliseconds atMost)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, atMost, [this] { return m_closed || m_viewers < m_mostViewers; });
    if (m_closed || m_viewers >= m_mostViewers)
        return false;
    ++m_viewers;
    return true;
}

void EventFeedC::Leave()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_changed.notify_all();
    if (--m_viewers > 0)
        return;
    m_newest = {};
    ++m_generation;
}

bool EventFeedC::HasViewers() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_viewers > 0;
}

std::uint64_t EventFeedC::Generation() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_generation;
}

void EventFeedC::Publish(EFeedEvent event, const std::string& json)
{
    const auto message = std::make_shared<const std::string>(Framed(event, json));
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Newest& newest = m_newest[static_cast<std::size_t>(event)];
        if (m_viewers == 0 || (newest.message && *newest.message == *message))
            return;
        newest = {message, ++m_lastNumber};
    }
    m_changed.notify_all();
}

EventFeedC::Messages EventFeedC::Unseen(Seen& seen) const
{
    Messages messages;
    for (std::size_t event = 0; event < kFeedEvents; ++event) {
        const Newest& newest = m_newest[event];
        if (newest.message && newest.number > seen[event]) {
            messages.push_back(newest.message);
            seen[event] = newest.number;
        }
    }
    return messages;
}

EventFeedC::Messages EventFeedC::Take(Seen& seen, std::chrono::milliseconds atMost)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    Messages messages;
    m_changed.wait_for(lock, atMost, [&] {
        messages = Unseen(seen);
        return m_closed || !messages.empty();
    });
    return messages;
}

void EventFeedC::Close()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
    }
    m_changed.notify_all();
}

bool EventFeedC::Closed() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_closed;
}
