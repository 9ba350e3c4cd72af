#include "simulator/machine/SteeringValve.h"

#include <algorithm>
#include <cmath>

double ValveAfterStep(double angle, double command, const ValveOptions& valve)
{
    const double wanted = std::clamp(command, -kSteeringStop, kSteeringStop);
    const double error = wanted - angle;
    const double beyond = std::copysign(std::max(std::abs(error) - valve.deadband, 0.0), error);
    const double rate = std::clamp(beyond / kSteeringLagSeconds, -valve.rateLeft, valve.rateRight);
    return std::clamp(angle + rate * kMachineStepSeconds, -kSteeringStop, kSteeringStop);
}
