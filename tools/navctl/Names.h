#ifndef KESTROVE_TOOLS_NAVCTL_NAMES_H
#define KESTROVE_TOOLS_NAVCTL_NAMES_H

#include <string>
#include <utility>
#include <vector>

#include "api/TuningParameter.h"
#include "wayline/Wayline.h"

/// The words of the command line for the codes of an enumeration, in the order of the codes.
using NameTable = std::vector<std::pair<std::string, int>>;

/// The kinds of waylines: "ab", "a-heading", "circle", "spline", "ab-curve", "path", "replay"; and
/// "empty" for -1.
const NameTable& WaylineKindNames();
/// The tuning parameters: "sensitivity", "aggressiveness", "overshoot", "speed-adjust".
const NameTable& TuningParameterNames();

/// The word for a code; the number itself for one that has none.
std::string NameOf(const NameTable& names, int code);
/// The word for a kind of wayline.
std::string KindName(Kestrove::EWaylineType type);
/// The word for a tuning parameter.
std::string ParameterName(Kestrove::ETuningParameter parameter);

#endif
