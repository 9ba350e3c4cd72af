#ifndef KESTROVE_TOOLS_NAVCTL_WATCH_LISTENERCHECK_H
#define KESTROVE_TOOLS_NAVCTL_WATCH_LISTENERCHECK_H

#include <chrono>
#include <optional>
#include <string>

#include "api/NavigationAPI.h"
#include "tools/navctl/operations/ServiceQuestion.h"

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

    /// Asks something that changes nothing, over a link that has come up. When nothing answers,
    /// closes the link, which reopens by itself, and asks in the words of other protocols; after
    /// that only AskAgain() asks, since a service that hangs may wake up.
    ///
    /// @param secondsLeft until the command ends.
    /// @return whether what listens may be a navigation service.
    bool IsService(double secondsLeft);
    /// Who listens instead, as words of an error; empty unless IsService() was false.
    const std::string& OtherProgram() const { return m_otherProgram; }
    /// Asks what has answered nothing over the present link, once in a while and for a moment.
    void AskAgain();
    /// Notes that a service has been heard over the present link, as by an event.
    void Hear();
    /// Notes that the link is down.
    void LoseLink() { m_answersNow = false; }
    /// Whether a service has been heard over the present link.
    bool AnswersNow() const { return m_answersNow; }
    /// Why what listens has answered nothing so far; nothing once it has, and while it may be
    /// asked.
    const std::optional<LinkErrorC>& Failure() const { return m_failure; }

private:
    using Clock = std::chrono::steady_clock;

    CServiceAnswer Ask(double seconds);

    CNavigationAPI& m_navigation;
    double m_seconds;
    bool m_isSilent = false;
    bool m_answersNow = false;
    bool m_hasAnswered = false;
    Clock::time_point m_asked; ///< when it was for the last time
    LinkErrorC m_error;        ///< of the last question
    std::optional<LinkErrorC> m_failure;
    std::string m_otherProgram;
};

#endif
