#ifndef KESTROVE_SIMULATOR_MACHINE_STEERING_H
#define KESTROVE_SIMULATOR_MACHINE_STEERING_H

#include <array>
#include <cstddef>

#include "simulator/machine/SteeringValve.h"

/// How many steps pass before a steering command begins to act: the dead time of 0.10 s.
inline constexpr std::size_t kSteeringDeadSteps = 5;

/// The steering angle one step after `angle`, when `command` acts on it: first-order lag, rate
/// limit and stops. The controller predicts with the same law that the machine obeys.
double SteeringAfterStep(double angle, double command);

/// The steering of the machine from the command to the front wheels: dead time, lag, rate limit,
/// stops, play between actuator and wheels, and a centre that may be set wrongly. Angles are
/// radians, positive to the right.
class CSteering
{
public:
    /// @param centreBias by which the wheels stand right of what the sensor says.
    /// @param backlash the whole play between actuator and wheels.
    CSteering(double centreBias, double backlash);

    /// What the valve is like from now on.
    void SetValve(const ValveOptions& valve) { m_valve = valve; }

    /// Moves on by one step.
    void Step(double command);

    /// What the sensor at the actuator says.
    double SensorAngle() const { return m_actuator; }
    /// Where the wheels really stand.
    double WheelAngle() const;

private:
    double m_centreBias;
    double m_halfPlay;
    ValveOptions m_valve;
    double m_actuator = 0.0;
    double m_follower = 0.0; ///< the wheel side of the play
    std::array<double, kSteeringDeadSteps> m_pending{};
    std::size_t m_next = 0;
};

#endif
