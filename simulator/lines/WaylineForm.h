#ifndef KESTROVE_SIMULATOR_LINES_WAYLINEFORM_H
#define KESTROVE_SIMULATOR_LINES_WAYLINEFORM_H

#include <optional>
#include <string>
#include <vector>

#include "core/Vector3.h"
#include "platform/BElement.h"
#include "simulator/guidance/LineDefinition.h"
#include "wayline/Wayline.h"

/// Driven polylines that waylines without values of their own stand for, metres in the local frame.
struct RecordedDrives
{
    std::vector<Core::Maths::Vector3<double>> path; ///< the last recorded path
    std::vector<Core::Maths::Vector3<double>> last; ///< the last recorded drive of any kind
};

/// The most points of a wayline.
inline constexpr int kMostWaylinePoints = 200000;

/// Reads a wayline from its list form, which must be whole: every value a number and, for the kinds
/// with points, all the points there that the count announces.
///
/// @param problem receives what is wrong, when something is.
/// @return the wayline; null when the list is not a wayline.
Kestrove::WaylinePtr ReadWayline(const BListC& list, std::string& problem);

/// The line that a wayline stands for.
///
/// @return nothing for a path or a replay without a recorded drive.
std::optional<LineDefinition> LineOf(const Kestrove::CWayline& wayline,
                                     const RecordedDrives& drives);

#endif
