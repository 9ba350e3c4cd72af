#ifndef KESTROVE_SIMULATOR_HTTP_LINEDRAWING_H
#define KESTROVE_SIMULATOR_HTTP_LINEDRAWING_H

#include <memory>
#include <string>
#include <vector>

#include "simulator/ServiceCore.h"

/// A place on the map that has a name.
struct LineLabel
{
    std::string text;
    Point position;
};

/// All that the event "line" tells, before it is drawn. Taking it is quick, drawing it need not be;
/// what it holds never changes, so that another thread can draw it.
struct LineDrawing
{
    int revision = 0;
    WaylineStatus status;
    std::shared_ptr<const std::string> text; ///< the wayline's text form
    std::vector<LineLabel> labels;
    LineLayout layout;
    double nudge = 0.0;
    double fieldOffset = 0.0;
    double implementOffset = 0.0;
};

/// The names of the places that make a wayline, complete or not.
std::vector<LineLabel> LabelsOf(const WaylineKeeperC& waylines);

/// Draws: the data of the event "line".
std::string LineJson(const LineDrawing& drawing);

#endif
