#include "simulator/http/LineDrawing.h"

#include <nlohmann/json.hpp>

#include "simulator/http/PageValues.h"

using nlohmann::json;

const char* NameOfKind(Kestrove::EWaylineType kind)
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

namespace {

LineLabel Labelled(Kestrove::EWaylineType kind, int number, const Point& place)
{
    if (kind == Kestrove::EWaylineTypeCircle) {
        return {std::to_string(number + 1), place};
    }
    return {number == 0 ? "A" : "B", place};
}

/// Of a drive or a curve there are just the ends.
std::vector<Point> PlacesOf(const LineDefinition& line)
{
    if (line.kind == ELineKind::Circle || line.points.size() < 2) {
        return line.points;
    }
    return {line.points.front(), line.points.back()};
}

} // namespace

std::vector<LineLabel> WaypointLabels(const CWaylineKeeper& waylines)
{
    const Kestrove::EWaylineType kind = waylines.Status().kind;
    const int wanted = kind == Kestrove::EWaylineTypeCircle ? 3 : 2;
    std::vector<LineLabel> labels;
    for (int number = 0; kind != Kestrove::EWaylineTypeEmpty && number < wanted; ++number) {
        const Waypoint* waypoint = waylines.WaypointAt(number);
        if (waypoint != nullptr) {
            labels.push_back(Labelled(kind, number, {waypoint->position.x, waypoint->position.y}));
        }
    }
    return labels;
}

std::vector<LineLabel> LabelsOf(const LineDrawing& drawing)
{
    if (!drawing.wayline) {
        return drawing.waypoints;
    }
    const std::optional<LineDefinition> line = LineOf(*drawing.wayline, *drawing.drives);
    const std::vector<Point> places = line ? PlacesOf(*line) : std::vector<Point>();
    std::vector<LineLabel> labels;
    labels.reserve(places.size());
    for (const Point& place : places) {
        labels.push_back(Labelled(drawing.status.kind, static_cast<int>(labels.size()), place));
    }
    return labels;
}

std::string LineMembers(const LineDrawing& drawing, const std::vector<LineLabel>& labels,
                        std::uint64_t picture)
{
    json members{{"revision", drawing.revision},
                 {"picture", picture},
                 {"kind", static_cast<int>(drawing.status.kind)},
                 {"kind_name", NameOfKind(drawing.status.kind)},
                 {"complete", drawing.status.complete},
                 {"recording", drawing.status.recording},
                 {"length", drawing.status.recording ? 0.0 : drawing.status.length},
                 {"pass", drawing.layout.pass},
                 {"labels", json::array()},
                 {"nudge", drawing.nudge},
                 {"field_offset", drawing.fieldOffset},
                 {"implement_offset", drawing.implementOffset},
                 {"shift", drawing.layout.shift},
                 {"implement_width", drawing.layout.width}};
    for (const LineLabel& label : labels) {
        const json place = PointJson(label.position);
        members["labels"].push_back({{"text", label.text}, {"x", place[0]}, {"y", place[1]}});
    }
    const std::string text = JsonText(members);
    return text.substr(1, text.size() - 2);
}
