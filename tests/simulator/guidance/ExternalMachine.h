#ifndef KESTROVE_TESTS_SIMULATOR_GUIDANCE_EXTERNALMACHINE_H
#define KESTROVE_TESTS_SIMULATOR_GUIDANCE_EXTERNALMACHINE_H

#include <cstdint>
#include <deque>

#include "simulator/world/Simulation.h"

/// A machine outside of the simulation, which makes the curvatures that guidance commands and of
/// which guidance knows samples only.
struct ExternalPlan
{
    double speed = 2.5;
    double sideSlip = 0.0;     ///< radians to the right, of the ground
    double yawOff = 0.0;       ///< radians by which the yaw that is measured is too great
    double centreBias = 0.0;   ///< radians by which the wheels stand too far right
    double sideSlope = 0.0;    ///< radians, falling to the right; with tyres
    bool tyres = false;        ///< the wheels slip under side forces
    bool steersAtOnce = false; ///< instead of with the dead time and the lag of the own machine
    double samplesPerSecond = 10.0;
    double latency = 0.0; ///< seconds that each sample takes
    double jitter = 0.0;  ///< seconds that a sample takes more, one sigma
    double noise = 0.0;   ///< metres, one sigma, of the position
    bool knowsAge = true; ///< the samples' ages are known
    bool knowsYawRate = true;
    Pose start;
    std::uint64_t seed = 1;
    LineDefinition line = StraightLine({0.0, 0.0}, {0.0, 1000.0});
    double seconds = 60.0; ///< of which the last ones count, from `fromSecond` on
    double fromSecond = 25.0;
};

/// What came of it, metres.
struct ExternalDrive
{
    double error95 = 0.0;
    double standingError = 0.0;
    bool engagedToTheEnd = false;
};

ExternalDrive DrivenOutside(const ExternalPlan& plan);

#endif
