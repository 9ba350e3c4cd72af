#include "simulator/guidance/SteeringResponse.h"

#include <algorithm>
#include <cmath>

#include "simulator/machine/Pose.h"
#include "simulator/machine/Steering.h"

namespace {

constexpr double kLags[] = {0.0, 0.1, 0.25, 0.45};
constexpr std::size_t kDeadSteps[] = {0, 5, 10};
/// Over what time a misfit is forgotten, seconds.
constexpr double kForgottenAfter = 5.0;
/// Another answer is believed when it fits better by that share, and by more than noise makes.
constexpr double kBetter = 0.8;
constexpr double kNoise = Radians(0.2);
/// Longer ago than that, the yaw rate says nothing of single commands, seconds.
constexpr double kLongestChange = 1.5;

double AfterStep(double curvature, double commanded, double lag)
{
    return lag > 0.0 ? commanded + (curvature - commanded) * std::exp(-kMachineStepSeconds / lag)
                     : commanded;
}

} // namespace

CSteeringResponse::CSteeringResponse() : m_believed(0)
{
    for (const std::size_t dead : kDeadSteps) {
        for (const double lag : kLags) {
            if (dead == kSteeringDeadSteps && lag == kSteeringLagSeconds) {
                m_believed = m_answers.size();
            }
            m_answers.push_back({dead, lag});
        }
    }
}

double CSteeringResponse::CommandAgo(std::size_t steps) const
{
    return m_commands[(m_next + 2 * kRemembered - 1 - steps) % kRemembered];
}

void CSteeringResponse::Step(double commanded)
{
    m_commands[m_next] = commanded;
    const std::size_t now = m_next;
    m_next = (m_next + 1) % kRemembered;
    for (Answer& answer : m_answers) {
        answer.curvature = AfterStep(answer.curvature, CommandAgo(answer.deadSteps), answer.lag);
        answer.past[now] = answer.curvature;
    }
}

double CSteeringResponse::Of(std::size_t index, double seconds) const
{
    const Answer& answer = m_answers[index];
    if (seconds >= 0.0) {
        const double steps =
            std::min(seconds / kMachineStepSeconds, static_cast<double>(kRemembered - 2));
        const auto whole = static_cast<std::size_t>(steps);
        const std::size_t newer = (m_next + 2 * kRemembered - 1 - whole) % kRemembered;
        const double newerValue = answer.past[newer];
        const double olderValue = answer.past[(newer + kRemembered - 1) % kRemembered];
        return newerValue + (steps - static_cast<double>(whole)) * (olderValue - newerValue);
    }
    double curvature = answer.curvature;
    const auto steps = static_cast<std::size_t>(std::lround(-seconds / kMachineStepSeconds));
    for (std::size_t step = 1; step <= steps; ++step) {
        const std::size_t ago = answer.deadSteps > step ? answer.deadSteps - step : 0;
        curvature = AfterStep(curvature, CommandAgo(ago), answer.lag);
    }
    return curvature;
}

void CSteeringResponse::Learn(double from, double to, double speed, double change)
{
    const double seconds = from - to;
    if (seconds <= 0.0 || seconds > kLongestChange) {
        return;
    }
    const double keep = std::exp(-seconds / kForgottenAfter);
    std::size_t best = m_believed;
    for (std::size_t i = 0; i < m_answers.size(); ++i) {
        const double misfit = change - speed * (Of(i, to) - Of(i, from));
        m_answers[i].misfit = keep * m_answers[i].misfit + misfit * misfit;
        if (m_answers[i].misfit < m_answers[best].misfit) {
            best = i;
        }
    }
    if (m_answers[best].misfit + kNoise * kNoise < kBetter * m_answers[m_believed].misfit) {
        m_believed = best;
    }
}

double CSteeringResponse::DeadTime() const
{
    return static_cast<double>(m_answers[m_believed].deadSteps) * kMachineStepSeconds;
}

double CSteeringResponse::Lag() const
{
    return m_answers[m_believed].lag;
}
