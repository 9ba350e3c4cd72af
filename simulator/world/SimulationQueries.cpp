// The operations of CSimulation that report something and change nothing.

#include "simulator/world/Simulation.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "simulator/guidance/LineBuilder.h"
#include "simulator/world/SimulationState.h"

namespace {

constexpr double kDrawnBehind = 50.0;
constexpr double kDrawnAhead = 150.0;
constexpr double kDrawnSpacing = 2.0;

} // namespace

bool CSimulation::HasLine() const
{
    return m_state->line.Base() != nullptr;
}

double CSimulation::LineLength() const
{
    return HasLine() ? m_state->line.Base()->Length() : 0.0;
}

double CSimulation::HeadingNearest(const LineDefinition& line) const
{
    return HeadingNearest(line, CurveFilterSize(), EstimatedPose().position);
}

double CSimulation::HeadingNearest(const LineDefinition& line, int filterSize, const Point& place)
{
    const BuiltLine built = BuildLine(line, filterSize);
    if (!built.shape) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    return built.shape->Project(place).foot.heading;
}

bool CSimulation::NavigationActive() const
{
    return m_state->navigationActive;
}

bool CSimulation::Engaged() const
{
    return m_state->engagement.Engaged();
}

std::vector<std::string> CSimulation::WhyNotEngaged() const
{
    if (Engaged()) {
        return {};
    }
    return CEngagement::UnmetConditions(m_state->Situation(), m_state->settings.engage);
}

bool CSimulation::DroppedByService() const
{
    return m_state->engagement.Dropped();
}

const std::string& CSimulation::DropReason() const
{
    return m_state->engagement.DropReason();
}

bool CSimulation::MovingInReverse() const
{
    return MovesInReverse(Speed());
}

std::optional<Point> CSimulation::RightOfLine() const
{
    if (!m_state->line.Shape()) {
        return std::nullopt;
    }
    return RightOf(m_state->line.Position().foot.heading);
}

bool CSimulation::FedMode() const
{
    return m_state->fed.Active();
}

Pose CSimulation::MeasuredPose() const
{
    return FedMode() ? m_state->fed.Sampled() : m_state->measured;
}

ReceiverReport CSimulation::Reported() const
{
    return FedMode() ? ReceiverReport() : m_state->receiver.Report();
}

Pose CSimulation::EstimatedPose() const
{
    return m_state->ControlPose();
}

double CSimulation::Speed() const
{
    return m_state->ControlSpeed();
}

double CSimulation::SteeringAngle() const
{
    return m_state->machine.Steering().SensorAngle();
}

double CSimulation::SteeringCommand() const
{
    return m_state->command;
}

LineLayout CSimulation::Layout() const
{
    const CFollowedLine& line = m_state->line;
    return {line.SharedBase(), line.SharedShape(), line.BaseStation(), line.Pass(),
            ImplementWidth(),  LineShift(),        line.Repeats()};
}

GuidanceStatus CSimulation::Status() const
{
    const State& state = *m_state;
    if (!state.line.Shape()) {
        return {};
    }
    const double curvature = Engaged() ? state.controller.WantedCurvature() : 0.0;
    return {state.line.Pass(), state.line.Position().crossTrack, state.HeadingErrorNow(),
            curvature};
}

std::vector<Point> CSimulation::FollowedPoints() const
{
    const CLineShape* shape = m_state->line.Shape();
    if (!shape) {
        return {};
    }
    const double here = m_state->line.Position().station;
    const bool against = m_state->facesAgainst;
    const Stretch drawn = shape->Clip({here - (against ? kDrawnAhead : kDrawnBehind),
                                       here + (against ? kDrawnBehind : kDrawnAhead)});
    if (drawn.to <= drawn.from) {
        return {};
    }
    std::vector<Point> points;
    const int spaces = static_cast<int>(std::ceil((drawn.to - drawn.from) / kDrawnSpacing));
    points.reserve(static_cast<std::size_t>(spaces) + 1);
    for (int space = 0; space < spaces; ++space) {
        points.push_back(shape->At(drawn.from + space * kDrawnSpacing).position);
    }
    points.push_back(shape->At(drawn.to).position);
    if (against) {
        std::reverse(points.begin(), points.end());
    }
    return points;
}

int CSimulation::FollowedPassRevision() const
{
    return m_state->line.Revision();
}

std::optional<Point> CSimulation::AimPoint() const
{
    const CLineShape* shape = m_state->line.Shape();
    if (!shape) {
        return std::nullopt;
    }
    const double ahead = m_state->Gains().lookAheadDistance;
    const bool backwards = MovingInReverse();
    const double way = m_state->facesAgainst != backwards ? -ahead : ahead;
    return shape->At(m_state->line.Position().station + way).position;
}

bool CSimulation::FacesAgainst() const
{
    return m_state->line.Shape() && m_state->facesAgainst;
}

bool CSimulation::TakesNearestPass() const
{
    return m_state->FollowOfNewLine() == EFollow::NearestPass;
}

Pose CSimulation::TruePose() const
{
    return FedMode() ? m_state->fed.Now().pose : m_state->machine.TruePose();
}

double CSimulation::TrueCrossTrackError() const
{
    const CLineShape* shape = m_state->line.Shape();
    if (!shape) {
        return 0.0;
    }
    return shape->ProjectNear(TruePose().position, m_state->line.Position().station).crossTrack;
}

std::uint64_t CSimulation::Looks() const
{
    return m_state->looks.taken;
}

Point CSimulation::TrueImplementPoint() const
{
    return m_state->implement.Middle(m_state->settings.implementOffset);
}

double CSimulation::ReceiverDriftError() const
{
    const std::optional<Point> right = RightOfLine();
    if (!right || FedMode()) {
        return 0.0;
    }
    const Point drift = m_state->receiver.Drift();
    return -(drift.x * right->x + drift.y * right->y);
}

double CSimulation::TrueImplementCrossTrackError() const
{
    return m_state->ImplementErrorAt(TrueImplementPoint());
}

Point CSimulation::ImplementPoint() const
{
    // Seen from the machine, the implement is where it is.
    const Pose truth = TruePose();
    const Pose found = EstimatedPose();
    const Point place = TrueImplementPoint();
    return Moved(found.position, found.heading, AheadOf(truth.position, truth.heading, place),
                 RightwardOf(truth.position, truth.heading, place));
}

double CSimulation::ImplementHeading() const
{
    return NormaliseHeading(EstimatedPose().heading + m_state->implement.Heading() -
                            TruePose().heading);
}

double CSimulation::ImplementCrossTrackError() const
{
    return m_state->ImplementErrorAt(ImplementPoint());
}

double CSimulation::State::ImplementErrorAt(const Point& place) const
{
    if (!line.Shape()) {
        return 0.0;
    }
    // The followed pass lies aside of the worked one by the implement offset.
    return line.Shape()->ProjectNear(place, line.Position().station).crossTrack +
           CountedImplementOffset();
}
