#ifndef KESTROVE_TOOLS_NAVCTL_FEED_FINISHEDEPOCHS_H
#define KESTROVE_TOOLS_NAVCTL_FEED_FINISHEDEPOCHS_H

#include <deque>

#include "tools/navctl/feed/NmeaDay.h"
#include "tools/navctl/feed/NmeaEpoch.h"
#include "tools/navctl/feed/SkipCount.h"

/// Makes samples of epochs that are over, in their order. An epoch waits while it has sentences
/// that are not certain yet, and with it those behind it; by the epochs that their claims have left
/// this ends.
class CFinishedEpochs
{
public:
    /// @param day of the first sample, days since 1970-01-01, when no sentence gives it.
    CFinishedEpochs(std::int64_t day, std::deque<PositionSample>& samples, CSkipCount& leftOut)
        : m_samples(samples), m_leftOut(leftOut), m_day(day)
    {
    }

    /// Takes in an epoch that is over.
    void Take(const NmeaEpoch& epoch);
    /// Notes that a place was shown: what rests on it is confirmed, or refuted. `current` is the
    /// epoch that is not over yet; null when there is none.
    void Show(const BurstPlace& place, NmeaEpoch* current);
    /// Refutes whatever rests on the place of a kind.
    void Forget(NmeaKind untimed, NmeaEpoch* current);
    /// Notes that an epoch has ended. To be called before it is taken in.
    void EndEpoch(NmeaEpoch& ended);
    /// Refutes whatever is not certain yet.
    void LeaveOutPending(NmeaEpoch* current);
    /// Gives everything, as nothing more will be shown.
    void Flush();

    CNmeaDay& Day() { return m_day; }
    const CNmeaDay& Day() const { return m_day; }

private:
    template <typename Change>
    void ChangeClaims(NmeaEpoch& epoch, const Change& change);
    void Release();
    void Give(const NmeaEpoch& epoch);

    std::deque<NmeaEpoch> m_waiting;
    std::deque<PositionSample>& m_samples;
    CSkipCount& m_leftOut;
    CNmeaDay m_day;
};

#endif
