#ifndef KESTROVE_TOOLS_NAVCTL_FILES_ANGLE_H
#define KESTROVE_TOOLS_NAVCTL_FILES_ANGLE_H

#include <cmath>

constexpr double kPi = 3.14159265358979323846;

constexpr double Radians(double degrees)
{
    return degrees * (kPi / 180.0);
}

constexpr double Degrees(double radians)
{
    return radians * (180.0 / kPi);
}

/// The same direction in [0, 2 pi).
inline double NormalisedHeading(double radians)
{
    const double remainder = std::fmod(radians, 2.0 * kPi);
    const double positive = remainder < 0.0 ? remainder + 2.0 * kPi : remainder;
    return positive < 2.0 * kPi ? positive : 0.0;
}

/// The smallest turn from one direction to another, in [-pi, pi]; positive clockwise for headings.
inline double SmallestTurn(double fromRadians, double toRadians)
{
    return std::remainder(toRadians - fromRadians, 2.0 * kPi);
}

#endif
