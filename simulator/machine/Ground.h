#ifndef KESTROVE_SIMULATOR_MACHINE_GROUND_H
#define KESTROVE_SIMULATOR_MACHINE_GROUND_H

#include <cstdint>

#include "simulator/machine/RandomSource.h"

/// What the machine drives on.
enum class EGround
{
    Firm,  ///< no side slip at all
    Field, ///< a side slip of 0.4 degrees one sigma, correlated over 2 s
};

/// The side slip that the ground gives the machine.
class CGround
{
public:
    CGround(EGround ground, std::uint64_t seed);

    /// The side slip of the next step of the machine, radians, positive to the right.
    double NextSideSlip();

private:
    CRandomSource m_random;
    CCorrelatedNoise m_slip;
};

#endif
