#ifndef KESTROVE_RUNTIME_TURNCLOCK_H
#define KESTROVE_RUNTIME_TURNCLOCK_H

#include <chrono>
#include <ctime>

/// Measures a turn by the processor time that this thread has used in it.
///
/// What other programs take of the processor meanwhile is nobody's turn: by the wall clock, whoever
/// is served when the system has the thread wait would have had theirs, with nothing done.
class TurnClockC
{
public:
    /// Starts a turn.
    explicit TurnClockC(std::chrono::microseconds length)
        : m_length(length), m_wallEnd(std::chrono::steady_clock::now() + length), m_start(Used())
    {
    }

    bool IsOver() const
    {
        // No more is used than goes by; the wall clock is asked at a fraction of the cost.
        return std::chrono::steady_clock::now() >= m_wallEnd && Used() - m_start >= m_length;
    }

private:
    static std::chrono::nanoseconds Used()
    {
        timespec time = {};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }

    std::chrono::microseconds m_length;
    std::chrono::steady_clock::time_point m_wallEnd;
    std::chrono::nanoseconds m_start;
};

#endif
