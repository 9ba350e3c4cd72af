#ifndef KESTROVE_SIMULATOR_GUIDANCE_CURVEOFFSET_H
#define KESTROVE_SIMULATOR_GUIDANCE_CURVEOFFSET_H

#include <vector>

#include "simulator/machine/Pose.h"

/// Those of `points` that are no nearer than `distance` to the curve, in their order. Points moved
/// sideways from a curve that bends tighter than they are moved fold over, and the fold is nearer.
///
/// @param curve dense points, the spacing small beside `distance`.
std::vector<Point> KeptClear(const std::vector<Point>& points, const std::vector<Point>& curve,
                             double distance);

#endif
