#include "tools/navctl/watch/Silence.h"

#include <string>

void CSilence::Hear(const CEvent& event, Clock::time_point now)
{
    const std::string name = event.name;
    if (m_last || name == "guidance-status" || name == "relative-position") {
        m_last = now;
    }
}

std::optional<long> CSilence::SecondsAt(Clock::time_point now) const
{
    if (!m_last || now - *m_last < m_limit) {
        return std::nullopt;
    }
    return std::chrono::floor<std::chrono::seconds>(now - *m_last).count();
}
