#include "tools/navctl/watch/ListenerCheck.h"

#include <algorithm>

#include "tools/navctl/doctor/Probe.h"
#include "tools/navctl/operations/ServiceQuestion.h"

namespace {

/// Nothing can end the command while it asks.
constexpr double kLongestQuestion = 1.0;

} // namespace

bool CListenerCheck::IsService(double secondsLeft)
{
    if (m_isSilent)
        return true;
    // The other half is for the words of other protocols.
    const double limit = std::min({m_seconds, kLongestQuestion, secondsLeft / 2.0});
    m_navigation.SetTimeout(Milliseconds(limit));
    const CServiceAnswer answer = AskWhetherService(m_navigation);
    const LinkErrorC error = m_navigation.LastError();
    m_navigation.SetTimeout(Milliseconds(m_seconds));
    m_hasAnswered = m_hasAnswered || answer.isService;
    m_failure = m_hasAnswered ? std::nullopt : std::optional(error);
    if (answer.isService)
        return true;
    m_otherProgram = answer.problem;
    if (!m_otherProgram.empty())
        return false;
    // Some programs serve one connection after the other.
    m_navigation.Destroy();
    const std::string words = AnswerOfOtherProtocol(limit);
    m_isSilent = words.empty() && error.code == ELinkError::TimedOut;
    if (!words.empty())
        m_otherProgram = "something listens that does not speak the service's protocol; " + words;
    return words.empty();
}
