#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINECSV_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINECSV_H

#include <string>

#include "tools/navctl/files/LineReader.h"
#include "tools/navctl/wayline/WaylineList.h"

/// Reads comma-separated values, in one of two layouts. With a first line that names the columns x
/// and y, and z if there is one, or latitude and longitude, and height if there is one, every
/// further line is a point, and the file is one wayline. Without such a line every line is a
/// wayline: its name, then x, y, z of each point.
///
/// @param lines the file.
/// @param reading the kind of the waylines, and the origin that latitude and longitude need.
WaylineList ReadWaylineCsv(CLineReader& lines, const WaylineReading& reading);

/// Writes comma-separated values in the layout that suits the number of waylines: points for one, a
/// line each for several. Numbers have as many digits as they need.
///
/// @param csv receives the file's content.
/// @return why the waylines cannot be written so, as kinds without points, headings and a mixture
/// of
///         kinds cannot; empty on success.
std::string WriteWaylineCsv(const WaylineList& list, std::string& csv);

#endif
