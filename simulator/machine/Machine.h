#ifndef KESTROVE_SIMULATOR_MACHINE_MACHINE_H
#define KESTROVE_SIMULATOR_MACHINE_MACHINE_H

#include <optional>

#include "simulator/machine/Pose.h"
#include "simulator/machine/Steering.h"
#include "simulator/machine/TyreChassis.h"

/// The distance of the axles, metres.
inline constexpr double kWheelbase = 2.8;
/// How fast the machine gains or loses speed at most, metres per second squared.
inline constexpr double kAccelerationLimit = 1.0;

/// The pose after `seconds` of driving: the kinematic bicycle with the rear axle as reference
/// (Rajamani, "Vehicle Dynamics and Control", 2012, section 2.2), integrated by the midpoint rule.
///
/// @param speed metres per second, negative backwards.
/// @param wheelAngle radians, positive to the right.
/// @param sideSlip radians by which the rear axle moves to the right of where it looks.
Pose PoseAfter(const Pose& pose, double speed, double wheelAngle, double sideSlip, double seconds);

/// A wheeled machine steered at the front. It drives at the set point, gaining and losing speed
/// with limited acceleration.
class CMachine
{
public:
    CMachine(const Pose& start, double speed, const CSteering& steering);

    /// Moves on by kMachineStepSeconds.
    void Step(double steeringCommand, double speedSetPoint, double sideSlip);
    /// Moves the steering alone, while something else carries the machine.
    void StepSteering(double steeringCommand) { m_steering.Step(steeringCommand); }

    /// Has it roll on tyres that give, from now on.
    void SetTyres(const TyreOptions& tyres) { m_tyres.emplace(tyres); }
    /// See CSteering::SetValve().
    void SetValve(const ValveOptions& valve) { m_steering.SetValve(valve); }

    const Pose& TruePose() const { return m_pose; }
    double Speed() const { return m_speed; }
    const CSteering& Steering() const { return m_steering; }

private:
    Pose m_pose;
    double m_speed;
    CSteering m_steering;
    std::optional<CTyreChassis> m_tyres; ///< without: it rolls as its wheels point
};

#endif
