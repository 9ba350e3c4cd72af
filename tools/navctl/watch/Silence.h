#ifndef KESTROVE_TOOLS_NAVCTL_WATCH_SILENCE_H
#define KESTROVE_TOOLS_NAVCTL_WATCH_SILENCE_H

#include <chrono>
#include <optional>

#include "tools/navctl/watch/EventKind.h"

/// Notices that a service has stopped sending events over a link that stays up, as one that hangs
/// does. That can be seen only once guidance status or relative position have come, which come ten
/// times a second; the other events may be rare.
class CSilence
{
public:
    using Clock = std::chrono::steady_clock;

    /// @param limit shorter silences do not count.
    explicit CSilence(std::chrono::seconds limit) : m_limit(limit) {}

    /// An event has come.
    void Hear(const CEvent& event, Clock::time_point now);
    /// The link is down, so that nothing is expected.
    void Forget() { m_last.reset(); }
    /// For how many seconds nothing has come; empty while that is less than the limit.
    std::optional<long> SecondsAt(Clock::time_point now) const;

private:
    std::chrono::seconds m_limit;
    std::optional<Clock::time_point> m_last; ///< empty while nothing is expected
};

#endif
