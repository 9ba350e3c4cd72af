#ifndef KESTROVE_SIMULATOR_GUIDANCE_CURVEPOINTS_H
#define KESTROVE_SIMULATOR_GUIDANCE_CURVEPOINTS_H

#include <vector>

#include "simulator/machine/Pose.h"

/// The distance at which the points of curves are held, metres.
inline constexpr double kCurveSpacing = 0.25;
/// A curve that would take more points is held at greater distances.
inline constexpr double kMostCurvePoints = 200000.0;
/// A shorter one is not a curve, metres.
inline constexpr double kLeastCurveLength = 1.0;

/// The length of a polyline, metres.
double PolylineLength(const std::vector<Point>& points);

/// The points without those that are nearer than `spacing` to the one kept before.
std::vector<Point> Thinned(const std::vector<Point>& points, double spacing);

/// Points of the same polyline at even distances, both ends included: kCurveSpacing apart, or more
/// for a curve so long that it would take more than kMostCurvePoints.
std::vector<Point> EvenlySpaced(const std::vector<Point>& polyline);

/// Each point replaced by the mean of its neighbours up to `reach` places away to both sides, fewer
/// near the ends, which stay.
std::vector<Point> SmoothedByMeans(const std::vector<Point>& points, int reach);

/// A polyline along the centripetal Catmull-Rom curve through the points: Catmull and Rom, "A Class
/// of Local Interpolating Splines", 1974, evaluated as Barry and Goldman, "A Recursive Evaluation
/// Algorithm for a Class of Catmull-Rom Splines", 1988; knots a square root of the distance apart,
/// which Yuksel, Schaefer and Keyser, "Parameterization and Applications of Catmull-Rom Curves",
/// 2011, prove to make neither cusps nor loops within a segment.
///
/// @param points two or more, no two in succession equal.
std::vector<Point> CatmullRom(const std::vector<Point>& points);

#endif
