#include "tools/navctl/feed/BurstOrder.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int kShownOftenEnough = 3;
/// A stream of many talkers has some dozens; noise must not make more of them.
constexpr std::size_t kMostEntries = 512;
/// Steps that make a first or a shorter period.
constexpr int kStepsOfPeriod = 2;
/// Steps that make a longer one: times that are lost make steps longer, too.
constexpr int kStepsOfLongerPeriod = 10;
constexpr std::int64_t kLongestStep = 3600000;
constexpr std::int64_t kLeastTolerance = 10;

} // namespace

void CBurstOrder::Show(NmeaKind untimed, NmeaKind timed, bool isBehind, bool isByPause)
{
    const auto entry = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& other) {
        return other.untimed == untimed && other.timed == timed;
    });
    if (entry == m_entries.end()) {
        if (m_entries.size() >= kMostEntries) {
            m_entries.clear();
        }
        m_entries.push_back({untimed, timed, {isBehind, isByPause}, 1});
    } else if (entry->place.isBehind != isBehind) {
        entry->place = {isBehind, isByPause};
        entry->timesShown = 1;
    } else {
        entry->place.isByPauseAlone = entry->place.isByPauseAlone && isByPause;
        entry->timesShown = std::min(entry->timesShown + 1, kShownOftenEnough);
    }
}

std::optional<CBurstOrder::Place> CBurstOrder::PlaceOf(NmeaKind untimed, NmeaKind timed) const
{
    for (const Entry& entry : m_entries) {
        if (entry.untimed == untimed && entry.timed == timed &&
            entry.timesShown >= kShownOftenEnough) {
            return entry.place;
        }
    }
    return std::nullopt;
}

void CBurstOrder::Forget(NmeaKind untimed)
{
    m_entries.erase(
        std::remove_if(m_entries.begin(), m_entries.end(),
                       [untimed](const Entry& entry) { return entry.untimed == untimed; }),
        m_entries.end());
}

void CEpochPeriod::Learn(std::int64_t step)
{
    if (IsOneStep(step) || step <= 0 || step > kLongestStep) {
        m_timesSeen = 0;
        return;
    }
    m_timesSeen = m_timesSeen > 0 && IsNear(step, m_candidate) ? m_timesSeen + 1 : 1;
    m_candidate = step;
    const bool isLonger = m_period > 0 && step > m_period;
    if (m_timesSeen >= (isLonger ? kStepsOfLongerPeriod : kStepsOfPeriod)) {
        m_period = step;
        m_timesSeen = 0;
    }
}

bool CEpochPeriod::IsNear(std::int64_t step, std::int64_t period)
{
    // A third of a second is told as 0.33 or 0.34 s.
    return std::abs(step - period) <= std::max(kLeastTolerance, period / 10);
}
