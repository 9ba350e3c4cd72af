#ifndef KESTROVE_SIMULATOR_MACHINE_POSE_H
#define KESTROVE_SIMULATOR_MACHINE_POSE_H

#include <cmath>

#include "core/Vector2.h"

/// A place in the local plane, metres: x east, y north.
using Point = Core::Maths::Vector2<double>;

inline constexpr double kPi = 3.14159265358979323846;

/// Radians of an angle in degrees.
constexpr double Radians(double degrees)
{
    return degrees * (kPi / 180.0);
}

/// Degrees of an angle in radians.
constexpr double Degrees(double radians)
{
    return radians * (180.0 / kPi);
}

/// Where a machine stands and where it looks: its reference point (the middle of the rear axle) and
/// its heading, radians clockwise from north.
struct Pose
{
    Point position;
    double heading = 0.0;
};

/// The same direction in [0, 2 pi).
inline double NormaliseHeading(double heading)
{
    const double turn = 2.0 * kPi;
    const double rest = heading - turn * std::floor(heading / turn);
    // The subtraction can round up to a whole turn for a heading just below zero.
    return rest < turn ? rest : 0.0;
}

/// The same turn by the shorter way round, in [-pi, pi].
inline double NormaliseTurn(double angle)
{
    return std::remainder(angle, 2.0 * kPi);
}

/// The unit vector along a heading.
inline Point Along(double heading)
{
    return {std::sin(heading), std::cos(heading)};
}

/// The unit vector to the right of a heading.
inline Point RightOf(double heading)
{
    return {std::cos(heading), -std::sin(heading)};
}

/// The place `ahead` metres along `heading` and `right` metres to its right from `from`.
inline Point Moved(const Point& from, double heading, double ahead, double right)
{
    const Point along = Along(heading);
    const Point aside = RightOf(heading);
    return {from.x + ahead * along.x + right * aside.x, from.y + ahead * along.y + right * aside.y};
}

/// How far `to` lies ahead of `from`, looking along `heading`; negative behind.
inline double AheadOf(const Point& from, double heading, const Point& to)
{
    const Point along = Along(heading);
    return (to.x - from.x) * along.x + (to.y - from.y) * along.y;
}

/// How far `to` lies to the right of `from`, looking along `heading`; negative to the left.
inline double RightwardOf(const Point& from, double heading, const Point& to)
{
    const Point aside = RightOf(heading);
    return (to.x - from.x) * aside.x + (to.y - from.y) * aside.y;
}

/// The distance of two places.
inline double Distance(const Point& from, const Point& to)
{
    return std::hypot(to.x - from.x, to.y - from.y);
}

#endif
