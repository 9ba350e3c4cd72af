#ifndef KESTROVE_SIMULATOR_GUIDANCE_PARABOLASMOOTHING_H
#define KESTROVE_SIMULATOR_GUIDANCE_PARABOLASMOOTHING_H

#include <vector>

#include "simulator/machine/Pose.h"

/// Each point moved onto the parabola that fits it and its neighbours best, by distance driven: the
/// smoothing of Savitzky and Golay, "Smoothing and Differentiation of Data by Simplified Least
/// Squares Procedures", 1964, for points at uneven distances. Unlike a mean it does not pull a bend
/// inwards. At the ends the window reaches to the inside alone.
///
/// Takes time for the number of points, whatever the window.
///
/// @param points no two in succession equal.
/// @param window how many points make a parabola; below 4 nothing changes.
std::vector<Point> SmoothedByParabolas(const std::vector<Point>& points, int window);

#endif
