#include "simulator/lines/WaylineForm.h"

#include <cmath>

using Kestrove::CABCurveWayline;
using Kestrove::CABWayline;
using Kestrove::CAHeadingWayline;
using Kestrove::CCircleWayline;
using Kestrove::CSplineWayline;

namespace {

std::vector<Point> FromAbove(const std::vector<Core::Maths::Vector3<double>>& points)
{
    std::vector<Point> flat;
    flat.reserve(points.size());
    for (const auto& point : points) {
        flat.push_back({point.x, point.y});
    }
    return flat;
}

std::optional<LineDefinition> LineOfDrive(const std::vector<Core::Maths::Vector3<double>>& drive)
{
    if (drive.empty()) {
        return std::nullopt;
    }
    return RecordedLine(FromAbove(drive));
}

/// What keeps a list from being read as a wayline although its length may be right.
std::string Unreadable(const BListC& list)
{
    if (list.Size() == 0 || list.TypeAt(0) != EBElementType::Integer) {
        return "the list does not begin with the code of a kind";
    }
    const int kind = list.GetInt(0);
    const bool hasPoints =
        kind == Kestrove::EWaylineTypeSpline || kind == Kestrove::EWaylineTypeABCurve;
    const std::int64_t count = list.GetInt64(1);
    const std::int64_t places = (list.Size() - 2) / 3;
    if (hasPoints && list.TypeAt(1) != EBElementType::Integer && (count <= 0 || count > places)) {
        return "element 1 is to be the number of points, which is missing";
    }
    if (hasPoints && count > kMostWaylinePoints) {
        return std::to_string(count) + " points are too many for a wayline, allowed is " +
               std::to_string(kMostWaylinePoints);
    }
    for (int index = 1; index < list.Size(); ++index) {
        const EBElementType type = list.TypeAt(index);
        if (type != EBElementType::Integer && type != EBElementType::Double) {
            return "element " + std::to_string(index) + " is no number";
        }
        // Heights too: they take no part in guidance, but are given back.
        if (!std::isfinite(list.GetDouble(index))) {
            return "element " + std::to_string(index) + " is " +
                   std::to_string(list.GetDouble(index)) + ", no finite number";
        }
    }
    if (hasPoints && count == 0) {
        return std::string(kind == Kestrove::EWaylineTypeSpline ? "a spline" : "an A-B curve") +
               " without points is no line";
    }
    if (hasPoints && (count < 0 || count > places)) {
        return std::to_string(count) + " points are announced, and " + std::to_string(places) +
               " are there";
    }
    return {};
}

} // namespace

Kestrove::WaylinePtr ReadWayline(const BListC& list, std::string& problem)
{
    problem = Unreadable(list);
    if (!problem.empty()) {
        return {};
    }
    // Reading leaves the list as it is; the interface of the wayline model merely does not say so.
    Kestrove::WaylinePtr wayline = Kestrove::CWayline::FromBList(const_cast<BListC*>(&list));
    if (!wayline) {
        problem = "a list of " + std::to_string(list.Size()) + " elements is no wayline of kind " +
                  std::to_string(list.GetInt(0));
    }
    return wayline;
}

std::optional<LineDefinition> LineOf(const Kestrove::CWayline& wayline,
                                     const RecordedDrives& drives)
{
    if (const auto* line = dynamic_cast<const CABWayline*>(&wayline)) {
        return StraightLine({line->pointAX, line->pointAY}, {line->pointBX, line->pointBY});
    }
    if (const auto* line = dynamic_cast<const CAHeadingWayline*>(&wayline)) {
        return HeadingLine({line->pointAX, line->pointAY}, line->heading);
    }
    if (const auto* circle = dynamic_cast<const CCircleWayline*>(&wayline)) {
        return CircleLine({circle->firstPointX, circle->firstPointY},
                          {circle->secondPointX, circle->secondPointY},
                          {circle->thirdPointX, circle->thirdPointY});
    }
    if (const auto* spline = dynamic_cast<const CSplineWayline*>(&wayline)) {
        return SplineLine(FromAbove(spline->points));
    }
    if (const auto* curve = dynamic_cast<const CABCurveWayline*>(&wayline)) {
        return CurveLine(FromAbove(curve->points));
    }
    if (wayline.Type() == Kestrove::EWaylineTypePath) {
        return LineOfDrive(drives.path);
    }
    if (wayline.Type() == Kestrove::EWaylineTypeReplay) {
        return LineOfDrive(drives.last);
    }
    return std::nullopt;
}
