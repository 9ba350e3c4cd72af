#include "tools/navctl/watch/ListenerCheck.h"

#include <algorithm>

#include "tools/navctl/doctor/Probe.h"

namespace {

/// Nothing can end the command while it asks.
constexpr double kLongestQuestion = 1.0; // seconds
constexpr double kFurtherQuestion = 0.1;
constexpr std::chrono::seconds kBetweenQuestions(1);

} // namespace

bool CListenerCheck::IsService(double secondsLeft)
{
    if (m_isSilent) {
        return true;
    }
    // The other half is for the words of other protocols.
    const double limit = std::min({m_seconds, kLongestQuestion, secondsLeft / 2.0});
    const CServiceAnswer answer = Ask(limit);
    m_failure = m_hasAnswered ? std::nullopt : std::optional(m_error);
    if (answer.isService) {
        return true;
    }
    m_otherProgram = answer.problem;
    if (!m_otherProgram.empty()) {
        return false;
    }
    // Some programs serve one connection after the other.
    m_navigation.Destroy();
    const std::string words = AnswerOfOtherProtocol(limit);
    m_isSilent = words.empty() && m_error.code == ELinkError::TimedOut;
    if (!words.empty()) {
        m_otherProgram = "something listens that does not speak the service's protocol; " + words;
    }
    return words.empty();
}

void CListenerCheck::AskAgain()
{
    if (!m_isSilent || m_answersNow || m_navigation.Descriptor() < 0 ||
        Clock::now() < m_asked + kBetweenQuestions) {
        return;
    }
    // What is not one shows so where its answer is looked at, by the loop; and an answer to an
    // earlier question, which may come now, does not answer this one.
    Ask(std::min(m_seconds, kFurtherQuestion));
}

void CListenerCheck::Hear()
{
    m_isSilent = false;
    m_answersNow = true;
    m_hasAnswered = true;
    m_failure.reset();
}

CServiceAnswer CListenerCheck::Ask(double seconds)
{
    m_navigation.SetTimeout(Milliseconds(seconds));
    const CServiceAnswer answer = AskWhetherService(m_navigation);
    m_error = m_navigation.LastError();
    m_navigation.SetTimeout(Milliseconds(m_seconds));
    m_asked = Clock::now();
    if (answer.isService) {
        Hear();
    }
    return answer;
}
