#include "simulator/guidance/SteeringController.h"

#include <algorithm>
#include <cmath>

#include "simulator/guidance/AxlePath.h"
#include "simulator/machine/Machine.h"

namespace {

constexpr double kControlPeriodSeconds = 0.1;
/// How long a command takes to do half its work after the dead time, seconds.
constexpr double kForesightSeconds = 0.1;
/// The line's curvature is taken so much farther on, which is what is left of the lag, seconds.
constexpr double kPreviewSeconds = 0.1;
/// By how much a command overstates the change of angle, against the lag.
constexpr double kLead = 2.0;
/// Slower than that nothing can be steered, metres per second.
constexpr double kLeastSteeredSpeed = 0.05;
/// Over what time the side slip is averaged that the implement's swing is steered against, seconds.
/// Faster changes are left alone: the machine would have to move aside first, and the implement is
/// no better for it.
constexpr double kStandingSlipSeconds = 20.0;
/// The integral term gathers only below these slopes, wanted and wrong: on the line, not on the
/// way.
constexpr double kIntegralReach = 0.04;
/// The integral gain, in squares of the damping.
constexpr double kIntegralShare = 0.1;
/// The integral term is no larger than what a steering centre 5 degrees wrong calls for, 1/m.
const double kIntegralLimit = std::tan(Radians(5.0)) / kWheelbase;

/// The machine and its steering angle at a moment to come.
struct Foreseen
{
    Pose pose;
    double steeringAngle;
};

Foreseen Foresee(const SteeringInput& input, double command)
{
    Foreseen ahead{input.motion.pose, input.steeringAngle};
    for (std::size_t step = 0; step < kSteeringDeadSteps; ++step) {
        ahead.steeringAngle = SteeringAfterStep(ahead.steeringAngle, command);
        ahead.pose =
            PoseAfter(ahead.pose, input.speed, ahead.steeringAngle + input.motion.centreBias,
                      input.motion.sideSlip, kMachineStepSeconds);
    }
    ahead.pose = PoseAfter(ahead.pose, input.speed, ahead.steeringAngle + input.motion.centreBias,
                           input.motion.sideSlip, kForesightSeconds);
    return ahead;
}

/// Where the machine is beside the line, or beside what leads its implement along the line. All is
/// seen in the direction of movement, in which a machine that moves backwards is steered like any
/// other, only with the wheels the other way round.
TrackingError ErrorAt(const Pose& pose, const SteeringInput& input, const CLineShape& line,
                      double station, double standingSlip)
{
    const Projection there = line.ProjectNear(pose.position, station);
    const double moveSign = input.speed < 0.0 ? -1.0 : 1.0;
    const double lineSign = input.facesAgainst ? -1.0 : 1.0;
    const double course = pose.heading + input.motion.sideSlip;
    const double preview = input.speed * kPreviewSeconds;
    if (input.implement) {
        const ImplementGeometry& geometry = input.implement->geometry;
        const BesideAxlePath beside =
            FindBesideAxlePath({line, input.facesAgainst, geometry, input.implement->aside},
                               there.station, pose.position, preview);
        // A machine that slips to the right looks to the left of its course, and holds the
        // implement to the right of its own track.
        const double swung = geometry.behind * std::sin(standingSlip);
        return {moveSign * (beside.crossTrack + swung), NormaliseTurn(course - beside.heading),
                moveSign * beside.curvature};
    }
    const double sign = lineSign * moveSign;
    return {sign * there.crossTrack,
            NormaliseTurn(course - there.foot.heading - (input.facesAgainst ? kPi : 0.0)),
            sign * line.At(there.station + lineSign * preview).curvature};
}

} // namespace

void CSteeringController::Start(double command)
{
    m_lastCommand = command;
    m_integral = 0.0;
    m_standingSlip = 0.0;
    m_wantedCurvature = 0.0;
}

double CSteeringController::Command(const SteeringInput& input, const CLineShape& line,
                                    double station, const TrackingGains& gains)
{
    const double speed = std::abs(input.speed);
    if (speed < kLeastSteeredSpeed) {
        return m_lastCommand;
    }
    const bool backwards = input.speed < 0.0;
    const double wheelSign = backwards ? -1.0 : 1.0;

    m_standingSlip +=
        kControlPeriodSeconds / kStandingSlipSeconds * (input.motion.sideSlip - m_standingSlip);
    const Foreseen ahead = input.isForeseen ? Foreseen{input.motion.pose, input.steeringAngle}
                                            : Foresee(input, m_lastCommand);
    const TrackingError error = ErrorAt(ahead.pose, input, line, station, m_standingSlip);
    const double curvature = TrackingCurvature(error, gains) + wheelSign * m_integral;

    m_wantedCurvature = wheelSign * curvature;
    const double wanted =
        std::clamp(std::atan(kWheelbase * m_wantedCurvature), -kSteeringStop, kSteeringStop);
    const double change = (input.isForeseen ? 1.0 : kLead) * (wanted - ahead.steeringAngle);
    const double greatestChange = gains.steeringRate * kSteeringLagSeconds;
    m_lastCommand =
        std::clamp(ahead.steeringAngle + std::clamp(change, -greatestChange, greatestChange),
                   -kSteeringStop, kSteeringStop);
    Integrate(ApproachOf(error, gains), gains, wheelSign * speed * kControlPeriodSeconds,
              std::abs(change) > greatestChange || std::abs(wanted) >= kSteeringStop);
    return m_lastCommand;
}

void CSteeringController::Integrate(const Approach& approach, const TrackingGains& gains,
                                    double way, bool limited)
{
    if (limited || std::abs(approach.wantedSlope) > kIntegralReach ||
        std::abs(approach.slopeError) > kIntegralReach) {
        return;
    }
    m_integral -= kIntegralShare * gains.damping * gains.damping * approach.slopeError * way;
    m_integral = std::clamp(m_integral, -kIntegralLimit, kIntegralLimit);
}
