// The clock of CSimulation, and guidance on it.

#include <algorithm>
#include <cmath>

#include "simulator/world/SimulationState.h"

namespace {

/// The gains are those of this speed for a slower machine, metres per second.
constexpr double kLeastGainSpeed = 0.3;
/// Guidance runs after a sample from outside when so many steps have passed since it ran last.
constexpr int kLeastStepsAfterSample = 4;

} // namespace

double CSimulation::State::HeadingErrorNow() const
{
    const double lineHeading = line.Position().foot.heading + (facesAgainst ? kPi : 0.0);
    return NormaliseTurn(ControlPose().heading - lineHeading);
}

EngageSituation CSimulation::State::Situation() const
{
    EngageSituation situation;
    situation.navigationActive = navigationActive;
    if (fed.Active()) {
        situation.positionProblem = fed.Problem(engagement.Engaged());
    }
    situation.reckonsTooLong = !fed.Active() && reckoned > kLongestReckoning + kControlSeconds / 2;
    situation.lineLeft = line.Shape() != nullptr;
    situation.implementWidth = settings.implementWidth;
    situation.speed = ControlSpeed();
    if (situation.lineLeft) {
        situation.distance = line.Position().distance;
        situation.headingError = HeadingErrorNow();
    }
    return situation;
}

TrackingGains CSimulation::State::Gains() const
{
    return GainsFor(settings.tuning, settings.lookAheadTime,
                    std::max(kLeastGainSpeed, std::abs(ControlSpeed())));
}

bool CSimulation::State::ControlIsDue()
{
    if (!fed.Active()) {
        return steps % kStepsPerControl == 0;
    }
    // Right after a sample, when what is known is newest, but no more often than that takes.
    const auto since = static_cast<int>(steps - controlledAt);
    return since >= (fed.SampleWaits() ? kLeastStepsAfterSample : kStepsPerControl);
}

std::optional<ImplementOnMachine> CSimulation::State::GuidedImplement() const
{
    const bool pushed = MovesInReverse(ControlSpeed()) && options.implement.drawbar > 0.0;
    if (settings.guide == EGuide::Machine || pushed) {
        return std::nullopt;
    }
    return ImplementOnMachine{options.implement,
                              CountedImplementOffset(settings, *definition, false)};
}

SteeringInput CSimulation::State::OwnSteering() const
{
    return {estimator.Estimate(), machine.Speed(), machine.Steering().SensorAngle(),
            facesAgainst,         false,           GuidedImplement()};
}

SteeringInput CSimulation::State::FedSteering() const
{
    const FedMotion motion = fed.WhenCommandActs();
    const double speed = fed.Speed();
    // What the wheels of a machine like the own one would stand at, which turned as fast.
    const double angle = std::abs(speed) < kLeastGainSpeed
                             ? machine.Steering().SensorAngle()
                             : std::atan(kWheelbase * motion.yawRate / speed);
    return {{motion.pose, motion.sideSlip, 0.0},
            speed,
            std::clamp(angle, -kSteeringStop, kSteeringStop),
            facesAgainst,
            true,
            GuidedImplement()};
}

void CSimulation::State::Control()
{
    const double seconds = static_cast<double>(steps - controlledAt) * kStepSeconds;
    controlledAt = steps;
    fed.SampleUsed();
    looks.left = LookBudget::kFull;
    if (!fed.Active()) {
        Measure();
    }
    LocateOnLine();
    engagement.Check(Situation(), settings.engage, seconds);
    command = engagement.Engaged() ? 0.0 : ManualCommand();
    if (engagement.Engaged()) {
        command = controller.Command(fed.Active() ? FedSteering() : OwnSteering(), *line.Shape(),
                                     line.Position().station, Gains());
    }
}

void CSimulation::Step()
{
    State& state = *m_state;
    ++state.steps;
    if (state.fed.Age(std::tan(state.command) / kWheelbase)) {
        // Its own machine has stood where it was; what was known of it is out of date.
        state.MeasureAnew();
    }
    if (state.fed.Active()) {
        state.machine.StepSteering(state.command);
    } else {
        state.machine.Step(state.command, state.settings.speedSetPoint,
                           state.ground.NextSideSlip());
        state.estimator.Predict(state.machine.Speed(), state.machine.Steering().SensorAngle());
    }
    state.implement.Follow(TruePose());
    state.controlRan = state.ControlIsDue();
    if (state.controlRan) {
        state.Control();
    }
}
