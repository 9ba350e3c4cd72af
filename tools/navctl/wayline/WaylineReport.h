#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINEREPORT_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINEREPORT_H

#include <string>

#include <nlohmann/json.hpp>

#include "tools/navctl/wayline/WaylineContent.h"

/// What a wayline is, as JSON: kind, code, name, number of points, length and bounds in metres,
/// heading in radians; null for what the kind has not.
nlohmann::ordered_json WaylineJson(const WaylineContent& content);

/// What a wayline is, in a line of words.
std::string WaylineWords(const WaylineContent& content);

/// Metres for people: millimetres, without zeros at the end and without a sign of zero.
std::string Metres(double value);

#endif
