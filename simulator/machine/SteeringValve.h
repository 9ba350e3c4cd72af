#ifndef KESTROVE_SIMULATOR_MACHINE_STEERINGVALVE_H
#define KESTROVE_SIMULATOR_MACHINE_STEERINGVALVE_H

#include "simulator/machine/Pose.h"

/// The length of a step of the machine, seconds.
inline constexpr double kMachineStepSeconds = 0.02;
/// The first-order lag of the steering, seconds.
inline constexpr double kSteeringLagSeconds = 0.25;
/// How fast the steering moves at most, radians per second.
inline constexpr double kSteeringRateLimit = Radians(20.0);
/// How far the wheels turn to either side, radians.
inline constexpr double kSteeringStop = Radians(35.0);

/// What a steering valve is like. As it starts, it is the one that guidance expects.
struct ValveOptions
{
    double deadband = 0.0;                 ///< radians of error that the valve does not open for
    double rateRight = kSteeringRateLimit; ///< radians per second, at most
    double rateLeft = kSteeringRateLimit;
};

/// The steering angle one step after `angle`, when `command` acts on it: first-order lag on what
/// the error is beyond the valve's deadband, rate limits and stops.
double ValveAfterStep(double angle, double command, const ValveOptions& valve);

#endif
