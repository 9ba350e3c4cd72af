#include "tests/support/Stopwatch.h"

#include <fstream>

namespace {

using Clock = std::chrono::steady_clock;

/// For how long this thread has been ready to run without running; 0 where the system does not
/// say.
std::chrono::nanoseconds HeldUp()
{
    std::ifstream file("/proc/thread-self/schedstat");
    long long running = 0;
    long long waiting = 0;
    file >> running >> waiting;
    return std::chrono::nanoseconds(waiting);
}

int InMilliseconds(Clock::duration time)
{
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}

} // namespace

CStopwatch::CStopwatch() : m_start(Clock::now()), m_heldUp(HeldUp()) {}

int CStopwatch::Milliseconds() const
{
    return InMilliseconds(Clock::now() - m_start - (HeldUp() - m_heldUp));
}

int CStopwatch::MillisecondsPassed() const
{
    return InMilliseconds(Clock::now() - m_start);
}
