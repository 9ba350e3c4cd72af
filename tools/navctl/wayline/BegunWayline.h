#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_BEGUNWAYLINE_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_BEGUNWAYLINE_H

#include <optional>
#include <string>

#include "api/NavigationAPI.h"

/// The wayline of a service, which may not be complete yet.
struct CBegunWayline
{
    Kestrove::EWaylineType kind; ///< EWaylineTypeEmpty where none was begun
    bool isRecording;
};

/// Asks for the wayline that was begun, by the event that a subscriber gets at once.
///
/// @param seconds the longest wait for it.
/// @return nothing when the service does not say, or a kind that has no name.
std::optional<CBegunWayline> AskForBegunWayline(CNavigationAPI& navigation, double seconds);

/// How many waypoints make a wayline of the kind; 0 for what is not made of them.
int WaypointCount(Kestrove::EWaylineType kind);

/// Why a waypoint that the service has taken is part of no wayline, in words; empty when it is part
/// of one, and where the service does not say.
///
/// @param number the waypoint's.
/// @param seconds the longest wait for each answer.
std::string WhyWaypointIsIdle(CNavigationAPI& navigation, int number, double seconds);

#endif
