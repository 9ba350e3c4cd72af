#include "simulator/guidance/CurveOffset.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <unordered_map>

namespace {

/// Points sorted into square cells, so that those near a place are found without looking at all.
class CPointGrid
{
public:
    explicit CPointGrid(double cellSize) : m_cellSize(cellSize) {}

    void Add(const Point& point) { m_cells[Key(Cell(point.x), Cell(point.y))].push_back(point); }

    /// Whether a point lies nearer to `place` than `distance`, which is at most the cell size.
    bool HasWithin(const Point& place, double distance) const
    {
        for (std::int64_t x = Cell(place.x) - 1; x <= Cell(place.x) + 1; ++x) {
            for (std::int64_t y = Cell(place.y) - 1; y <= Cell(place.y) + 1; ++y) {
                const auto cell = m_cells.find(Key(x, y));
                if (cell != m_cells.end() &&
                    std::any_of(cell->second.begin(), cell->second.end(), [&](const Point& point) {
                        return Distance(point, place) < distance;
                    }))
                    return true;
            }
        }
        return false;
    }

private:
    std::int64_t Cell(double coordinate) const
    {
        return static_cast<std::int64_t>(std::floor(coordinate / m_cellSize));
    }

    static std::uint64_t Key(std::int64_t x, std::int64_t y)
    {
        return (static_cast<std::uint64_t>(x) << 32) ^
               (static_cast<std::uint64_t>(y) & 0xffffffffU);
    }

    double m_cellSize;
    std::unordered_map<std::uint64_t, std::vector<Point>> m_cells;
};

} // namespace

std::vector<Point> KeptClear(const std::vector<Point>& points, const std::vector<Point>& curve,
                             double distance)
{
    // Looking at one point of the curve in every twentieth of the distance changes what is found
    // by less than the tolerance.
    const double spacing = distance / 20.0;
    const double tolerance = 0.02 + distance / 1000.0;
    if (distance <= tolerance)
        return points;
    CPointGrid grid(distance);
    Point last = curve.front();
    grid.Add(last);
    for (const Point& point : curve) {
        if (Distance(last, point) >= spacing) {
            grid.Add(point);
            last = point;
        }
    }
    std::vector<Point> kept;
    kept.reserve(points.size());
    std::copy_if(points.begin(), points.end(), std::back_inserter(kept),
                 [&](const Point& point) { return !grid.HasWithin(point, distance - tolerance); });
    return kept;
}
