#include "simulator/guidance/CurveOffset.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <unordered_set>

#include "simulator/aside/LongWork.h"
#include "simulator/guidance/BoxTree.h"

namespace {

/// Passes each place on once, where places nearer than `size` beside each other count as one.
class CPlacesSeen
{
public:
    explicit CPlacesSeen(double size) : m_size(size) {}

    bool IsNew(const Point& place)
    {
        const auto x = static_cast<std::int64_t>(std::floor(place.x / m_size));
        const auto y = static_cast<std::int64_t>(std::floor(place.y / m_size));
        return m_seen
            .insert((static_cast<std::uint64_t>(x) << 32) ^
                    (static_cast<std::uint64_t>(y) & 0xffffffffU))
            .second;
    }

private:
    double m_size;
    std::unordered_set<std::uint64_t> m_seen;
};

/// The places of a curve that are looked at, one in every twentieth of the distance: that changes
/// what is found by less than the tolerance; so does taking places within a fraction of it for one,
/// which a line has that is driven round and round.
std::vector<Box> PlacesOf(const std::vector<Point>& curve, double distance, double tolerance)
{
    const double spacing = distance / 20.0;
    CPlacesSeen seen(tolerance / 8.0);
    std::vector<Box> looked{Box::Around(curve.front())};
    Point last = curve.front();
    for (const Point& point : curve) {
        if (Distance(last, point) < spacing) {
            continue;
        }
        last = point;
        if (seen.IsNew(point)) {
            looked.push_back(Box::Around(point));
        }
    }
    return looked;
}

} // namespace

std::vector<std::size_t> KeptClear(const std::vector<Point>& points,
                                   const std::vector<Point>& curve, double distance)
{
    const double tolerance = 0.02 + distance / 1000.0;
    const std::vector<Box> looked = PlacesOf(curve, distance, tolerance);
    const CBoxTree tree(looked);
    std::vector<std::size_t> kept;
    kept.reserve(points.size());
    const double clearance = distance - tolerance;
    // Just below its square, as points at the clearance itself are clear.
    const double tooNear = std::nextafter(clearance * clearance, 0.0);
    std::size_t near = looked.size();
    for (std::size_t i = 0; i < points.size(); ++i) {
        EndWorkIfStopped();
        // What was near the last point mostly is near the next one too.
        if (near < looked.size() && looked[near].SquaredDistance(points[i]) <= tooNear) {
            continue;
        }
        near = looked.size();
        double squaredLimit = tooNear;
        std::size_t looks = std::numeric_limits<std::size_t>::max();
        tree.Search(points[i], squaredLimit, looks, [&](std::size_t found) {
            near = found;
            squaredLimit = -1.0;
        });
        if (near == looked.size()) {
            kept.push_back(i);
        }
    }
    return kept;
}
