#ifndef KESTROVE_TESTS_SUPPORT_STOPWATCH_H
#define KESTROVE_TESTS_SUPPORT_STOPWATCH_H

#include <chrono>

/// Takes the time of what the calling thread does. A bound from above is held against what the
/// thread itself takes, so that a busy machine does not decide; a bound from below against all that
/// passes.
///
/// Used by the thread that made it.
class CStopwatch
{
public:
    CStopwatch();

    /// What has passed, less the time for which the thread was ready to run and other work had the
    /// processors.
    int Milliseconds() const;

    /// What has passed.
    int MillisecondsPassed() const;

private:
    std::chrono::steady_clock::time_point m_start;
    std::chrono::nanoseconds m_heldUp;
};

#endif
