#include "simulator/guidance/CurvePoints.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "simulator/aside/LongWork.h"

namespace {

Point Mix(const Point& from, const Point& to, double share)
{
    return {from.x + (to.x - from.x) * share, from.y + (to.y - from.y) * share};
}

/// The stretch of the Catmull-Rom curve from p[1] to p[2], without p[2].
class CCatmullRomSegment
{
public:
    explicit CCatmullRomSegment(const std::array<Point, 4>& points) : m_points(points)
    {
        for (std::size_t i = 1; i < 4; ++i) {
            m_knots[i] = m_knots[i - 1] + std::sqrt(Distance(points[i - 1], points[i]));
        }
    }

    /// @param share 0 at p[1], 1 at p[2].
    Point At(double share) const
    {
        const double t = m_knots[1] + (m_knots[2] - m_knots[1]) * share;
        const Point a1 = Between(m_points[0], m_points[1], 0, 1, t);
        const Point a2 = Between(m_points[1], m_points[2], 1, 2, t);
        const Point a3 = Between(m_points[2], m_points[3], 2, 3, t);
        const Point b1 = Between(a1, a2, 0, 2, t);
        const Point b2 = Between(a2, a3, 1, 3, t);
        return Between(b1, b2, 1, 2, t);
    }

private:
    Point Between(const Point& from, const Point& to, std::size_t first, std::size_t last,
                  double t) const
    {
        return Mix(from, to, (t - m_knots[first]) / (m_knots[last] - m_knots[first]));
    }

    std::array<Point, 4> m_points;
    std::array<double, 4> m_knots{};
};

double SpacingFor(double length)
{
    return std::max(kCurveSpacing, length / kMostCurvePoints);
}

} // namespace

double PolylineLength(const std::vector<Point>& points)
{
    double length = 0.0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        length += Distance(points[i - 1], points[i]);
    }
    return length;
}

std::vector<Point> Thinned(const std::vector<Point>& points, double spacing)
{
    std::vector<Point> kept;
    for (const Point& point : points) {
        if (kept.empty() || Distance(kept.back(), point) >= spacing) {
            kept.push_back(point);
        }
    }
    return kept;
}

std::vector<Point> EvenlySpaced(const std::vector<Point>& polyline)
{
    const double length = PolylineLength(polyline);
    const double pieces = std::max(1.0, std::ceil(length / SpacingFor(length)));
    const double spacing = length / pieces;
    std::vector<Point> even{polyline.front()};
    even.reserve(static_cast<std::size_t>(pieces) + 1);
    double walked = 0.0;
    for (std::size_t i = 1; i < polyline.size(); ++i) {
        const double piece = Distance(polyline[i - 1], polyline[i]);
        double due = spacing * static_cast<double>(even.size());
        while (piece > 0.0 && due <= walked + piece && static_cast<double>(even.size()) < pieces) {
            even.push_back(Mix(polyline[i - 1], polyline[i], (due - walked) / piece));
            due = spacing * static_cast<double>(even.size());
        }
        walked += piece;
    }
    even.push_back(polyline.back());
    return even;
}

std::vector<Point> SmoothedByMeans(const std::vector<Point>& points, int reach)
{
    std::vector<Point> smoothed;
    smoothed.reserve(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        const std::size_t side =
            std::min({static_cast<std::size_t>(reach), i, points.size() - 1 - i});
        Point sum;
        for (std::size_t j = i - side; j <= i + side; ++j) {
            sum = {sum.x + points[j].x, sum.y + points[j].y};
        }
        const double count = static_cast<double>(2 * side + 1);
        smoothed.push_back({sum.x / count, sum.y / count});
    }
    return smoothed;
}

std::vector<Point> CatmullRom(const std::vector<Point>& points)
{
    const std::size_t last = points.size() - 1;
    // The curve needs a neighbour past each end: the end's own neighbour mirrored at it.
    const Point before = Mix(points[1], points[0], 2.0);
    const Point after = Mix(points[last - 1], points[last], 2.0);
    const double step = SpacingFor(PolylineLength(points)) / 4.0;
    std::vector<Point> curve;
    for (std::size_t i = 0; i < last; ++i) {
        EndWorkIfStopped();
        const CCatmullRomSegment segment({i == 0 ? before : points[i - 1], points[i], points[i + 1],
                                          i + 1 == last ? after : points[i + 2]});
        const auto pieces = static_cast<int>(Distance(points[i], points[i + 1]) / step) + 1;
        for (int piece = 0; piece < pieces; ++piece) {
            curve.push_back(segment.At(static_cast<double>(piece) / pieces));
        }
    }
    curve.push_back(points[last]);
    return curve;
}
