#include "simulator/http/Polyline.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

/// Half of the centimetre is for the chords, half for what is left out of them.
constexpr double kTolerance = 0.005;
constexpr double kLongestChord = 1.0;
constexpr double kShortestChord = 0.1;

/// The chord of a bend that is at most kTolerance away from it.
double ChordAt(double curvature)
{
    const double chord = std::sqrt(8.0 * kTolerance / std::max(std::abs(curvature), 1e-9));
    return std::clamp(chord, kShortestChord, kLongestChord);
}

double DistanceToSegment(const Point& place, const Point& from, const Point& to)
{
    const double alongX = to.x - from.x;
    const double alongY = to.y - from.y;
    const double squaredLength = alongX * alongX + alongY * alongY;
    if (squaredLength == 0.0) {
        return Distance(place, from);
    }
    const double share = std::clamp(
        ((place.x - from.x) * alongX + (place.y - from.y) * alongY) / squaredLength, 0.0, 1.0);
    return Distance(place, {from.x + share * alongX, from.y + share * alongY});
}

} // namespace

std::vector<Point> Simplified(const std::vector<Point>& points, double tolerance)
{
    if (points.size() < 3) {
        return points;
    }
    std::vector<bool> kept(points.size(), false);
    kept.front() = kept.back() = true;
    std::vector<std::pair<std::size_t, std::size_t>> runs{{0, points.size() - 1}};
    while (!runs.empty()) {
        const auto [first, last] = runs.back();
        runs.pop_back();
        std::size_t farthest = first;
        double distance = tolerance;
        for (std::size_t index = first + 1; index < last; ++index) {
            const double aside = DistanceToSegment(points[index], points[first], points[last]);
            if (aside > distance) {
                distance = aside;
                farthest = index;
            }
        }
        if (farthest == first) {
            continue;
        }
        kept[farthest] = true;
        runs.push_back({first, farthest});
        runs.push_back({farthest, last});
    }
    std::vector<Point> left;
    for (std::size_t index = 0; index < points.size(); ++index) {
        if (kept[index]) {
            left.push_back(points[index]);
        }
    }
    return left;
}

std::vector<Point> PolylineOf(const CLineShape& line, double station)
{
    const Stretch drawn = line.Clip({station - kDrawnReach, station + kDrawnReach});
    if (drawn.to <= drawn.from) {
        return {};
    }
    std::vector<Point> points;
    for (double at = drawn.from; at < drawn.to;) {
        const LinePoint point = line.At(at);
        points.push_back(point.position);
        at += line.Length() == 0.0 ? drawn.to - drawn.from : ChordAt(point.curvature);
    }
    points.push_back(line.At(drawn.to).position);
    double tolerance = kTolerance;
    points = Simplified(points, tolerance);
    while (points.size() > kMostDrawnPoints) {
        tolerance *= 2.0;
        points = Simplified(points, tolerance);
    }
    return points;
}
