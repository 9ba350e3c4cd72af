#ifndef KESTROVE_TOOLS_NAVCTL_FEED_BURSTPAUSES_H
#define KESTROVE_TOOLS_NAVCTL_FEED_BURSTPAUSES_H

#include <map>

#include "tools/navctl/feed/BurstOrder.h"

/// Whether the pauses of a live stream may be believed: whether they have come where bursts end, in
/// many bursts in a row, and nothing has come unevenly since.
///
/// A stream that arrives unevenly has pauses, too, some of them alike by chance. So the longer a
/// stream has failed to pause as receivers do, the more bursts in a row must agree.
class CBurstPauses
{
public:
    /// Notes that a burst began behind a clear pause, with all that has come being where it was.
    ///
    /// @param begins the first sentence behind the pause.
    /// @param arrival when that came, seconds.
    /// @param period of the stream, seconds.
    void TakeBurst(NmeaKind begins, double arrival, double period);

    /// Notes that none of the rests between two times is clearly a pause.
    void TakeUnclear();

    /// Notes that a time came too early or too late, so that the rests around it say nothing.
    void TakeUneven();

    /// Notes a pause where no burst ends, or one that places a sentence otherwise than before.
    void TakeContradiction();

    /// Whether a pause shows where a burst begins.
    bool AreCertain() const { return m_inARow >= m_needed; }

    /// Whether what they have shown must be forgotten. It need not when a burst came unevenly in
    /// a stream whose pauses were certain: its order is still the same.
    bool AreRefuted() const { return m_inARow == 0 && !m_wereCertain; }

private:
    void NeedMore();

    static constexpr int kFewestInARow = 8;

    std::map<NmeaKind, double> m_latest; ///< when each that begins a burst did so last
    int m_inARow = 0;                    ///< bursts that agree
    int m_needed = kFewestInARow;
    bool m_wereCertain = false;
};

#endif
