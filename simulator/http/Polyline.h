#ifndef KESTROVE_SIMULATOR_HTTP_POLYLINE_H
#define KESTROVE_SIMULATOR_HTTP_POLYLINE_H

#include <cstddef>
#include <vector>

#include "simulator/guidance/LineShape.h"

/// How far along a line from the machine it is drawn, metres.
inline constexpr double kDrawnReach = 2000.0;

/// How many points a polyline of a line has at most.
inline constexpr std::size_t kMostDrawnPoints = 1500;

/// The part of a line around a station, as a polyline that is within a centimetre of it, or as near
/// as kMostDrawnPoints allow.
///
/// @return empty when the line has no part there.
std::vector<Point> PolylineOf(const CLineShape& line, double station);

/// The points of a polyline that cannot be left out without moving it by more than `tolerance`
/// metres (Douglas and Peucker, "Algorithms for the reduction of the number of points required to
/// represent a digitized line or its caricature", 1973).
std::vector<Point> Simplified(const std::vector<Point>& points, double tolerance);

#endif
