#ifndef KESTROVE_SIMULATOR_WORLD_CONDITIONS_H
#define KESTROVE_SIMULATOR_WORLD_CONDITIONS_H

#include <optional>

#include "simulator/machine/SatelliteReceiver.h"
#include "simulator/machine/SteeringValve.h"

/// What may change around a machine, and in it, while it drives.
struct WorldConditions
{
    Reception reception;
    ValveOptions valve;
    std::optional<double> slope; ///< radians, falling to the east, in place of the terrain's own
    /// What nobody else's steering does while guidance is not engaged: a heading to turn to,
    /// radians clockwise from north, or else a curvature to drive, 1/m, positive to the right.
    std::optional<double> manualHeading;
    std::optional<double> manualCurvature;
};

#endif
