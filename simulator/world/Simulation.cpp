#include "simulator/world/Simulation.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "simulator/guidance/LineBuilder.h"
#include "simulator/world/SimulationState.h"

namespace {

/// How far beyond square to the line a machine is turned before it counts as looking the other way,
/// so that the noise of the heading does not move the line to and fro.
constexpr double kTurnTolerance = Radians(5.0);

/// Whether a line has parallel passes. What was driven is followed as it was driven.
bool Repeats(ELineKind kind)
{
    return kind != ELineKind::Recorded;
}

/// The receiver's options, which have its kind too.
ReceiverOptions MountingOf(const SimulationOptions& options)
{
    ReceiverOptions mounting = options.mounting;
    mounting.kind = options.receiver;
    return mounting;
}

/// Whether a line is smoothed by the curve filter.
bool IsDriven(ELineKind kind)
{
    return kind == ELineKind::Curve || kind == ELineKind::Recorded;
}

} // namespace

CSimulation::State::State(const SimulationOptions& startOptions, CLongWork* longWork)
    : options(startOptions),
      machine(options.startPose, options.speed, CSteering(options.centreBias, options.backlash)),
      implement(options.implement, machine.TruePose()), ground(options.ground, options.seed),
      receiver(MountingOf(options), options.seed, kControlSeconds),
      terrain(options.terrain, options.seed), conditions(options.conditions),
      estimator(AccuracyOf(options.receiver)), fed(options.leastFix), work(longWork),
      line(looks, longWork), definition(std::make_shared<const LineDefinition>())
{
    settings.speedSetPoint = options.speed;
    settings.guide = options.guide;
    Arrange(line, settings, *definition);
    machine.SetValve(conditions.valve);
    if (options.hasTyres) {
        machine.SetTyres({});
    }
    measured = machine.TruePose();
    Measure();
}

double CSimulation::State::ControlSpeed() const
{
    return fed.Active() ? fed.Speed() : machine.Speed();
}

Pose CSimulation::State::ControlPose() const
{
    return fed.Active() ? fed.Now().pose : estimator.Estimate().pose;
}

double CSimulation::State::CountedImplementOffset(const SimulationSettings& of,
                                                  const LineDefinition& line, bool against)
{
    const bool counts = line.kind != ELineKind::Spline || of.splinesUseImplementOffset;
    const double offset = against ? -of.implementOffset : of.implementOffset;
    return counts ? offset : 0.0;
}

double CSimulation::State::ShiftOf(const SimulationSettings& of, const LineDefinition& line,
                                   bool against)
{
    return of.nudge + of.fieldOffset + CountedImplementOffset(of, line, against);
}

void CSimulation::State::Arrange(CFollowedLine& placed, const SimulationSettings& by,
                                 const LineDefinition& of) const
{
    placed.Arrange(by.implementWidth, ShiftOf(by, of, facesAgainst));
}

void CSimulation::State::EndIfOvertaken() const
{
    if (work != nullptr) {
        work->EndIfOvertaken();
    }
}

void CSimulation::State::Become(CFollowedLine&& changed)
{
    const bool keepsShapes =
        line.SharedBase() == changed.SharedBase() && line.SharedShape() == changed.SharedShape();
    if (work != nullptr && !keepsShapes) {
        work->Discard(std::make_shared<CFollowedLine>(std::move(line)));
    }
    line = std::move(changed);
}

COutcome CSimulation::State::Adopt(const SimulationSettings& changed)
try {
    EndIfOvertaken();
    CFollowedLine moved = line;
    Arrange(moved, changed, *definition);
    Become(std::move(moved));
    settings = changed;
    LocateOnLine();
    return COutcome::Done();
} catch (const CWorkEnded& ended) {
    return COutcome::Overtaken(ended.what());
}

void CSimulation::State::LocateOnLine()
{
    const Point place = ControlPose().position;
    const bool engaged = engagement.Engaged();
    if (!engaged) {
        ChoosePass(place);
    }
    line.MoveTo(place, !engaged);
    if (!engaged) {
        FaceLine();
    }
}

void CSimulation::State::ChoosePass(const Point& place)
try {
    CFollowedLine chosen = line;
    chosen.ChoosePass(place);
    Become(std::move(chosen));
} catch (const CWorkPending& pending) {
    work->Prepare(pending);
} catch (const CWorkEnded&) {
    // The present pass stays until a later look.
}

bool CSimulation::State::LooksAgainst(double lineHeading, double tolerance) const
{
    const double turn = std::abs(NormaliseTurn(ControlPose().heading - lineHeading));
    return turn > kPi / 2.0 + (facesAgainst ? -tolerance : tolerance);
}

/// A machine that has turned round has the implement on the other side of the line, so that the
/// line is followed elsewhere. Where that takes long to make, it still faces as before until then.
void CSimulation::State::FaceLine()
try {
    if (!line.Shape() ||
        LooksAgainst(line.Position().foot.heading, kTurnTolerance) == facesAgainst) {
        return;
    }
    const Point place = ControlPose().position;
    CFollowedLine turned = line;
    turned.Turn(settings.implementWidth, ShiftOf(settings, *definition, !facesAgainst));
    turned.ChoosePass(place);
    turned.MoveTo(place, true);
    Become(std::move(turned));
    facesAgainst = !facesAgainst;
} catch (const CWorkPending& pending) {
    work->Prepare(pending);
} catch (const CWorkEnded&) {
    // It faces as before until a later look.
}

bool CSimulation::State::IsSmoothed() const
{
    return line.Base() != nullptr && IsDriven(definition->kind);
}

BuiltLine CSimulation::State::Built(const LineDefinitionPtr& of, int filterSize) const
{
    return *Calculated<BuiltLine>(work, {"build", of.get(), static_cast<double>(filterSize)},
                                  EWork::Change, WorkOf(*of),
                                  [of, filterSize] { return BuildLine(*of, filterSize); });
}

EFollow CSimulation::State::FollowOfNewLine() const
{
    return navigationActive ? line.Following() : EFollow::LineItself;
}

COutcome CSimulation::State::BuildFrom(const LineDefinitionPtr& newLine)
try {
    EndIfOvertaken();
    BuiltLine built = Built(newLine, settings.curveFilterSize);
    if (!built.shape) {
        return COutcome::Refused(built.reason);
    }
    CFollowedLine replaced = line;
    replaced.SetBase(std::move(built.shape), Repeats(newLine->kind));
    const Point place = ControlPose().position;
    const bool against = LooksAgainst(replaced.HeadingBeside(place), 0.0);
    replaced.Arrange(settings.implementWidth, ShiftOf(settings, *newLine, against));
    replaced.Follow(FollowOfNewLine(), place);
    Become(std::move(replaced));
    definition = newLine;
    facesAgainst = against;
    if (work != nullptr) {
        work->LineReplaced();
    }
    return COutcome::Done();
} catch (const CWorkEnded& ended) {
    return COutcome::Overtaken(ended.what());
}

COutcome CSimulation::State::Smooth(int filterSize)
try {
    EndIfOvertaken();
    if (IsSmoothed()) {
        BuiltLine built = Built(definition, filterSize);
        if (!built.shape) {
            return COutcome::Refused("smoothed over " + std::to_string(filterSize) + " points, " +
                                     built.reason);
        }
        CFollowedLine reshaped = line;
        reshaped.Reshape(std::move(built.shape));
        Become(std::move(reshaped));
        LocateOnLine();
    }
    settings.curveFilterSize = filterSize;
    return COutcome::Done();
} catch (const CWorkEnded& ended) {
    return COutcome::Overtaken(ended.what());
}

COutcome CSimulation::State::Restore()
try {
    EndIfOvertaken();
    SimulationSettings start;
    start.speedSetPoint = options.speed;
    start.guide = options.guide;
    CFollowedLine restored = line;
    if (start.curveFilterSize != settings.curveFilterSize && IsSmoothed()) {
        BuiltLine built = Built(definition, start.curveFilterSize);
        // A line that this would leave nothing of stays smoothed as it is.
        if (built.shape) {
            restored.Reshape(std::move(built.shape));
        }
    }
    Arrange(restored, start, *definition);
    Become(std::move(restored));
    settings = start;
    LocateOnLine();
    return COutcome::Done();
} catch (const CWorkEnded& ended) {
    return COutcome::Overtaken(ended.what());
}

COutcome CSimulation::State::Follow(EFollow follow)
try {
    EndIfOvertaken();
    if (line.Base() == nullptr) {
        return COutcome::Refused("there is no complete line");
    }
    CFollowedLine followed = line;
    followed.Follow(follow, ControlPose().position);
    Become(std::move(followed));
    navigationActive = true;
    LocateOnLine();
    return COutcome::Done();
} catch (const CWorkEnded& ended) {
    return COutcome::Overtaken(ended.what());
}

CSimulation::CSimulation(const SimulationOptions& options, CLongWork* work)
    : m_state(std::make_unique<State>(options, work))
{
}

CSimulation::~CSimulation() = default;

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
    return SetLine(std::make_shared<const LineDefinition>(line));
}

COutcome CSimulation::SetLine(const LineDefinitionPtr& line)
{
    return m_state->BuildFrom(line);
}

bool CSimulation::ClearLine()
{
    if (!HasLine()) {
        return false;
    }
    State& state = *m_state;
    state.navigationActive = false;
    Disengage();
    CFollowedLine none = state.line;
    none.SetBase(nullptr, false);
    state.Become(std::move(none));
    state.definition = std::make_shared<const LineDefinition>();
    state.facesAgainst = false;
    return true;
}

COutcome CSimulation::StartNavigation(EFollow follow)
{
    return m_state->Follow(follow);
}

void CSimulation::StopNavigation()
{
    State& state = *m_state;
    state.navigationActive = false;
    Disengage();
    state.line.FollowItselfSoon();
    state.LocateOnLine();
}

COutcome CSimulation::Engage()
{
    State& state = *m_state;
    if (state.engagement.Engaged()) {
        return COutcome::Done();
    }
    std::string reasons;
    for (const std::string& reason : WhyNotEngaged()) {
        reasons += (reasons.empty() ? "" : "; ") + reason;
    }
    if (!reasons.empty()) {
        return COutcome::Refused(reasons);
    }
    state.engagement.Engage();
    state.controller.Start(state.command);
    return COutcome::Done();
}

void CSimulation::Disengage()
{
    m_state->engagement.Disengage();
    m_state->command = 0.0;
    if (m_state->work != nullptr) {
        m_state->work->Disengaged();
    }
}

COutcome CSimulation::Feed(const FedPosition& sample)
{
    State& state = *m_state;
    COutcome outcome = state.fed.Take(sample, state.ControlPose(), Engaged());
    if (const std::optional<double> jump = state.fed.TakeJump()) {
        state.engagement.DropForJump(*jump);
    }
    if (outcome) {
        state.LocateOnLine();
    }
    return outcome;
}
