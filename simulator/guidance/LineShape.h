#ifndef KESTROVE_SIMULATOR_GUIDANCE_LINESHAPE_H
#define KESTROVE_SIMULATOR_GUIDANCE_LINESHAPE_H

#include <cstddef>
#include <memory>

#include "simulator/machine/Pose.h"

/// A point of a line: where, in which direction the line runs there, and how it bends (1/m,
/// positive to the right).
struct LinePoint
{
    Point position;
    double heading = 0.0;
    double curvature = 0.0;
};

/// Where a place is relative to a line.
struct Projection
{
    double station = 0.0;    ///< metres along the line; beyond the range of a line past its ends
    LinePoint foot;          ///< the nearest point, also on the tangent past an end
    double crossTrack = 0.0; ///< metres, positive right of the line, looking along it
    double distance = 0.0;   ///< metres to the nearest point that belongs to the line
};

/// A stretch of a line, in metres along it.
struct Stretch
{
    double from = 0.0;
    double to = 0.0;
};

class CLineShape;
using LineShapePtr = std::shared_ptr<const CLineShape>;

/// The shape of a line in the plane, which runs in a direction. Stations count along it from some
/// point of the shape's own choice. Shapes never change, so that they can be shared.
class CLineShape
{
public:
    CLineShape() = default;
    CLineShape(const CLineShape&) = delete;
    CLineShape& operator=(const CLineShape&) = delete;
    virtual ~CLineShape() = default;

    /// Where `place` is relative to the whole line.
    virtual Projection Project(const Point& place) const = 0;
    /// The same, begun at the station of an earlier projection, with a bound.
    ///
    /// @param looks how many parts of the line may be looked at, about, counted down. When there
    ///        are too many that may be nearest, as where they all are equally far away, the nearest
    ///        of those that were looked at; it is no farther than what lies at the station.
    virtual Projection ProjectFrom(const Point& place, double station,
                                   std::size_t& looks) const = 0;
    /// The same for a place near the station of an earlier projection: faster, and stays on its
    /// branch where the line comes near itself.
    virtual Projection ProjectNear(const Point& place, double station) const = 0;
    /// The point at a station; past an end it lies on the tangent.
    virtual LinePoint At(double station) const = 0;
    /// The part of a stretch that belongs to the line, once round at most.
    virtual Stretch Clip(const Stretch& stretch) const = 0;
    /// How many points the shape is held as, which shows how long it takes to make one like it; 0
    /// for one that a few numbers hold.
    virtual std::size_t PointCount() const { return 0; }
    /// Metres; 0 for a straight line, which has no ends.
    virtual double Length() const = 0;
    /// The parallel line `offset` metres to the right; null when nothing is left of it, such as far
    /// inside of a bend.
    virtual LineShapePtr Parallel(double offset) const = 0;
    /// Of a line that Parallel() made: the station of the place that lies beside `station` of the
    /// line that it is parallel to. Exact to a metre or so, as a hint for ProjectNear() needs it.
    /// Any other line answers the station itself.
    virtual double StationFromBase(double station) const { return station; }
    /// The reverse of StationFromBase().
    virtual double StationOnBase(double station) const { return station; }
};

#endif
