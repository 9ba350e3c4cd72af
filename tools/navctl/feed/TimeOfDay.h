#ifndef KESTROVE_TOOLS_NAVCTL_FEED_TIMEOFDAY_H
#define KESTROVE_TOOLS_NAVCTL_FEED_TIMEOFDAY_H

#include <algorithm>
#include <cstdint>
#include <optional>

inline constexpr std::int64_t kMillisecondsADay = 86400000;
/// Times that differ by no more are one: receivers round.
inline constexpr std::int64_t kSameTimeMilliseconds = 10;

/// From one time of the day to one that follows, over midnight where need be; milliseconds.
inline std::int64_t StepBetween(std::int64_t from, std::int64_t to)
{
    return (to - from + kMillisecondsADay) % kMillisecondsADay;
}

inline bool IsSameTime(std::int64_t left, std::int64_t right)
{
    const std::int64_t step = StepBetween(left, right);
    return std::min(step, kMillisecondsADay - step) <= kSameTimeMilliseconds;
}

/// Notices times that come again, as they do when a piece of a stream is sent twice.
class CLatestTime
{
public:
    /// @param leastStep by how much more a time must be later to be another one, milliseconds.
    explicit CLatestTime(std::int64_t leastStep) : m_leastStep(leastStep) {}

    /// Whether a time is not later than the latest one before. So many that follow one another are
    /// a clock that was set back, or another recording.
    bool IsCopy(std::int64_t timeOfDay)
    {
        const std::int64_t step = m_latest ? StepBetween(*m_latest, timeOfDay) : m_leastStep + 1;
        const bool isLater = step > m_leastStep && step < kMillisecondsADay / 2;
        m_copies = isLater ? 0 : m_copies + 1;
        if (isLater || m_copies > kMostCopies) {
            m_copies = 0;
            m_latest = timeOfDay;
            return false;
        }
        return true;
    }

private:
    static constexpr int kMostCopies = 8;

    std::int64_t m_leastStep;
    std::optional<std::int64_t> m_latest;
    int m_copies = 0; ///< times that have come in a row and are not later
};

#endif
