#include "simulator/world/FedPositions.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "simulator/machine/Machine.h"

namespace {

constexpr double kFreshSeconds = 1.0;
constexpr double kGivenUpSeconds = 5.0;
/// Below that the course over ground is noise, metres per second.
constexpr double kLeastCourseSpeed = 0.3;

/// What is wrong with a sample; empty when nothing is.
std::string Problem(const FedPosition& sample)
{
    if (!sample.valid)
        return "the position is marked as not valid";
    std::ostringstream problem;
    const auto judge = [&problem](const char* what, double value) {
        if (!std::isfinite(value) && problem.tellp() == 0)
            problem << what << ' ' << value << " is not a finite number";
    };
    judge("the east coordinate", sample.position.x);
    judge("the north coordinate", sample.position.y);
    judge("the heading", sample.heading.value_or(0.0));
    judge("the course", sample.course);
    judge("the speed", sample.speed);
    judge("the yaw rate", sample.yawRate.value_or(0.0));
    judge("the age", sample.age);
    return problem.str();
}

} // namespace

COutcome CFedPositions::Take(const FedPosition& sample, const Pose& present)
{
    const std::string problem = Problem(sample);
    if (!problem.empty())
        return COutcome::Refused(problem);
    const double speed = std::abs(sample.speed);
    double heading = present.heading;
    if (sample.heading) {
        heading = *sample.heading;
    } else if (speed >= kLeastCourseSpeed) {
        heading = sample.course + (sample.reverse ? kPi : 0.0);
    }
    m_pose = {sample.position, NormaliseHeading(heading)};
    m_speed = sample.reverse ? -speed : speed;
    if (!m_active)
        m_estimator.Reset();
    m_estimator.Take({m_pose, sample.heading.has_value(), sample.course, sample.yawRate, m_speed,
                      sample.sigma, std::clamp(sample.age, 0.0, kFreshSeconds)});
    m_age = 0.0;
    m_waits = true;
    m_active = true;
    return COutcome::Done();
}

bool CFedPositions::Age(double curvature)
{
    m_age += kMachineStepSeconds;
    m_estimator.Step(curvature);
    const bool givenUp = m_active && m_age > kGivenUpSeconds;
    m_active = m_active && !givenUp;
    return givenUp;
}

bool CFedPositions::Fresh() const
{
    return m_age <= kFreshSeconds;
}
