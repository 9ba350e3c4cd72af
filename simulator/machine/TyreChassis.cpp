#include "simulator/machine/TyreChassis.h"

#include <cmath>

#include "simulator/machine/Machine.h"

namespace {

constexpr double kTyreStepSeconds = 0.002;

} // namespace

CTyreChassis::Motion CTyreChassis::Change(const Motion& motion, double speed, double wheelAngle,
                                          double sideSlip) const
{
    const TyreOptions& of = m_options;
    // Where the axles move against where their wheels point.
    const double front = wheelAngle - (motion.lateral + of.toFront * motion.yawRate) / speed;
    const double rear = -(motion.lateral - of.toRear * motion.yawRate) / speed;
    const double frontForce = of.frontStiffness * motion.frontSlip;
    const double rearForce = of.rearStiffness * motion.rearSlip;
    const double rearAside = motion.lateral - of.toRear * motion.yawRate;
    const double course = motion.turn + sideSlip;
    Motion change;
    change.lateral = (frontForce + rearForce) / of.mass - speed * motion.yawRate;
    change.yawRate = (of.toFront * frontForce - of.toRear * rearForce) / of.yawInertia;
    change.frontSlip = speed / of.relaxation * (front - motion.frontSlip);
    change.rearSlip = speed / of.relaxation * (rear - motion.rearSlip);
    change.turn = motion.yawRate;
    change.ahead = speed * std::cos(course) - rearAside * std::sin(course);
    change.aside = speed * std::sin(course) + rearAside * std::cos(course);
    return change;
}

CTyreChassis::Motion CTyreChassis::Sum(const Motion& motion, const Motion& change, double seconds)
{
    return {
        motion.lateral + seconds * change.lateral,     motion.yawRate + seconds * change.yawRate,
        motion.frontSlip + seconds * change.frontSlip, motion.rearSlip + seconds * change.rearSlip,
        motion.turn + seconds * change.turn,           motion.ahead + seconds * change.ahead,
        motion.aside + seconds * change.aside};
}

CTyreChassis::Motion CTyreChassis::Stepped(const Motion& from, double speed, double wheelAngle,
                                           double sideSlip) const
{
    constexpr double step = kTyreStepSeconds;
    const auto change = [&](const Motion& at) { return Change(at, speed, wheelAngle, sideSlip); };
    const Motion first = change(from);
    const Motion second = change(Sum(from, first, step / 2.0));
    const Motion third = change(Sum(from, second, step / 2.0));
    const Motion fourth = change(Sum(from, third, step));
    Motion next = Sum(from, first, step / 6.0);
    next = Sum(next, second, step / 3.0);
    next = Sum(next, third, step / 3.0);
    return Sum(next, fourth, step / 6.0);
}

Pose CTyreChassis::After(const Pose& pose, double speed, double wheelAngle, double sideSlip,
                         double seconds)
{
    if (speed < kLeastSpeed) {
        // As it would be if the tyres had always been as stiff: no slip, no slide of the rear axle.
        m_motion = {};
        m_motion.yawRate = speed * std::tan(wheelAngle) / kWheelbase;
        m_motion.lateral = m_options.toRear * m_motion.yawRate;
        return PoseAfter(pose, speed, wheelAngle, sideSlip, seconds);
    }
    m_motion.turn = m_motion.ahead = m_motion.aside = 0.0;
    const long steps = std::lround(seconds / kTyreStepSeconds);
    for (long step = 0; step < steps; ++step) {
        m_motion = Stepped(m_motion, speed, wheelAngle, sideSlip);
    }
    return {Moved(pose.position, pose.heading, m_motion.ahead, m_motion.aside),
            NormaliseHeading(pose.heading + m_motion.turn)};
}
