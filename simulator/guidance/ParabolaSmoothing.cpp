#include "simulator/guidance/ParabolaSmoothing.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "simulator/aside/LongWork.h"

namespace {

/// The sums of a least-squares parabola over some points, in distances from an origin on the line.
class CParabolaSums
{
public:
    /// @param at the point's distance from the origin, along the line.
    void Add(double at, const Point& point)
    {
        double power = 1.0;
        for (std::size_t i = 0; i < m_powers.size(); ++i, power *= at) {
            m_powers[i] += power;
            if (i < m_x.size()) {
                m_x[i] += power * point.x;
                m_y[i] += power * point.y;
            }
        }
    }

    /// Adds the sums of other points, from the same origin.
    void Add(const CParabolaSums& other)
    {
        AddEach(m_powers, other.m_powers);
        AddEach(m_x, other.m_x);
        AddEach(m_y, other.m_y);
    }

    /// The same sums from an origin that lies `distance` farther along the line.
    CParabolaSums From(double distance) const
    {
        CParabolaSums moved = *this;
        MoveOrigin(moved.m_powers, distance);
        MoveOrigin(moved.m_x, distance);
        MoveOrigin(moved.m_y, distance);
        return moved;
    }

    /// The parabola's value at the origin, by Cramer's rule.
    Point AtOrigin() const
    {
        const auto& s = m_powers;
        const double weight0 = s[2] * s[4] - s[3] * s[3];
        const double weight1 = s[2] * s[3] - s[1] * s[4];
        const double weight2 = s[1] * s[3] - s[2] * s[2];
        const double determinant = s[0] * weight0 + s[1] * weight1 + s[2] * weight2;
        return {(weight0 * m_x[0] + weight1 * m_x[1] + weight2 * m_x[2]) / determinant,
                (weight0 * m_y[0] + weight1 * m_y[1] + weight2 * m_y[2]) / determinant};
    }

private:
    template <typename Sums>
    static void AddEach(Sums& sums, const Sums& others)
    {
        for (std::size_t i = 0; i < sums.size(); ++i) {
            sums[i] += others[i];
        }
    }

    /// The binomial theorem on sums of powers, a row of Pascal's triangle at a time.
    template <typename Sums>
    static void MoveOrigin(Sums& sums, double distance)
    {
        for (std::size_t row = 1; row < sums.size(); ++row) {
            for (std::size_t power = sums.size() - 1; power >= row; --power) {
                sums[power] -= distance * sums[power - 1];
            }
        }
    }

    std::array<double, 5> m_powers{};
    std::array<double, 3> m_x{};
    std::array<double, 3> m_y{};
};

/// The sums over a window that slides along the points.
///
/// The points are taken in blocks of a window's size, so that a window is the end of one block and
/// the beginning of the next. Sums of ends and beginnings take one addition a point, and nothing is
/// ever subtracted again, which would leave the rounding errors of far points behind (van Herk, "A
/// Fast Algorithm for Local Minimum and Maximum Filters on Rectangular and Octagonal Kernels",
/// 1992, for sums instead of minima).
class CSlidingSums
{
public:
    /// @param points must outlive this object.
    CSlidingSums(const std::vector<Point>& points, std::size_t window)
        : m_points(points), m_window(window), m_ends(1)
    {
        m_stations.push_back(0.0);
        for (std::size_t i = 1; i < points.size(); ++i) {
            m_stations.push_back(m_stations.back() + Distance(points[i - 1], points[i]));
        }
    }

    /// The value at the point `at` of the parabola over the points from `first` to `last`, both
    /// included. `last` never falls from call to call.
    Point Parabola(std::size_t at, std::size_t first, std::size_t last)
    {
        if (last / m_window * m_window != m_border) {
            BeginBlock(last / m_window * m_window);
        }
        for (; m_next <= last; ++m_next) {
            AddTo(m_beginning, m_next);
        }
        CParabolaSums sums;
        if (first <= m_border) {
            sums = m_beginning;
            sums.Add(m_ends[m_border - first]);
        } else {
            // Only at the end of all points, where windows shrink.
            for (std::size_t i = first; i <= last; ++i) {
                AddTo(sums, i);
            }
        }
        const Point value = sums.From(m_stations[at] - m_stations[m_border]).AtOrigin();
        return {m_points[m_border].x + value.x, m_points[m_border].y + value.y};
    }

private:
    /// Places count from the border too, which keeps digits far from the plane's origin.
    void AddTo(CParabolaSums& sums, std::size_t i) const
    {
        const Point& border = m_points[m_border];
        sums.Add(m_stations[i] - m_stations[m_border],
                 {m_points[i].x - border.x, m_points[i].y - border.y});
    }

    void BeginBlock(std::size_t border)
    {
        m_border = border;
        m_next = border;
        m_beginning = {};
        m_ends.assign(1, {});
        for (std::size_t count = 1; count <= std::min(m_window, border); ++count) {
            m_ends.push_back(m_ends.back());
            AddTo(m_ends.back(), border - count);
        }
    }

    const std::vector<Point>& m_points;
    std::size_t m_window;
    std::vector<double> m_stations;
    std::size_t m_border = 0;          ///< the first point of the present block: origin of all sums
    std::size_t m_next = 0;            ///< the first point that is not in m_beginning
    CParabolaSums m_beginning;         ///< of the present block
    std::vector<CParabolaSums> m_ends; ///< over the last 0, 1, 2 ... points before the border
};

} // namespace

std::vector<Point> SmoothedByParabolas(const std::vector<Point>& points, int window)
{
    const auto reach = static_cast<std::size_t>(window) / 2;
    if (window < 4 || points.size() < 4) {
        return points;
    }
    CSlidingSums sums(points, 2 * reach + 1);
    std::vector<Point> smoothed;
    smoothed.reserve(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        EndWorkIfStopped();
        // Near an end the window keeps at least four points, or the parabola would be no smoother.
        const std::size_t first = std::min(i < reach ? 0 : i - reach, points.size() - 4);
        const std::size_t last = std::max<std::size_t>(std::min(points.size() - 1, i + reach), 3);
        smoothed.push_back(sums.Parabola(i, first, last));
    }
    return smoothed;
}
