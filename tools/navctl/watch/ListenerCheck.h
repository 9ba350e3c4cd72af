#ifndef KESTROVE_TOOLS_NAVCTL_WATCH_LISTENERCHECK_H
#define KESTROVE_TOOLS_NAVCTL_WATCH_LISTENERCHECK_H

#include <optional>
#include <string>

#include "api/NavigationAPI.h"

/// Finds out whether what listens is a navigation service: a program of another protocol may take
/// subscriptions without a word.
class CListenerCheck
{
public:
    /// @param navigation must outlive this object.
    /// @param seconds the longest wait for a reply.
    CListenerCheck(CNavigationAPI& navigation, double seconds)
        : m_navigation(navigation), m_seconds(seconds)
    {
    }

    /// Asks something that changes nothing, over a link that is up. When nothing answers, closes
    /// the link, which reopens by itself, and asks in the words of other protocols; after that it
    /// asks nothing any more, since a service that hangs may wake up.
    ///
    /// @param secondsLeft until the command ends.
    /// @return whether what listens may be a navigation service.
    bool IsService(double secondsLeft);
    /// Who listens instead, as words of an error; empty unless IsService() was false.
    const std::string& OtherProgram() const { return m_otherProgram; }
    /// Why what listens has answered nothing so far; nothing once it has, and while it may be
    /// asked.
    const std::optional<LinkErrorC>& Failure() const { return m_failure; }

private:
    CNavigationAPI& m_navigation;
    double m_seconds;
    bool m_isSilent = false;
    bool m_hasAnswered = false;
    std::optional<LinkErrorC> m_failure;
    std::string m_otherProgram;
};

#endif
