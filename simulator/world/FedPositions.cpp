#include "simulator/world/FedPositions.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <utility>

#include "simulator/machine/Machine.h"

namespace {

constexpr double kFreshSeconds = 1.0;
constexpr double kGivenUpSeconds = 5.0;
/// A sample may be so far from where the machine is carried on to, metres; and what a machine may
/// do beside that: metres per second squared, and radians of its direction.
constexpr double kPossibleJump = 0.4;
constexpr double kPossibleAcceleration = 3.0;
constexpr double kPossibleTurn = Radians(10.0);
/// After so long a jump has stayed, seconds.
constexpr double kHeldBackSeconds = 0.5;
/// Below that the course over ground is noise, metres per second.
constexpr double kLeastCourseSpeed = 0.3;

/// What is wrong with a sample; empty when nothing is.
std::string Unusable(const FedPosition& sample)
{
    if (!sample.valid) {
        return "the position is marked as not valid";
    }
    std::ostringstream problem;
    const auto judge = [&problem](const char* what, double value) {
        if (!std::isfinite(value) && problem.tellp() == 0) {
            problem << what << ' ' << value << " is not a finite number";
        }
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

bool FedPosition::operator==(const FedPosition& other) const
{
    return valid == other.valid && position.x == other.position.x &&
           position.y == other.position.y && heading == other.heading && course == other.course &&
           speed == other.speed && reverse == other.reverse && yawRate == other.yawRate &&
           sigma == other.sigma && fixQuality == other.fixQuality && number == other.number &&
           time == other.time;
}

COutcome CFedPositions::Take(const FedPosition& sample, const Pose& present, bool steered)
{
    const std::string problem = Unusable(sample);
    if (!problem.empty()) {
        return COutcome::Refused(problem);
    }
    // Whoever sends something is still there.
    m_age = 0.0;
    m_poor = m_active ? m_order.Problem(sample) : std::string();
    if (!m_poor.empty()) {
        return COutcome::Refused(m_poor);
    }
    if (m_active && HoldsBack(sample, steered)) {
        m_poor = "the fed position is where no machine can have got to, and is held back";
        return COutcome::Refused(m_poor);
    }
    m_poor = PoorSample(sample, m_least);
    const double speed = std::abs(sample.speed);
    double heading = present.heading;
    if (sample.heading) {
        heading = *sample.heading;
    } else if (speed >= kLeastCourseSpeed) {
        heading = sample.course + (sample.reverse ? kPi : 0.0);
    }
    m_pose = {sample.position, NormaliseHeading(heading)};
    m_speed = sample.reverse ? -speed : speed;
    if (!m_active) {
        m_estimator.Reset();
        m_order.Reset();
        m_order.Problem(sample);
        m_goodAge = m_poor.empty() ? 0.0 : 2.0 * kFreshSeconds;
    }
    m_estimator.Take({m_pose, sample.heading.has_value(), sample.course, sample.yawRate, m_speed,
                      sample.sigma, std::clamp(sample.age, 0.0, kFreshSeconds)});
    m_goodAge = m_poor.empty() ? 0.0 : m_goodAge;
    m_waits = true;
    m_active = true;
    return COutcome::Done();
}

bool CFedPositions::Age(double commanded)
{
    m_age += kMachineStepSeconds;
    m_goodAge += kMachineStepSeconds;
    m_time += kMachineStepSeconds;
    m_estimator.Step(commanded);
    const bool givenUp = m_active && m_age > kGivenUpSeconds;
    m_active = m_active && !givenUp;
    return givenUp;
}

std::string CFedPositions::Problem(bool steered) const
{
    if (m_goodAge <= kFreshSeconds) {
        return steered ? std::string() : m_poor;
    }
    const std::string stale = "no fresh position has come for 1 s";
    return m_poor.empty() ? stale : stale + ": " + m_poor;
}

std::optional<double> CFedPositions::TakeJump()
{
    return std::exchange(m_jump, std::nullopt);
}

bool CFedPositions::IsJump(const FedPosition& sample) const
{
    const double seconds = m_goodAge;
    const double possible = kPossibleJump + kPossibleAcceleration / 2.0 * seconds * seconds +
                            kPossibleTurn * std::abs(m_speed) * (seconds + sample.age) +
                            4.0 * sample.sigma;
    const Pose now = Now().pose;
    const Point then = Moved(now.position, now.heading, -m_speed * sample.age, 0.0);
    return Distance(then, sample.position) > possible;
}

bool CFedPositions::HoldsBack(const FedPosition& sample, bool steered)
{
    if (!steered || !IsJump(sample)) {
        m_heldBack.reset();
        return false;
    }
    if (!m_heldBack) {
        m_heldBack = m_time;
    }
    if (m_time - *m_heldBack < kHeldBackSeconds) {
        return true;
    }
    m_heldBack.reset();
    m_jump = Distance(Now().pose.position, sample.position);
    m_estimator.Reset();
    return false;
}
