#include "simulator/http/LineDrawing.h"

#include <nlohmann/json.hpp>

#include "simulator/http/PageValues.h"
#include "simulator/http/Polyline.h"

using nlohmann::json;

namespace {

/// How many passes beside the followed one are drawn, to each side.
constexpr int kNeighbours = 3;

const char* NameOf(Kestrove::EWaylineType kind)
{
    switch (kind) {
    case Kestrove::EWaylineTypeAB:
        return "A-B line";
    case Kestrove::EWaylineTypeAHeading:
        return "A-plus-heading line";
    case Kestrove::EWaylineTypeCircle:
        return "circle";
    case Kestrove::EWaylineTypeSpline:
        return "spline";
    case Kestrove::EWaylineTypeABCurve:
        return "A-B curve";
    case Kestrove::EWaylineTypePath:
        return "path";
    case Kestrove::EWaylineTypeReplay:
        return "replay";
    default:
        return "none";
    }
}

LineLabel Labelled(Kestrove::EWaylineType kind, int number, const Point& place)
{
    if (kind == Kestrove::EWaylineTypeCircle)
        return {std::to_string(number + 1), place};
    return {number == 0 ? "A" : "B", place};
}

/// Of a drive or a curve there are just the ends.
std::vector<Point> PlacesOf(const LineDefinition& line)
{
    if (line.kind == ELineKind::Circle || line.points.size() < 2)
        return line.points;
    return {line.points.front(), line.points.back()};
}

/// The waypoints set so far of a wayline that is being made.
std::vector<LineLabel> WaypointLabels(const WaylineKeeperC& waylines, Kestrove::EWaylineType kind)
{
    const int wanted = kind == Kestrove::EWaylineTypeCircle ? 3 : 2;
    std::vector<LineLabel> labels;
    for (int number = 0; kind != Kestrove::EWaylineTypeEmpty && number < wanted; ++number) {
        const Waypoint* waypoint = waylines.WaypointAt(number);
        if (waypoint != nullptr)
            labels.push_back(Labelled(kind, number, {waypoint->position.x, waypoint->position.y}));
    }
    return labels;
}

/// @param baseStation on the line that `line` is parallel to.
json PassPoints(const CLineShape& line, double baseStation)
{
    return PointsJson(PolylineOf(line, line.StationFromBase(baseStation)));
}

json PassesJson(const LineLayout& layout)
{
    json passes = json::array();
    if (!layout.line || !layout.repeats)
        return passes;
    for (int pass = layout.pass - kNeighbours; pass <= layout.pass + kNeighbours; ++pass) {
        if (pass == layout.pass)
            continue;
        const double offset = pass * layout.width + layout.shift;
        const LineShapePtr shape = offset == 0.0 ? layout.line : layout.line->Parallel(offset);
        if (shape)
            passes.push_back({{"pass", pass}, {"points", PassPoints(*shape, layout.station)}});
    }
    return passes;
}

} // namespace

std::vector<LineLabel> LabelsOf(const WaylineKeeperC& waylines)
{
    const Kestrove::EWaylineType kind = waylines.Status().kind;
    const Kestrove::CWayline* wayline = waylines.Current();
    if (wayline == nullptr)
        return WaypointLabels(waylines, kind);
    const std::optional<LineDefinition> line = LineOf(*wayline, waylines.Drives());
    const std::vector<Point> places = line ? PlacesOf(*line) : std::vector<Point>();
    std::vector<LineLabel> labels;
    labels.reserve(places.size());
    for (const Point& place : places)
        labels.push_back(Labelled(kind, static_cast<int>(labels.size()), place));
    return labels;
}

std::string LineJson(const LineDrawing& drawing)
{
    const LineLayout& layout = drawing.layout;
    json event{{"revision", drawing.revision},
               {"kind", static_cast<int>(drawing.status.kind)},
               {"kind_name", NameOf(drawing.status.kind)},
               {"complete", drawing.status.complete},
               {"recording", drawing.status.recording},
               {"length", drawing.status.recording ? 0.0 : drawing.status.length},
               {"text", *drawing.text},
               {"line", json::array()},
               {"followed", nullptr},
               {"passes", PassesJson(layout)},
               {"labels", json::array()},
               {"nudge", drawing.nudge},
               {"field_offset", drawing.fieldOffset},
               {"implement_offset", drawing.implementOffset},
               {"shift", layout.shift},
               {"implement_width", layout.width}};
    if (layout.line)
        event["line"] = PointsJson(PolylineOf(*layout.line, layout.station));
    if (layout.followed) {
        event["followed"] = {{"pass", layout.pass},
                             {"points", PassPoints(*layout.followed, layout.station)}};
    }
    for (const LineLabel& label : drawing.labels) {
        const json place = PointJson(label.position);
        event["labels"].push_back({{"text", label.text}, {"x", place[0]}, {"y", place[1]}});
    }
    return JsonText(event);
}
