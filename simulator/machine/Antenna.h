#ifndef KESTROVE_SIMULATOR_MACHINE_ANTENNA_H
#define KESTROVE_SIMULATOR_MACHINE_ANTENNA_H

#include <cstdint>

#include "simulator/machine/Pose.h"
#include "simulator/machine/RandomSource.h"
#include "simulator/machine/Terrain.h"

/// Where the receiver's antenna is on the machine, metres from the reference point: its lever arms.
struct AntennaMount
{
    double ahead = 0.0;
    double right = 0.0;
    double up = 3.0;
};

/// How far the antenna is ahead of the reference point (y) and to its right (x), seen from above,
/// on a machine that leans: the lever arms turned by roll, then by pitch.
Point AntennaOffset(const AntennaMount& mount, const Attitude& attitude);

/// The sensor of roll and pitch: white noise of 0.1 degrees and a drift of 0.05 degrees, one sigma,
/// correlated over a minute. Flat ground shows it nothing.
class CInclinometer
{
public:
    /// @param sampleSeconds between two calls of Measure().
    CInclinometer(std::uint64_t seed, double sampleSeconds);

    Attitude Measure(const Attitude& truth);

private:
    CRandomSource m_random;
    CCorrelatedNoise m_rollDrift;
    CCorrelatedNoise m_pitchDrift;
};

/// Where the machine is, from where its antenna is.
///
/// @param antenna the antenna's place and the machine's heading.
/// @param attitude how the machine leans; none at all leaves its leaning uncompensated.
Pose ReferenceOf(const Pose& antenna, const AntennaMount& mount, const Attitude& attitude);
/// Where the antenna of a machine is.
Pose AntennaOf(const Pose& reference, const AntennaMount& mount, const Attitude& attitude);

#endif
