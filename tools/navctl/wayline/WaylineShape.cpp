#include "tools/navctl/wayline/WaylineShape.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "tools/navctl/files/Angle.h"

namespace {

constexpr double kHeadingLineLength = 100.0;
constexpr int kCirclePieces = 72;
constexpr int kSplinePieces = 16;

WaylinePoint Mix(const WaylinePoint& from, const WaylinePoint& to, double share)
{
    return {from.x + (to.x - from.x) * share, from.y + (to.y - from.y) * share,
            from.z + (to.z - from.z) * share};
}

double Distance(const WaylinePoint& from, const WaylinePoint& to)
{
    return std::hypot(to.x - from.x, to.y - from.y, to.z - from.z);
}

std::vector<WaylinePoint> WithoutRepeats(const std::vector<WaylinePoint>& points)
{
    std::vector<WaylinePoint> kept;
    for (const WaylinePoint& point : points) {
        if (kept.empty() || Distance(kept.back(), point) > 1e-9) {
            kept.push_back(point);
        }
    }
    return kept;
}

/// A point of the stretch from p[1] to p[2], by the pyramid of Barry and Goldman, "A Recursive
/// Evaluation Algorithm for a Class of Catmull-Rom Splines", 1988.
WaylinePoint OnCatmullRom(const std::array<WaylinePoint, 4>& p, double share)
{
    std::array<double, 4> knots{};
    for (std::size_t i = 1; i < 4; ++i) {
        knots[i] = knots[i - 1] + std::sqrt(Distance(p[i - 1], p[i]));
    }
    const double t = knots[1] + (knots[2] - knots[1]) * share;
    const auto between = [&](const WaylinePoint& from, const WaylinePoint& to, std::size_t first,
                             std::size_t last) {
        return Mix(from, to, (t - knots[first]) / (knots[last] - knots[first]));
    };
    const WaylinePoint a1 = between(p[0], p[1], 0, 1);
    const WaylinePoint a2 = between(p[1], p[2], 1, 2);
    const WaylinePoint a3 = between(p[2], p[3], 2, 3);
    return between(between(a1, a2, 0, 2), between(a2, a3, 1, 3), 1, 2);
}

std::vector<WaylinePoint> SplineOutline(const std::vector<WaylinePoint>& all)
{
    std::vector<WaylinePoint> points = WithoutRepeats(all);
    if (points.size() < 3) {
        return points;
    }
    const std::size_t last = points.size() - 1;
    std::vector<WaylinePoint> outline;
    for (std::size_t i = 0; i < last; ++i) {
        // Past each end the curve has the end's own neighbour, mirrored at it.
        const std::array<WaylinePoint, 4> stretch{
            i == 0 ? Mix(points[1], points[0], 2.0) : points[i - 1], points[i], points[i + 1],
            i + 1 == last ? Mix(points[last - 1], points[last], 2.0) : points[i + 2]};
        for (int piece = 0; piece < kSplinePieces; ++piece) {
            outline.push_back(OnCatmullRom(stretch, static_cast<double>(piece) / kSplinePieces));
        }
    }
    outline.push_back(points[last]);
    return outline;
}

std::vector<WaylinePoint> CircleOutline(const std::vector<WaylinePoint>& points)
{
    const std::optional<CircleSeenFromAbove> circle = CircleThrough(points);
    if (!circle) {
        return points;
    }
    std::vector<WaylinePoint> outline;
    for (int piece = 0; piece <= kCirclePieces; ++piece) {
        const double turn = 2.0 * kPi * piece / kCirclePieces;
        const double angle = circle->firstAngle + (circle->isClockwise ? -turn : turn);
        outline.emplace_back(circle->x + circle->radius * std::cos(angle),
                             circle->y + circle->radius * std::sin(angle), points[0].z);
    }
    return outline;
}

} // namespace

std::optional<CircleSeenFromAbove> CircleThrough(const std::vector<WaylinePoint>& points)
{
    // Relative to the first point, so that a circle far from the origin keeps its digits.
    const WaylinePoint& first = points.at(0);
    const double x1 = points.at(1).x - first.x;
    const double y1 = points.at(1).y - first.y;
    const double x2 = points.at(2).x - first.x;
    const double y2 = points.at(2).y - first.y;
    const double determinant = 2.0 * (x1 * y2 - y1 * x2);
    const double square1 = x1 * x1 + y1 * y1;
    const double square2 = x2 * x2 + y2 * y2;
    if (std::abs(determinant) <= 1e-12 * (square1 + square2)) {
        return std::nullopt;
    }
    const double x = (y2 * square1 - y1 * square2) / determinant;
    const double y = (x1 * square2 - x2 * square1) / determinant;
    return CircleSeenFromAbove{first.x + x, first.y + y, std::hypot(x, y), std::atan2(-y, -x),
                               determinant < 0.0};
}

std::vector<WaylinePoint> Outline(const WaylineContent& content)
{
    switch (content.kind) {
    case Kestrove::EWaylineTypeAHeading: {
        const WaylinePoint& a = content.points.at(0);
        return {a,
                {a.x + kHeadingLineLength * std::sin(content.heading),
                 a.y + kHeadingLineLength * std::cos(content.heading), a.z}};
    }
    case Kestrove::EWaylineTypeCircle:
        return CircleOutline(content.points);
    case Kestrove::EWaylineTypeSpline:
        return SplineOutline(content.points);
    default:
        return content.points;
    }
}

std::optional<double> WaylineLength(const WaylineContent& content)
{
    if (content.points.empty() || content.kind == Kestrove::EWaylineTypeAHeading) {
        return std::nullopt;
    }
    if (content.kind == Kestrove::EWaylineTypeCircle) {
        const std::optional<CircleSeenFromAbove> circle = CircleThrough(content.points);
        return circle ? std::optional(2.0 * kPi * circle->radius) : std::nullopt;
    }
    const std::vector<WaylinePoint> outline = Outline(content);
    double length = 0.0;
    for (std::size_t i = 1; i < outline.size(); ++i) {
        length += Distance(outline[i - 1], outline[i]);
    }
    return length;
}

std::optional<WaylineBounds> BoundsOf(const WaylineContent& content)
{
    std::vector<WaylinePoint> points = content.points;
    if (content.kind != Kestrove::EWaylineTypeAHeading) {
        const std::vector<WaylinePoint> outline = Outline(content);
        points.insert(points.end(), outline.begin(), outline.end());
    }
    if (content.kind == Kestrove::EWaylineTypeCircle) {
        if (const std::optional<CircleSeenFromAbove> circle = CircleThrough(content.points)) {
            points.emplace_back(circle->x - circle->radius, circle->y - circle->radius,
                                points[0].z);
            points.emplace_back(circle->x + circle->radius, circle->y + circle->radius,
                                points[0].z);
        }
    }
    if (points.empty()) {
        return std::nullopt;
    }
    WaylineBounds bounds{points[0], points[0]};
    for (const WaylinePoint& point : points) {
        bounds.lowest = {std::min(bounds.lowest.x, point.x), std::min(bounds.lowest.y, point.y),
                         std::min(bounds.lowest.z, point.z)};
        bounds.highest = {std::max(bounds.highest.x, point.x), std::max(bounds.highest.y, point.y),
                          std::max(bounds.highest.z, point.z)};
    }
    return bounds;
}

std::optional<double> HeadingOf(const WaylineContent& content)
{
    if (content.kind == Kestrove::EWaylineTypeAHeading) {
        return NormalisedHeading(content.heading);
    }
    if (content.kind != Kestrove::EWaylineTypeAB) {
        return std::nullopt;
    }
    const double x = content.points.at(1).x - content.points.at(0).x;
    const double y = content.points.at(1).y - content.points.at(0).y;
    if (x == 0.0 && y == 0.0) {
        return std::nullopt;
    }
    return NormalisedHeading(std::atan2(x, y));
}
