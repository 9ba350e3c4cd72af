#include "simulator/guidance/LineBuilder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <sstream>
#include <utility>

#include "simulator/guidance/CurvePoints.h"
#include "simulator/guidance/CurveShape.h"
#include "simulator/guidance/ParabolaSmoothing.h"
#include "simulator/guidance/SimpleShapes.h"
#include "simulator/guidance/StraightEnds.h"

namespace {

/// How far from the origin the local plane still stands for the ground, metres.
constexpr double kFarthest = 1.0e6;
/// Points that make a straight line or a circle are at least so far apart, metres.
constexpr double kLeastDistance = 0.1;
/// A circle wider than that is a straight line, metres.
constexpr double kGreatestRadius = 100000.0;
/// Points of a spline that are nearer to each other count once, metres.
constexpr double kSplineSpacing = 0.01;
/// The same for driven points, which a standing machine records where it stands, metres.
constexpr double kDrivenSpacing = 0.1;

template <typename... TParts>
BuiltLine Refused(const TParts&... parts)
{
    std::ostringstream reason;
    (reason << ... << parts);
    return {nullptr, reason.str()};
}

/// What is wrong with a point; empty when nothing is.
std::string PointProblem(const std::vector<Point>& points)
{
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Point& point = points[i];
        const bool near = std::abs(point.x) <= kFarthest && std::abs(point.y) <= kFarthest;
        if (near) {
            continue;
        }
        std::ostringstream problem;
        problem << "point " << i << " (" << point.x << ", " << point.y
                << ") is not within 1000 km of the origin";
        return problem.str();
    }
    return {};
}

BuiltLine BuildStraight(const Point& a, const Point& b)
{
    if (Distance(a, b) < kLeastDistance) {
        return Refused("points A and B are ", Distance(a, b), " m apart, at least ", kLeastDistance,
                       " m are needed");
    }
    return {std::make_shared<CStraightShape>(a, std::atan2(b.x - a.x, b.y - a.y)), {}};
}

BuiltLine BuildHeading(const Point& a, double heading)
{
    if (!std::isfinite(heading)) {
        return Refused("the heading ", heading, " is not a number of radians");
    }
    return {std::make_shared<CStraightShape>(a, heading), {}};
}

/// The circle through three points, in coordinates from the first one.
BuiltLine BuildCircle(const Point& first, const Point& second, const Point& third)
{
    if (Distance(first, second) < kLeastDistance || Distance(second, third) < kLeastDistance ||
        Distance(first, third) < kLeastDistance) {
        return Refused("two points of the circle are less than ", kLeastDistance, " m apart");
    }
    const Point b{second.x - first.x, second.y - first.y};
    const Point c{third.x - first.x, third.y - first.y};
    const double cross = b.x * c.y - b.y * c.x;
    const double bb = b.x * b.x + b.y * b.y;
    const double cc = c.x * c.x + c.y * c.y;
    const Point toCentre{(c.y * bb - b.y * cc) / (2.0 * cross),
                         (b.x * cc - c.x * bb) / (2.0 * cross)};
    const double radius = std::hypot(toCentre.x, toCentre.y);
    if (!(radius <= kGreatestRadius)) {
        return Refused("the three points of the circle lie on one line");
    }
    if (radius < CCircleShape::kLeastRadius) {
        return Refused("the radius ", radius, " m of the circle is less than ",
                       CCircleShape::kLeastRadius, " m");
    }
    // Counter-clockwise points, whose cross product is positive, bend to the left.
    const double curvature = std::copysign(1.0 / radius, -cross);
    return {std::make_shared<CCircleShape>(Point{first.x + toCentre.x, first.y + toCentre.y},
                                           curvature),
            {}};
}

BuiltLine BuildCurve(const std::vector<Point>& points, EEnds ends)
{
    if (points.size() < 2 || PolylineLength(points) < kLeastCurveLength) {
        return Refused("a curve of ", points.size(), " distinct points and ",
                       PolylineLength(points), " m is too short, at least 2 points and ",
                       kLeastCurveLength, " m are needed");
    }
    return {std::make_shared<CCurveShape>(EvenlySpaced(CatmullRom(points)), ends), {}};
}

BuiltLine BuildDriven(const std::vector<Point>& points, EEnds ends, int filterSize)
{
    std::vector<Point> smooth = SmoothedByParabolas(Thinned(points, kDrivenSpacing), filterSize);
    if (ends == EEnds::Straight) {
        smooth = WithStraightEnds(std::move(smooth));
    }
    return BuildCurve(smooth, ends);
}

/// How many points a definition of the kind has; 0 for any number.
std::size_t PointCount(ELineKind kind)
{
    switch (kind) {
    case ELineKind::Straight:
        return 2;
    case ELineKind::Heading:
        return 1;
    case ELineKind::Circle:
        return 3;
    default:
        return 0;
    }
}

} // namespace

BuiltLine BuildLine(const LineDefinition& line, int curveFilterSize)
{
    const std::vector<Point>& points = line.points;
    const std::size_t wanted = PointCount(line.kind);
    if (wanted != 0 && points.size() != wanted) {
        return Refused("the line has ", points.size(), " points, ", wanted, " are needed");
    }
    const std::string problem = PointProblem(points);
    if (!problem.empty()) {
        return Refused(problem);
    }
    switch (line.kind) {
    case ELineKind::Straight:
        return BuildStraight(points[0], points[1]);
    case ELineKind::Heading:
        return BuildHeading(points[0], line.heading);
    case ELineKind::Circle:
        return BuildCircle(points[0], points[1], points[2]);
    case ELineKind::Spline:
        return BuildCurve(Thinned(points, kSplineSpacing), EEnds::Stop);
    case ELineKind::Curve:
        return BuildDriven(points, EEnds::Straight, curveFilterSize);
    case ELineKind::Recorded:
        return BuildDriven(points, EEnds::Stop, curveFilterSize);
    }
    return Refused("the line is of an unknown kind");
}

std::size_t WorkOf(const LineDefinition& line)
{
    if (PointCount(line.kind) != 0) {
        return 0;
    }
    if (line.points.size() > kMostMeasured) {
        return line.points.size();
    }
    const double held = std::min(PolylineLength(line.points) / kCurveSpacing, kMostCurvePoints);
    // What is not finite is refused before anything is made of it.
    return line.points.size() + (held > 0.0 ? static_cast<std::size_t>(held) : 0);
}
