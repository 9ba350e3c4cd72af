#include "simulator/guidance/CurveOffset.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>

namespace {

/// Points sorted into square cells, so that those near a place are found without looking at all.
class CPointGrid
{
public:
    explicit CPointGrid(double cellSize) : m_cellSize(cellSize) {}

    void Add(const Point& point) { m_cells[Key(Cell(point.x), Cell(point.y))].push_back(point); }

    /// A point that lies nearer to `place` than `distance`, which is at most the cell size; null
    /// when there is none. Valid until the next Add().
    const Point* FindWithin(const Point& place, double distance) const
    {
        for (std::int64_t x = Cell(place.x) - 1; x <= Cell(place.x) + 1; ++x) {
            for (std::int64_t y = Cell(place.y) - 1; y <= Cell(place.y) + 1; ++y) {
                const auto cell = m_cells.find(Key(x, y));
                if (cell == m_cells.end())
                    continue;
                const std::vector<Point>& points = cell->second;
                const auto found =
                    std::find_if(points.begin(), points.end(), [&](const Point& point) {
                        return Distance(point, place) < distance;
                    });
                if (found != points.end())
                    return &*found;
            }
        }
        return nullptr;
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

std::vector<std::size_t> KeptClear(const std::vector<Point>& points,
                                   const std::vector<Point>& curve, double distance)
{
    // Looking at one point of the curve in every twentieth of the distance changes what is found
    // by less than the tolerance.
    const double spacing = distance / 20.0;
    const double tolerance = 0.02 + distance / 1000.0;
    CPointGrid grid(std::max(distance, tolerance));
    Point last = curve.front();
    grid.Add(last);
    for (const Point& point : curve) {
        if (Distance(last, point) >= spacing) {
            grid.Add(point);
            last = point;
        }
    }
    std::vector<std::size_t> kept;
    kept.reserve(points.size());
    const double clearance = distance - tolerance;
    const Point* near = nullptr;
    for (std::size_t i = 0; i < points.size(); ++i) {
        // What was near the last point mostly is near the next one too.
        if (near != nullptr && Distance(*near, points[i]) < clearance)
            continue;
        near = grid.FindWithin(points[i], clearance);
        if (near == nullptr)
            kept.push_back(i);
    }
    return kept;
}
