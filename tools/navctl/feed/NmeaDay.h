#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEADAY_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEADAY_H

#include <cstdint>
#include <optional>

#include "tools/navctl/feed/TimeOfDay.h"
#include "tools/navctl/feed/TimeOrder.h"

/// Makes Unix times of times of the day, of which few sentences give the day. A new day begins when
/// the time of day jumps back by half a day at least. Until a sentence gives the day, the times are
/// those of an assumed one; Correction() says by how much they were wrong.
class CNmeaDay
{
public:
    /// @param day the day that is assumed, in days since 1970-01-01.
    explicit CNmeaDay(std::int64_t day) : m_day(day) {}

    /// The Unix time of a time of the day, which follows the one before.
    ///
    /// @param timeOfDay milliseconds.
    /// @param toldDay the day, where the sentences of that time give it.
    /// @param order receives whether it is later than the one before.
    /// @param isOfSample whether a sample has it; other times do not count in the order.
    double UnixTime(std::int64_t timeOfDay, std::optional<std::int64_t> toldDay, ETimeOrder& order,
                    bool isOfSample)
    {
        if (m_lastTimeOfDay && timeOfDay + kHalfDay < *m_lastTimeOfDay) {
            ++m_day;
        }
        m_lastTimeOfDay = timeOfDay;
        if (toldDay) {
            Set(*toldDay);
        }
        const double time =
            static_cast<double>(m_day) * kSecondsOfADay + static_cast<double>(timeOfDay) / 1000.0;
        order = isOfSample ? m_order.Take(time) : ETimeOrder::Later;
        return time;
    }

    /// Sets the day of the last time. The first one that is given sets right what was assumed.
    void Set(std::int64_t day)
    {
        if (!m_isTold) {
            m_correction = static_cast<double>(day - m_day) * kSecondsOfADay;
            m_order.Shift(m_correction);
        }
        m_isTold = true;
        m_day = day;
    }

    /// Sets the day of a time that follows the last one, and with it the last one's.
    void SetOfNext(std::int64_t day, std::int64_t timeOfDay)
    {
        const bool isOverMidnight = m_lastTimeOfDay && timeOfDay + kHalfDay < *m_lastTimeOfDay;
        Set(day - (isOverMidnight ? 1 : 0));
    }

    bool IsTold() const { return m_isTold; }
    /// What is to be added to the times that were given before the day was known, seconds.
    double Correction() const { return m_correction; }

private:
    static constexpr std::int64_t kHalfDay = kMillisecondsADay / 2;
    static constexpr double kSecondsOfADay = 86400.0;

    std::int64_t m_day;
    bool m_isTold = false;
    double m_correction = 0.0;
    std::optional<std::int64_t> m_lastTimeOfDay;
    CTimeOrder m_order;
};

#endif
