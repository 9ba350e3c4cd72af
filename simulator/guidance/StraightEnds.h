#ifndef KESTROVE_SIMULATOR_GUIDANCE_STRAIGHTENDS_H
#define KESTROVE_SIMULATOR_GUIDANCE_STRAIGHTENDS_H

#include <vector>

#include "simulator/machine/Pose.h"

/// Has both ends of driven points run out in the direction in which they were driven.
///
/// The direction of an end is that of the line that fits the points of it best, by total least
/// squares (the principal axis of their scatter, tan 2a = 2 Sxy / (Syy - Sxx)), as far back from
/// the end as it was driven straight; the last chord alone has the direction of the noise. The last
/// metres are moved onto that line. An end that bends stays as it is.
std::vector<Point> WithStraightEnds(std::vector<Point> points);

#endif
