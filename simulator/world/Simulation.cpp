#include "simulator/world/Simulation.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "simulator/guidance/LineBuilder.h"
#include "simulator/world/SimulationState.h"

namespace {

constexpr double kControlSeconds = CSimulation::kStepSeconds * CSimulation::kStepsPerControl;
/// The gains are those of this speed for a slower machine, metres per second.
constexpr double kLeastGainSpeed = 0.3;

/// Whether a line has parallel passes. What was driven is followed as it was driven.
bool Repeats(ELineKind kind)
{
    return kind != ELineKind::Recorded;
}

/// Whether a line is smoothed by the curve filter.
bool IsDriven(ELineKind kind)
{
    return kind == ELineKind::Curve || kind == ELineKind::Recorded;
}

} // namespace

CSimulation::State::State(const SimulationOptions& startOptions)
    : options(startOptions),
      machine(options.startPose, options.speed, CSteering(options.centreBias, options.backlash)),
      ground(options.ground, options.seed),
      receiver(options.receiver, options.seed, kControlSeconds),
      estimator(AccuracyOf(options.receiver))
{
    settings.speedSetPoint = options.speed;
    ArrangeLine();
    measured = receiver.Measure(machine.TruePose());
    estimator.Correct(measured);
}

double CSimulation::State::ControlSpeed() const
{
    return fed.Active() ? fed.Speed() : machine.Speed();
}

Pose CSimulation::State::ControlPose() const
{
    return fed.Active() ? fed.Now() : estimator.Estimate().pose;
}

double CSimulation::State::CountedImplementOffset() const
{
    const bool counts = definition.kind != ELineKind::Spline || settings.splinesUseImplementOffset;
    return counts ? settings.implementOffset : 0.0;
}

void CSimulation::State::ArrangeLine()
{
    line.Arrange(settings.implementWidth,
                 settings.nudge + settings.fieldOffset + CountedImplementOffset());
}

void CSimulation::State::ShiftLine()
{
    ArrangeLine();
    LocateOnLine();
}

void CSimulation::State::LocateOnLine()
{
    line.MoveTo(ControlPose().position, !engagement.Engaged());
    if (line.Shape() && !engagement.Engaged()) {
        const double lineHeading = line.Position().foot.heading;
        facesAgainst = std::abs(NormaliseTurn(ControlPose().heading - lineHeading)) > kPi / 2.0;
    }
}

COutcome CSimulation::State::BuildFrom(const LineDefinition& newLine)
{
    BuiltLine built = BuildLine(newLine, settings.curveFilterSize);
    if (!built.shape)
        return COutcome::Refused(built.reason);
    const EFollow follow = line.Following();
    definition = newLine;
    line.SetBase(std::move(built.shape), Repeats(newLine.kind));
    ArrangeLine();
    line.Follow(navigationActive ? follow : EFollow::LineItself, ControlPose().position);
    if (line.Shape()) {
        const double lineHeading = line.Position().foot.heading;
        facesAgainst = std::abs(NormaliseTurn(ControlPose().heading - lineHeading)) > kPi / 2.0;
    }
    return COutcome::Done();
}

COutcome CSimulation::State::Smooth(int filterSize)
{
    if (line.Base() != nullptr && IsDriven(definition.kind)) {
        BuiltLine built = BuildLine(definition, filterSize);
        if (!built.shape) {
            return COutcome::Refused("smoothed over " + std::to_string(filterSize) + " points, " +
                                     built.reason);
        }
        line.Reshape(std::move(built.shape));
        LocateOnLine();
    }
    settings.curveFilterSize = filterSize;
    return COutcome::Done();
}

double CSimulation::State::HeadingErrorNow() const
{
    const double lineHeading = line.Position().foot.heading + (facesAgainst ? kPi : 0.0);
    return NormaliseTurn(ControlPose().heading - lineHeading);
}

EngageSituation CSimulation::State::Situation() const
{
    EngageSituation situation;
    situation.navigationActive = navigationActive;
    situation.positionFresh = !fed.Active() || fed.Fresh();
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

void CSimulation::State::Control()
{
    if (!fed.Active()) {
        measured = receiver.Measure(machine.TruePose());
        estimator.Correct(measured);
    }
    LocateOnLine();
    engagement.Check(Situation(), settings.engage, kControlSeconds);
    command = 0.0;
    if (engagement.Engaged()) {
        const MotionEstimate motion =
            fed.Active() ? MotionEstimate{fed.Now(), 0.0, 0.0} : estimator.Estimate();
        command = controller.Command(
            {motion, ControlSpeed(), machine.Steering().SensorAngle(), facesAgainst}, *line.Shape(),
            line.Position().station, Gains());
    }
}

CSimulation::CSimulation(const SimulationOptions& options)
    : m_state(std::make_unique<State>(options))
{
}

CSimulation::~CSimulation() = default;

void CSimulation::Step()
{
    State& state = *m_state;
    ++state.steps;
    if (state.fed.Age(kStepSeconds)) {
        // Its own machine has stood where it was; what was known of it is out of date.
        state.estimator.Reset();
        state.measured = state.receiver.Measure(state.machine.TruePose());
        state.estimator.Correct(state.measured);
    }
    if (state.fed.Active()) {
        state.machine.StepSteering(state.command);
    } else {
        state.machine.Step(state.command, state.settings.speedSetPoint,
                           state.ground.NextSideSlip());
        state.estimator.Predict(state.machine.Speed(), state.machine.Steering().SensorAngle());
    }
    state.controlRan = state.steps % kStepsPerControl == 0;
    if (state.controlRan)
        state.Control();
}

double CSimulation::Time() const
{
    return static_cast<double>(m_state->steps) * kStepSeconds;
}

bool CSimulation::ControlRan() const
{
    return m_state->controlRan;
}

COutcome CSimulation::SetLine(const LineDefinition& line)
{
    return m_state->BuildFrom(line);
}

bool CSimulation::ClearLine()
{
    if (!HasLine())
        return false;
    StopNavigation();
    m_state->line.SetBase(nullptr, false);
    m_state->definition = {};
    return true;
}

COutcome CSimulation::StartNavigation(EFollow follow)
{
    if (!HasLine())
        return COutcome::Refused("there is no complete line");
    m_state->navigationActive = true;
    m_state->line.Follow(follow, m_state->ControlPose().position);
    m_state->LocateOnLine();
    return COutcome::Done();
}

void CSimulation::StopNavigation()
{
    State& state = *m_state;
    state.navigationActive = false;
    Disengage();
    state.line.Follow(EFollow::LineItself, state.ControlPose().position);
    state.LocateOnLine();
}

COutcome CSimulation::Engage()
{
    State& state = *m_state;
    if (state.engagement.Engaged())
        return COutcome::Done();
    std::string reasons;
    for (const std::string& reason : WhyNotEngaged())
        reasons += (reasons.empty() ? "" : "; ") + reason;
    if (!reasons.empty())
        return COutcome::Refused(reasons);
    state.engagement.Engage();
    state.controller.Start(state.command);
    return COutcome::Done();
}

void CSimulation::Disengage()
{
    m_state->engagement.Disengage();
    m_state->command = 0.0;
}

COutcome CSimulation::Feed(const FedPosition& sample)
{
    COutcome outcome = m_state->fed.Take(sample, m_state->ControlPose());
    if (outcome)
        m_state->LocateOnLine();
    return outcome;
}
