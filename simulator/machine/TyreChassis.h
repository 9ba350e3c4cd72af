#ifndef KESTROVE_SIMULATOR_MACHINE_TYRECHASSIS_H
#define KESTROVE_SIMULATOR_MACHINE_TYRECHASSIS_H

#include "simulator/machine/Pose.h"

/// A machine of some weight on tyres that give. The figures are this project's own, of the size
/// that a tractor of 9 t has; they are taken from no publication.
struct TyreOptions
{
    double mass = 9000.0;             ///< kilograms
    double yawInertia = 33000.0;      ///< kilograms times square metres
    double toFront = 1.6;             ///< from the centre of mass to the front axle, metres
    double toRear = 1.2;              ///< to the rear axle
    double frontStiffness = 220000.0; ///< newtons a radian of slip, of both wheels of the axle
    double rearStiffness = 480000.0;
    double relaxation = 0.7; ///< metres of way after which 63 % of a slip has come about
};

/// What becomes of the steering at speed: the linear bicycle with tyres whose side forces follow
/// their slip over a relaxation length, integrated by the Runge-Kutta method of fourth order in
/// steps of 2 ms. Slower than kLeastSpeed, and backwards, the tyres do not give.
class CTyreChassis
{
public:
    /// Below that the machine rolls as its wheels point, metres per second.
    static constexpr double kLeastSpeed = 1.0;

    explicit CTyreChassis(const TyreOptions& options) : m_options(options) {}

    /// The pose after `seconds`, a whole number of steps of 2 ms; as PoseAfter() in Machine.h.
    Pose After(const Pose& pose, double speed, double wheelAngle, double sideSlip, double seconds);

    /// Radians per second, clockwise.
    double YawRate() const { return m_motion.yawRate; }

private:
    /// What the tyres make of the steering.
    struct Motion
    {
        double lateral = 0.0;   ///< of the centre of mass to the right, metres per second
        double yawRate = 0.0;   ///< radians per second, clockwise
        double frontSlip = 0.0; ///< as the tyres have it, radians
        double rearSlip = 0.0;
        double turn = 0.0;  ///< radians since the step began
        double ahead = 0.0; ///< metres since then, of the rear axle, in the first heading
        double aside = 0.0; ///< to the right of it
    };

    Motion Change(const Motion& motion, double speed, double wheelAngle, double sideSlip) const;
    static Motion Sum(const Motion& motion, const Motion& change, double seconds);
    Motion Stepped(const Motion& from, double speed, double wheelAngle, double sideSlip) const;

    TyreOptions m_options;
    Motion m_motion;
};

#endif
