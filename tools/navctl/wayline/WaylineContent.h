#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINECONTENT_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINECONTENT_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "core/Vector3.h"
#include "wayline/Wayline.h"

using WaylinePoint = Core::Maths::Vector3<double>;

/// What a wayline carries, the same for all kinds.
struct WaylineContent
{
    Kestrove::EWaylineType kind = Kestrove::EWaylineTypeABCurve;
    std::vector<WaylinePoint> points; ///< metres; A and B, A, or those of the circle or the curve
    double heading = 0.0;             ///< of an A-plus-heading line; radians, clockwise from north
    std::string name;                 ///< as its file calls it; empty when it has none
};

/// Whether two waylines carry the same, bit by bit but for the sign of zero; names do not count.
bool operator==(const WaylineContent& left, const WaylineContent& right);

/// The kind in words: "A-B line", "circle".
const char* KindTitle(Kestrove::EWaylineType kind);

/// How many points the kind has; nothing for a spline and an A-B curve, which have any number.
std::optional<std::size_t> PointCountOf(Kestrove::EWaylineType kind);
/// The names of the points of the kinds with a fixed number, as files have them; none for others.
std::vector<const char*> PointNames(Kestrove::EWaylineType kind);

/// What a wayline carries.
WaylineContent ContentOf(const Kestrove::CWayline& wayline);

/// The wayline that carries this. The number of points must be the kind's.
Kestrove::WaylinePtr MakeWayline(const WaylineContent& content);

#endif
