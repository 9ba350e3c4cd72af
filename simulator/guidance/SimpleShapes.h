#ifndef KESTROVE_SIMULATOR_GUIDANCE_SIMPLESHAPES_H
#define KESTROVE_SIMULATOR_GUIDANCE_SIMPLESHAPES_H

#include "simulator/guidance/LineShape.h"

/// The straight line through a point in a direction, without ends.
class CStraightShape final : public CLineShape
{
public:
    CStraightShape(const Point& origin, double heading);

    Projection Project(const Point& place) const override;
    Projection ProjectFrom(const Point& place, double station, std::size_t& looks) const override;
    Projection ProjectNear(const Point& place, double station) const override;
    LinePoint At(double station) const override;
    Stretch Clip(const Stretch& stretch) const override;
    double Length() const override;
    LineShapePtr Parallel(double offset) const override;

private:
    Point m_origin;
    double m_heading;
};

/// A circle that is driven round in one direction.
class CCircleShape final : public CLineShape
{
public:
    /// @param curvature 1/m, never 0: positive clockwise, seen from above.
    CCircleShape(const Point& centre, double curvature);

    Projection Project(const Point& place) const override;
    Projection ProjectFrom(const Point& place, double station, std::size_t& looks) const override;
    Projection ProjectNear(const Point& place, double station) const override;
    LinePoint At(double station) const override;
    Stretch Clip(const Stretch& stretch) const override;
    double Length() const override;
    /// Null for a radius below kLeastRadius.
    LineShapePtr Parallel(double offset) const override;

    static constexpr double kLeastRadius = 1.0;

private:
    double Radius() const;

    Point m_centre;
    double m_curvature;
};

#endif
