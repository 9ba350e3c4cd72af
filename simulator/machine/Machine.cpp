#include "simulator/machine/Machine.h"

#include <algorithm>
#include <cmath>

Pose PoseAfter(const Pose& pose, double speed, double wheelAngle, double sideSlip, double seconds)
{
    const double turn = speed * std::cos(sideSlip) * std::tan(wheelAngle) / kWheelbase * seconds;
    const double course = pose.heading + turn / 2.0 + sideSlip;
    return {Moved(pose.position, course, speed * seconds, 0.0),
            NormaliseHeading(pose.heading + turn)};
}

CMachine::CMachine(const Pose& start, double speed, const CSteering& steering)
    : m_pose{start.position, NormaliseHeading(start.heading)}, m_speed(speed), m_steering(steering)
{
}

void CMachine::Step(double steeringCommand, double speedSetPoint, double sideSlip)
{
    const double change = kAccelerationLimit * kMachineStepSeconds;
    m_steering.Step(steeringCommand);
    m_speed += std::clamp(speedSetPoint - m_speed, -change, change);
    const double wheels = m_steering.WheelAngle();
    m_pose = m_tyres ? m_tyres->After(m_pose, m_speed, wheels, sideSlip, kMachineStepSeconds)
                     : PoseAfter(m_pose, m_speed, wheels, sideSlip, kMachineStepSeconds);
}
