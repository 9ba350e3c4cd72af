#ifndef KESTROVE_SIMULATOR_GUIDANCE_LINEDEFINITION_H
#define KESTROVE_SIMULATOR_GUIDANCE_LINEDEFINITION_H

#include <memory>
#include <utility>
#include <vector>

#include "simulator/machine/Pose.h"

/// The shapes that the machine can be steered along.
enum class ELineKind
{
    Straight, ///< through points[0] and points[1], from the first to the second, without ends
    Heading,  ///< through points[0] in the direction `heading`, without ends
    Circle,   ///< through points[0], points[1], points[2], driven in that order
    Spline,   ///< the curve through the points, ending at the first and the last
    Curve,    ///< the driven points smoothed, with straight extensions at both ends
    Recorded, ///< the driven points smoothed, ending at both ends and never repeated
};

/// A line as an application or a recording gives it; CSimulation::SetLine judges whether it is one.
/// Use the functions below to make one.
struct LineDefinition
{
    ELineKind kind = ELineKind::Straight;
    std::vector<Point> points;
    double heading = 0.0; ///< of ELineKind::Heading alone
};

using LineDefinitionPtr = std::shared_ptr<const LineDefinition>;

inline LineDefinition StraightLine(const Point& a, const Point& b)
{
    return {ELineKind::Straight, {a, b}, 0.0};
}

/// `heading` in radians clockwise from north.
inline LineDefinition HeadingLine(const Point& a, double heading)
{
    return {ELineKind::Heading, {a}, heading};
}

inline LineDefinition CircleLine(const Point& first, const Point& second, const Point& third)
{
    return {ELineKind::Circle, {first, second, third}, 0.0};
}

inline LineDefinition SplineLine(std::vector<Point> points)
{
    return {ELineKind::Spline, std::move(points), 0.0};
}

inline LineDefinition CurveLine(std::vector<Point> points)
{
    return {ELineKind::Curve, std::move(points), 0.0};
}

/// What a path or a replay is followed by.
inline LineDefinition RecordedLine(std::vector<Point> points)
{
    return {ELineKind::Recorded, std::move(points), 0.0};
}

#endif
