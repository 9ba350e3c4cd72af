#include "simulator/guidance/Engagement.h"

#include <cmath>
#include <iomanip>
#include <sstream>

#include "simulator/machine/Pose.h"

namespace {

constexpr double kLeastSpeed = 0.3;
constexpr double kGreatestHeadingError = Radians(60.0);
constexpr double kStandingSpeed = 0.02;

template <typename... TParts>
std::string Sentence(const TParts&... parts)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(2);
    (text << ... << parts);
    return text.str();
}

/// Empty when the machine is where and how steering needs it.
std::vector<std::string> PlaceProblems(const EngageSituation& situation)
{
    std::vector<std::string> problems;
    if (!situation.lineLeft) {
        problems.push_back("nothing is left of the pass so far inside of the bend");
        return problems;
    }
    if (situation.distance > situation.implementWidth / 2.0) {
        problems.push_back(Sentence("the machine is ", situation.distance,
                                    " m from the line, more than half the implement width of ",
                                    situation.implementWidth, " m"));
    }
    if (std::abs(situation.headingError) > kGreatestHeadingError) {
        problems.push_back(Sentence(
            "the machine's heading is ", Degrees(std::abs(situation.headingError)),
            " degrees from the line's, more than ", Degrees(kGreatestHeadingError), " degrees"));
    }
    return problems;
}

std::vector<std::string> ReverseProblems(const EngageSituation& situation,
                                         const EngageSettings& settings)
{
    std::vector<std::string> problems;
    if (!MovesInReverse(situation.speed)) {
        return problems;
    }
    if (!settings.reverseEnabled) {
        problems.push_back("the machine moves backwards and engaging in reverse is not enabled");
    }
    if (!settings.reverseAllowed) {
        problems.push_back("the machine moves backwards and engaging in reverse is not allowed");
    }
    return problems;
}

bool TooSlow(const EngageSituation& situation, const EngageSettings& settings)
{
    return !settings.lowSpeedAllowed && std::abs(situation.speed) < kLeastSpeed;
}

std::string TooSlowProblem(const EngageSituation& situation)
{
    return Sentence("the machine moves at ", std::abs(situation.speed), " m/s, slower than ",
                    kLeastSpeed, " m/s, and engaging at low speed is not allowed");
}

/// All conditions but that of speed, which alone may fail for a while.
std::vector<std::string> ProblemsButSlowness(const EngageSituation& situation,
                                             const EngageSettings& settings)
{
    if (!situation.navigationActive) {
        return {"navigation is not active"};
    }
    std::vector<std::string> problems;
    if (!situation.positionProblem.empty()) {
        problems.push_back(situation.positionProblem);
    }
    if (situation.reckonsTooLong) {
        problems.push_back(
            Sentence("the receiver has had no usable position for ", kLongestReckoning, " s"));
    }
    for (auto&& group : {PlaceProblems(situation), ReverseProblems(situation, settings)}) {
        problems.insert(problems.end(), group.begin(), group.end());
    }
    return problems;
}

} // namespace

bool MovesInReverse(double speed)
{
    return speed < -kStandingSpeed;
}

std::vector<std::string> CEngagement::UnmetConditions(const EngageSituation& situation,
                                                      const EngageSettings& settings)
{
    std::vector<std::string> problems = ProblemsButSlowness(situation, settings);
    if (situation.navigationActive && TooSlow(situation, settings)) {
        problems.push_back(TooSlowProblem(situation));
    }
    return problems;
}

void CEngagement::Engage()
{
    m_engaged = true;
    m_dropReason.clear();
    m_slow = false;
    m_slowSeconds = 0.0;
}

void CEngagement::Disengage()
{
    m_engaged = false;
    m_dropReason.clear();
}

void CEngagement::DropForJump(double metres)
{
    if (!m_engaged) {
        return;
    }
    m_dropReason = Sentence("the fed positions have jumped by ", metres, " m, and stay there");
    m_engaged = false;
}

void CEngagement::Check(const EngageSituation& situation, const EngageSettings& settings,
                        double seconds)
{
    if (!m_engaged) {
        return;
    }
    const bool slow = TooSlow(situation, settings);
    m_slowSeconds = slow && m_slow ? m_slowSeconds + seconds : 0.0;
    m_slow = slow;
    const std::vector<std::string> problems = ProblemsButSlowness(situation, settings);
    if (!problems.empty()) {
        m_dropReason = problems.front();
    } else if (slow && m_slowSeconds >= settings.lowSpeedTimeout) {
        m_dropReason = TooSlowProblem(situation);
    }
    m_engaged = m_dropReason.empty();
}
