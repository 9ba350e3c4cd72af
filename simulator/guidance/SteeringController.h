#ifndef KESTROVE_SIMULATOR_GUIDANCE_STEERINGCONTROLLER_H
#define KESTROVE_SIMULATOR_GUIDANCE_STEERINGCONTROLLER_H

#include <optional>

#include "simulator/guidance/LineShape.h"
#include "simulator/guidance/PoseEstimator.h"
#include "simulator/guidance/TrackingLaw.h"
#include "simulator/machine/Implement.h"

/// An implement, and by how much its middle is left of the machine's, metres.
struct ImplementOnMachine
{
    ImplementGeometry geometry;
    double aside = 0.0;
};

/// What the controller steers by.
struct SteeringInput
{
    MotionEstimate motion;
    double speed = 0.0;         ///< metres per second, negative backwards
    double steeringAngle = 0.0; ///< radians, of the sensor
    bool facesAgainst = false;  ///< the machine looks against the direction of the line
    bool isForeseen = false;    ///< the motion and the angle are those when the command acts, on
                                ///< another machine than the own one
    std::optional<ImplementOnMachine> implement; ///< what is to be on its line; none: the machine
};

/// Steers the machine along a line, a command every control period.
///
/// The command acts only after the dead time and the lag of the steering, so the controller first
/// foresees where the machine will be by then, with the commands that are still under way (the
/// principle of Smith, "Closer Control of Loops with Dead Time", 1957), and leads the wanted angle.
/// An integral term takes away what the model does not know, such as a wrong steering centre. It
/// gathers the error of the approach's slope, not the cross-track error, and only near the line and
/// while nothing is at a limit: so the way to the line leaves nothing in it.
class CSteeringController
{
public:
    /// The command for the next control period, radians.
    /// @param station of the machine on the line.
    double Command(const SteeringInput& input, const CLineShape& line, double station,
                   const TrackingGains& gains);
    /// Takes up steering, after `command` has been the last one.
    void Start(double command);
    void ResetIntegral() { m_integral = 0.0; }

    /// The curvature that the last command was to bring, 1/m, positive to the right.
    double WantedCurvature() const { return m_wantedCurvature; }

private:
    void Integrate(const Approach& approach, const TrackingGains& gains, double way, bool limited);

    double m_lastCommand = 0.0;
    double m_integral = 0.0;     ///< 1/m, positive to the right
    double m_standingSlip = 0.0; ///< radians to the right, averaged
    double m_wantedCurvature = 0.0;
};

#endif
