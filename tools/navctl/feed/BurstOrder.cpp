#include "tools/navctl/feed/BurstOrder.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int kShownOftenEnough = 3;
/// A place that is shown in every epoch may fail to be shown in one; one that is shown now and then
/// in as many again, but not in more than these.
constexpr std::uint64_t kFewestEpochs = 2;
constexpr std::uint64_t kMostEpochs = 40;
/// A stream of many talkers has some dozens; noise must not make more of them.
constexpr std::size_t kMostEntries = 512;
/// For so many epochs a kind is thought to come often: so many losses in a row, of one of two each
/// time, do not happen.
constexpr std::uint64_t kEpochsToRemember = 20;
/// Steps that make a first or a shorter period.
constexpr int kStepsOfPeriod = 2;
/// Steps that make a longer one, or one in which a time may be missing: times that are lost make
/// steps longer, too.
constexpr int kStepsOfDoubtfulPeriod = 10;
constexpr std::int64_t kLongestStep = 3600000;
constexpr std::int64_t kLeastTolerance = 10;

} // namespace

void CBurstOrder::Show(const BurstPlace& place, bool isByPause)
{
    const auto entry = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& other) {
        return other.untimed == place.untimed && other.timed == place.timed;
    });
    const Entry first{
        place.untimed, place.timed, {place.isBehind, isByPause, kFewestEpochs}, 1, m_epoch};
    if (entry == m_entries.end()) {
        if (m_entries.size() >= kMostEntries) {
            m_entries.clear();
        }
        m_entries.push_back(first);
        return;
    }
    const std::uint64_t epochs = m_epoch - entry->lastShown;
    const bool isSettled = entry->timesShown >= kShownOftenEnough;
    const std::uint64_t most = isSettled ? entry->place.epochsUntilShown : kMostEpochs;
    if (entry->place.isBehind != place.isBehind || epochs > most) {
        *entry = first;
        return;
    }
    if (!isSettled) {
        entry->place.epochsUntilShown = std::max(entry->place.epochsUntilShown, 2 * epochs);
    }
    entry->place.isByPauseAlone = entry->place.isByPauseAlone && isByPause;
    entry->timesShown = std::min(entry->timesShown + 1, kShownOftenEnough);
    entry->lastShown = m_epoch;
}

std::optional<CBurstOrder::Place> CBurstOrder::PlaceOf(NmeaKind untimed, NmeaKind timed) const
{
    for (const Entry& entry : m_entries) {
        if (entry.untimed == untimed && entry.timed == timed && IsShownOften(entry) &&
            m_epoch - entry.lastShown <= entry.place.epochsUntilShown) {
            Place place = entry.place;
            place.epochsUntilShown -= m_epoch - entry.lastShown;
            return place;
        }
    }
    return std::nullopt;
}

bool CBurstOrder::WasKnown(NmeaKind untimed) const
{
    return std::any_of(m_entries.begin(), m_entries.end(), [this, untimed](const Entry& entry) {
        return entry.untimed == untimed && IsShownOften(entry);
    });
}

std::optional<bool> CBurstOrder::LastPlaceOf(NmeaKind untimed, NmeaKind timed) const
{
    for (const Entry& entry : m_entries) {
        if (entry.untimed == untimed && entry.timed == timed) {
            return entry.place.isBehind;
        }
    }
    return std::nullopt;
}

bool CBurstOrder::IsSettled(NmeaKind untimed) const
{
    return WasKnown(untimed) &&
           std::none_of(m_entries.begin(), m_entries.end(), [&](const Entry& entry) {
               return entry.untimed == untimed && entry.timesShown < kShownOftenEnough &&
                      m_epoch - entry.lastShown <= kMostEpochs;
           });
}

void CBurstOrder::ShowTwice(NmeaKind untimed)
{
    const auto known = std::find_if(m_twice.begin(), m_twice.end(), [untimed](const Twice& twice) {
        return twice.untimed == untimed;
    });
    if (known == m_twice.end()) {
        if (m_twice.size() >= kMostEntries) {
            m_twice.clear();
        }
        m_twice.push_back({untimed, m_epoch, std::nullopt});
    } else if (known->last != m_epoch) {
        known->before = known->last;
        known->last = m_epoch;
    }
}

bool CBurstOrder::ComesOften(NmeaKind untimed) const
{
    // Once alone it was a piece that was sent twice.
    return std::any_of(m_twice.begin(), m_twice.end(), [&](const Twice& twice) {
        return twice.untimed == untimed && twice.before &&
               m_epoch - *twice.before <= kEpochsToRemember;
    });
}

void CBurstOrder::Forget(NmeaKind untimed)
{
    m_entries.erase(
        std::remove_if(m_entries.begin(), m_entries.end(),
                       [untimed](const Entry& entry) { return entry.untimed == untimed; }),
        m_entries.end());
}

void CBurstOrder::ForgetPauses()
{
    m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(),
                                   [](const Entry& entry) { return entry.place.isByPauseAlone; }),
                    m_entries.end());
}

bool CBurstOrder::IsShownOften(const Entry& entry) const
{
    return entry.timesShown >= kShownOftenEnough && (m_trustsPauses || !entry.place.isByPauseAlone);
}

bool CEpochPeriod::Learn(std::int64_t step, bool mayMissTime)
{
    if ((!m_isDoubtful && IsOneStep(step)) || step <= 0 || step > kLongestStep) {
        m_timesSeen = 0;
        return false;
    }
    const bool goesOn = m_timesSeen > 0 && IsNear(step, m_candidate);
    m_timesSeen = goesOn ? m_timesSeen + 1 : 1;
    m_mayMissTime = mayMissTime || (goesOn && m_mayMissTime);
    m_candidate = step;
    m_shortest = m_shortest > 0 ? std::min(m_shortest, step) : step;
    const std::int64_t known = m_period > 0 ? m_period : m_shortest;
    const bool isLonger = step > known && !IsNear(step, known);
    m_isDoubtful = m_isDoubtful || (m_period > 0 && !isLonger);
    if (m_timesSeen >= (isLonger || m_mayMissTime ? kStepsOfDoubtfulPeriod : kStepsOfPeriod)) {
        const bool isOther = !IsNear(step, m_period);
        m_period = step;
        m_timesSeen = 0;
        m_isDoubtful = false;
        return isOther;
    }
    return false;
}

bool CEpochPeriod::IsNear(std::int64_t step, std::int64_t period)
{
    // A third of a second is given as 0.33 or 0.34 s.
    return std::abs(step - period) <= std::max(kLeastTolerance, period / 10);
}
