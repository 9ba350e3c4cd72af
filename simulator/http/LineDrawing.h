#ifndef KESTROVE_SIMULATOR_HTTP_LINEDRAWING_H
#define KESTROVE_SIMULATOR_HTTP_LINEDRAWING_H

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/service/ServiceCore.h"

/// A place on the map that has a name.
struct LineLabel
{
    std::string text;
    Point position;
};

/// All that the event "line" shows, before it is drawn. Taking it is quick, drawing it need not be;
/// what it holds never changes, so that another thread can draw it.
struct LineDrawing
{
    int revision = 0;
    WaylineStatus status;
    std::vector<LineLabel> waypoints;      ///< of a wayline that is not complete
    CWaylineKeeper::SharedWayline wayline; ///< null without a complete one
    std::shared_ptr<const RecordedDrives> drives;
    LineLayout layout;
    double station = 0.0; ///< along the line itself, around which it is drawn
    double nudge = 0.0;
    double fieldOffset = 0.0;
    double implementOffset = 0.0;
};

/// The words for a kind of wayline: "A-B line".
const char* NameOfKind(Kestrove::EWaylineType kind);

/// The names of the waypoints set so far of a wayline that is being made.
std::vector<LineLabel> WaypointLabels(const CWaylineKeeper& waylines);

/// The names of the places that make a wayline, complete or not. Takes time with a long one.
std::vector<LineLabel> LabelsOf(const LineDrawing& drawing);

/// The members of the event "line", but for those with points: JSON without braces.
///
/// @param labels as LabelsOf() gives them.
/// @param picture the number of the picture that the points belong to.
std::string LineMembers(const LineDrawing& drawing, const std::vector<LineLabel>& labels,
                        std::uint64_t picture);

#endif
