#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINEPLOT_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINEPLOT_H

#include <string>

#include "tools/navctl/wayline/WaylineList.h"

/// Draws waylines seen from above as an SVG picture: x to the right and y up, both in metres and on
/// one scale, with a grid, a scale bar, the points, the letters A and B, and the names. Lines
/// without ends go on, dashed, to the picture's edge.
///
/// @param list the waylines; those without points are left out.
/// @return the picture; empty when there is no point, or one farther away than a million
/// kilometres.
std::string WaylinePlot(const WaylineList& list);

#endif
