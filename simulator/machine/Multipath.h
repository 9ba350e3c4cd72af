#ifndef KESTROVE_SIMULATOR_MACHINE_MULTIPATH_H
#define KESTROVE_SIMULATOR_MACHINE_MULTIPATH_H

#include <cstdint>

#include "simulator/machine/Pose.h"
#include "simulator/machine/RandomSource.h"

/// Jumps of the position by signals that trees throw back: they come after 10 s in the mean and
/// stay for 4 s, each to a place of its own. Coming and going have no memory, so that the machine
/// is beside its place for 4/14 of the time.
class CMultipath
{
public:
    static constexpr double kSecondsBetween = 10.0;
    static constexpr double kSecondsBeside = 4.0;

    CMultipath(std::uint64_t seed, double sampleSeconds);

    /// The jump of the next sample.
    ///
    /// @param sigma metres, of east and north alike; 0 for no trees.
    Point Next(double sigma);

private:
    CRandomSource m_random;
    double m_comes; ///< the probability of a sample to be the first of a jump, and the last
    double m_goes;
    bool m_isBeside = false;
    Point m_jump; ///< in sigmas
};

#endif
