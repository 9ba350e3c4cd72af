#ifndef KESTROVE_SIMULATOR_GUIDANCE_CURVESHAPE_H
#define KESTROVE_SIMULATOR_GUIDANCE_CURVESHAPE_H

#include <cstddef>
#include <vector>

#include "simulator/guidance/BoxTree.h"
#include "simulator/guidance/LineShape.h"

/// What a curve does past its first and last point.
enum class EEnds
{
    Stop,     ///< it ends there
    Straight, ///< it goes on along its tangents
};

/// A free curve, held as points so dense that interpolation between them is exact to a fraction of
/// a millimetre on any bend that a machine can drive. Headings and curvatures are interpolated too,
/// so that nothing jumps at a point.
class CCurveShape final : public CLineShape
{
public:
    /// @param dense two points or more, evenly spaced, no two in succession equal.
    CCurveShape(const std::vector<Point>& dense, EEnds ends);

    Projection Project(const Point& place) const override;
    Projection ProjectFrom(const Point& place, double station, std::size_t& looks) const override;
    Projection ProjectNear(const Point& place, double station) const override;
    LinePoint At(double station) const override;
    Stretch Clip(const Stretch& stretch) const override;
    double Length() const override;
    std::size_t PointCount() const override { return m_vertices.size(); }
    /// Where the curve bends so tightly that its parallel would fold over, keeps the points that
    /// are no nearer to the curve than the offset, and rounds the corners that are left.
    LineShapePtr Parallel(double offset) const override;
    double StationFromBase(double station) const override;
    double StationOnBase(double station) const override;

private:
    /// A place on the line that this one is parallel to, and the one beside it here: stations.
    struct Beside
    {
        double base;
        double here;
    };
    struct Vertex
    {
        Point position;
        double heading;
        double curvature;
        double station;
    };
    /// A run of segments, which a box holds.
    struct Group
    {
        std::size_t first;
        std::size_t last;
    };

    /// The nearest point of a segment: the share of its length and the square of the distance.
    struct OnSegment
    {
        double share;
        double squaredDistance;
    };

    /// A segment, and the square of its distance from a place.
    struct Nearest
    {
        std::size_t segment;
        double squaredDistance;
    };

    static double Translated(const std::vector<Beside>& table, double Beside::*from,
                             double Beside::*to, double station);
    /// @param kept the places of the base that this line is made from, and `clear` where it has
    ///        been beside them before its corners were rounded.
    void SetBeside(const CCurveShape& base, const std::vector<std::size_t>& kept,
                   const std::vector<Point>& clear);
    void SetHeadings();
    void SetCurvatures();
    void MakeGroups();
    OnSegment NearestOn(std::size_t segment, const Point& place) const;
    std::size_t SegmentAt(double station) const;
    /// The nearest segment around a station, and on from there as long as they come nearer.
    Nearest NearestNear(const Point& place, double station, std::size_t farthest) const;
    /// The nearest segment of all, or `found`.
    Nearest NearestOfAll(const Point& place, Nearest found, std::size_t& looks) const;
    /// The nearest point of the line, extensions included, when `segment` is the nearest of it.
    Projection WithExtensions(std::size_t segment, const Point& place) const;
    Projection ProjectOnto(std::size_t segment, const Point& place) const;
    Projection PastEnd(const Vertex& end, double beyond, const Point& place) const;
    LinePoint Between(std::size_t segment, double share) const;

    std::vector<Vertex> m_vertices;
    std::vector<Group> m_groups;
    CBoxTree m_tree;              ///< of the groups
    std::vector<Beside> m_beside; ///< in rising order; empty unless made by Parallel()
    EEnds m_ends;
};

#endif
