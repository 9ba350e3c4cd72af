#include "simulator/guidance/StraightEnds.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

/// An end is looked at over that way at least, metres, and over a half more each time.
constexpr double kLeastWay = 10.0;
constexpr double kLonger = 1.5;
/// It is straight while its points are no farther from the line, root mean square, and the parabola
/// that fits them best rises no higher, metres, and metres a metre of the way: about what a good
/// receiver drifts, and a machine sways on a field.
constexpr double kStraightDeviation = 0.04;
constexpr double kStraightRise = 0.005;
constexpr double kStraightRisePerWay = 0.0003;
/// The points of the last so many metres are moved onto the line, those of as many before in part.
constexpr double kMovedWay = 3.0;

/// A line, and how far points are from it.
struct Fit
{
    Point middle;
    double heading = 0.0;
    double deviation = 0.0; ///< root mean square, metres
    double rise = 0.0;      ///< of the parabola through the points between its ends, metres
};

Fit FitOf(const std::vector<Point>& points, std::size_t count, double way)
{
    Fit fit;
    const auto number = static_cast<double>(count);
    for (std::size_t i = 0; i < count; ++i) {
        fit.middle.x += points[i].x / number;
        fit.middle.y += points[i].y / number;
    }
    double xx = 0.0;
    double yy = 0.0;
    double xy = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        const double x = points[i].x - fit.middle.x;
        const double y = points[i].y - fit.middle.y;
        xx += x * x;
        yy += y * y;
        xy += x * y;
    }
    fit.heading = 0.5 * std::atan2(2.0 * xy, yy - xx);
    double squares = 0.0;
    double quartic = 0.0;
    double bent = 0.0;
    const double spread = (xx + yy) / number;
    for (std::size_t i = 0; i < count; ++i) {
        const double along = AheadOf(fit.middle, fit.heading, points[i]);
        const double aside = RightwardOf(fit.middle, fit.heading, points[i]);
        const double square = along * along - spread;
        squares += aside * aside / number;
        quartic += square * square;
        bent += square * aside;
    }
    fit.deviation = std::sqrt(squares);
    fit.rise = quartic > 0.0 ? std::abs(bent / quartic) * way * way / 4.0 : 0.0;
    return fit;
}

/// Straightens the beginning of the points.
void StraightenFirst(std::vector<Point>& points)
{
    Fit best;
    bool found = false;
    double way = 0.0;
    double wanted = kLeastWay;
    for (std::size_t i = 1; i < points.size(); ++i) {
        way += Distance(points[i - 1], points[i]);
        if (way < wanted && i + 1 < points.size()) {
            continue;
        }
        if (way < kLeastWay) {
            break;
        }
        const Fit fit = FitOf(points, i + 1, way);
        if (fit.deviation > kStraightDeviation) {
            break;
        }
        // What noise bends over a short way may be straight over a longer one.
        if (fit.rise <= kStraightRise + kStraightRisePerWay * way) {
            best = fit;
            found = true;
        }
        wanted = way * kLonger;
    }
    double walked = 0.0;
    for (std::size_t i = 0; found && i < points.size() && walked < 2.0 * kMovedWay; ++i) {
        const Point from = points[i];
        const double share = std::clamp(2.0 - walked / kMovedWay, 0.0, 1.0);
        const double aside = RightwardOf(best.middle, best.heading, from);
        points[i] = Moved(from, best.heading, 0.0, -share * aside);
        walked += i + 1 < points.size() ? Distance(from, points[i + 1]) : 0.0;
    }
}

} // namespace

std::vector<Point> WithStraightEnds(std::vector<Point> points)
{
    StraightenFirst(points);
    std::reverse(points.begin(), points.end());
    StraightenFirst(points);
    std::reverse(points.begin(), points.end());
    return points;
}
