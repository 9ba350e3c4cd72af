#include "simulator/guidance/SimpleShapes.h"

#include <algorithm>
#include <cmath>

CStraightShape::CStraightShape(const Point& origin, double heading)
    : m_origin(origin), m_heading(NormaliseHeading(heading))
{
}

Projection CStraightShape::Project(const Point& place) const
{
    const double station = AheadOf(m_origin, m_heading, place);
    const double crossTrack = RightwardOf(m_origin, m_heading, place);
    return {station, At(station), crossTrack, std::abs(crossTrack)};
}

Projection CStraightShape::ProjectFrom(const Point& place, double, std::size_t&) const
{
    return Project(place);
}

Projection CStraightShape::ProjectNear(const Point& place, double) const
{
    return Project(place);
}

LinePoint CStraightShape::At(double station) const
{
    return {Moved(m_origin, m_heading, station, 0.0), m_heading, 0.0};
}

Stretch CStraightShape::Clip(const Stretch& stretch) const
{
    return stretch;
}

double CStraightShape::Length() const
{
    return 0.0;
}

LineShapePtr CStraightShape::Parallel(double offset) const
{
    return std::make_shared<CStraightShape>(Moved(m_origin, m_heading, 0.0, offset), m_heading);
}

CCircleShape::CCircleShape(const Point& centre, double curvature)
    : m_centre(centre), m_curvature(curvature)
{
}

double CCircleShape::Radius() const
{
    return 1.0 / std::abs(m_curvature);
}

Projection CCircleShape::Project(const Point& place) const
{
    // Bearings from the centre are clockwise from north too, and so run with a clockwise circle.
    const double bearing = std::atan2(place.x - m_centre.x, place.y - m_centre.y);
    const double station =
        NormaliseHeading(std::copysign(bearing, bearing * m_curvature)) * Radius();
    const double outside = Distance(m_centre, place) - Radius();
    // The centre of a clockwise circle lies to the right.
    const double crossTrack = m_curvature > 0.0 ? -outside : outside;
    return {station, At(station), crossTrack, std::abs(crossTrack)};
}

Projection CCircleShape::ProjectFrom(const Point& place, double, std::size_t&) const
{
    return Project(place);
}

Projection CCircleShape::ProjectNear(const Point& place, double) const
{
    return Project(place);
}

LinePoint CCircleShape::At(double station) const
{
    const double bearing = station * m_curvature;
    const double quarter = std::copysign(kPi / 2.0, m_curvature);
    return {Moved(m_centre, bearing, Radius(), 0.0), NormaliseHeading(bearing + quarter),
            m_curvature};
}

Stretch CCircleShape::Clip(const Stretch& stretch) const
{
    return {stretch.from, std::min(stretch.to, stretch.from + Length())};
}

double CCircleShape::Length() const
{
    return 2.0 * kPi * Radius();
}

LineShapePtr CCircleShape::Parallel(double offset) const
{
    const double radius = m_curvature > 0.0 ? Radius() - offset : Radius() + offset;
    if (radius < kLeastRadius) {
        return nullptr;
    }
    return std::make_shared<CCircleShape>(m_centre, std::copysign(1.0 / radius, m_curvature));
}
