#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINESHAPE_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINESHAPE_H

#include <optional>
#include <vector>

#include "tools/navctl/wayline/WaylineContent.h"

/// A box around points, metres.
struct WaylineBounds
{
    WaylinePoint lowest;
    WaylinePoint highest;
};

/// A circle seen from above.
struct CircleSeenFromAbove
{
    double x = 0.0;           ///< of the centre, metres
    double y = 0.0;           ///< of the centre, metres
    double radius = 0.0;      ///< metres
    double firstAngle = 0.0;  ///< from the centre to the first point; radians, from x to y
    bool isClockwise = false; ///< in driving order
};

/// The circle through three points; nothing when they lie on one line.
std::optional<CircleSeenFromAbove> CircleThrough(const std::vector<WaylinePoint>& points);

/// The course of a wayline as a polyline that can be drawn and measured: the points of an A-B
/// curve; a centripetal Catmull-Rom curve through those of a spline (Yuksel, Schaefer and Keyser,
/// "Parameterization and Applications of Catmull-Rom Curves", 2011); the whole circle, from its
/// first point in driving order, at the first point's height; A and B; A and a point 100 m ahead of
/// it. Empty for a path and a replay, whose course only the service knows. Three points on one
/// line, which make no circle, are given as they are.
std::vector<WaylinePoint> Outline(const WaylineContent& content);

/// The length of what is driven, metres: of the outline; of an A-B line, from A to B. Nothing for
/// an A-plus-heading line, which has no end, a path and a replay.
std::optional<double> WaylineLength(const WaylineContent& content);

/// The box around the outline, but for an A-plus-heading line around its point alone; nothing when
/// there are no points.
std::optional<WaylineBounds> BoundsOf(const WaylineContent& content);

/// The heading from A to B or of an A-plus-heading line; radians, clockwise from north, in [0, 2
/// pi). Nothing for the other kinds and for an A-B line whose points lie in one place.
std::optional<double> HeadingOf(const WaylineContent& content);

#endif
