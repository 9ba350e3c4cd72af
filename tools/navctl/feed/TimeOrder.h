#ifndef KESTROVE_TOOLS_NAVCTL_FEED_TIMEORDER_H
#define KESTROVE_TOOLS_NAVCTL_FEED_TIMEORDER_H

#include <optional>

/// Why a sample is left out whose time is not later than that of the one before.
inline constexpr const char* kNoLaterTime = "time does not advance";

/// Where a sample stands in time.
enum class ETimeOrder
{
    Later,    ///< later than the one before
    NotLater, ///< not later; it is not to be used
    NewStart, ///< not later, but the file's time goes on from here
};

/// Keeps samples in the order of their time.
///
/// A time that is wrong and far ahead would have everything after it left out. So when several
/// samples in a row are later than each other, but none is later than the last one that was used,
/// it is that one which was wrong, and the time goes on from the newest of them.
class CTimeOrder
{
public:
    /// So many samples in a row make a new start.
    static constexpr int kSamplesToStartAnew = 5;

    /// Takes the time of a sample in.
    ///
    /// @param time seconds.
    ETimeOrder Take(double time)
    {
        if (!m_last || time > *m_last) {
            m_last = time;
            m_rising = 0;
            return ETimeOrder::Later;
        }
        m_rising = m_rising > 0 && time > m_lastLeftOut ? m_rising + 1 : 1;
        m_lastLeftOut = time;
        if (m_rising < kSamplesToStartAnew) {
            return ETimeOrder::NotLater;
        }
        m_last = time;
        m_rising = 0;
        return ETimeOrder::NewStart;
    }

    /// Moves the times that were taken, as the clock of the file was set.
    ///
    /// @param seconds forwards when positive.
    void Shift(double seconds)
    {
        if (m_last) {
            *m_last += seconds;
        }
        m_lastLeftOut += seconds;
    }

private:
    std::optional<double> m_last;
    double m_lastLeftOut = 0.0;
    int m_rising = 0;
};

#endif
