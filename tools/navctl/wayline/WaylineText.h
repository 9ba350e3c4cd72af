#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINETEXT_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINETEXT_H

#include <optional>
#include <string>

#include "tools/navctl/wayline/WaylineContent.h"

/// Reads a text form strictly: the library's own reader accepts lines of which it understands only
/// a part. Here every word must be used, be a finite number, and be one of as many as the kind or
/// the count asks for. A path and a replay are read as they are written, "5", and also as the
/// library reads them, "5 0".
///
/// @param line a line without its end.
/// @param problem receives what is wrong with it.
std::optional<WaylineContent> ReadWaylineText(const std::string& line, std::string& problem);

/// The text form, as the library writes it: six decimals.
std::string WriteWaylineText(const WaylineContent& content);

#endif
