#ifndef KESTROVE_SIMULATOR_GUIDANCE_CURVEOFFSET_H
#define KESTROVE_SIMULATOR_GUIDANCE_CURVEOFFSET_H

#include <cstddef>
#include <vector>

#include "simulator/machine/Pose.h"

/// Which of `points` are no nearer than `distance` to the curve: their places among them, in rising
/// order. Points moved sideways from a curve that bends tighter than they are moved fold over, and
/// the fold is nearer.
///
/// @param curve dense points, the spacing small beside `distance`.
std::vector<std::size_t> KeptClear(const std::vector<Point>& points,
                                   const std::vector<Point>& curve, double distance);

#endif
