#ifndef KESTROVE_RUNTIME_DEADLINE_H
#define KESTROVE_RUNTIME_DEADLINE_H

#include <algorithm>
#include <chrono>
#include <climits>

/// A moment on the monotonic clock, which a change of the wall clock does not move.
class DeadlineC
{
public:
    using Clock = std::chrono::steady_clock;

    /// The moment `milliseconds` from now; below 0, never.
    static DeadlineC After(int milliseconds)
    {
        DeadlineC deadline;
        deadline.m_never = milliseconds < 0;
        if (!deadline.m_never) {
            deadline.m_moment = Clock::now() + std::chrono::milliseconds(milliseconds);
        }
        return deadline;
    }

    bool Passed() const { return !m_never && Clock::now() >= m_moment; }

    /// The time left in milliseconds, rounded up, as poll takes it; -1 for never.
    int Remaining() const
    {
        if (m_never) {
            return -1;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_moment - Clock::now());
        return static_cast<int>(
            std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, INT_MAX));
    }

private:
    Clock::time_point m_moment;
    bool m_never = false;
};

#endif
