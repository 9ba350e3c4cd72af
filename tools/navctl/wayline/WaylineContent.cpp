#include "tools/navctl/wayline/WaylineContent.h"

#include <algorithm>

using Kestrove::CABCurveWayline;
using Kestrove::CABWayline;
using Kestrove::CAHeadingWayline;
using Kestrove::CCircleWayline;
using Kestrove::CSplineWayline;
using Kestrove::CWayline;
using Kestrove::WaylinePtr;

bool operator==(const WaylineContent& left, const WaylineContent& right)
{
    const auto samePoint = [](const WaylinePoint& a, const WaylinePoint& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z;
    };
    return left.kind == right.kind && left.heading == right.heading &&
           std::equal(left.points.begin(), left.points.end(), right.points.begin(),
                      right.points.end(), samePoint);
}

const char* KindTitle(Kestrove::EWaylineType kind)
{
    switch (kind) {
    case Kestrove::EWaylineTypeEmpty:
        return "empty wayline";
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
    }
    return "wayline of an unknown kind";
}

std::vector<const char*> PointNames(Kestrove::EWaylineType kind)
{
    switch (kind) {
    case Kestrove::EWaylineTypeAB:
        return {"pointA", "pointB"};
    case Kestrove::EWaylineTypeAHeading:
        return {"pointA"};
    case Kestrove::EWaylineTypeCircle:
        return {"firstPoint", "secondPoint", "thirdPoint"};
    default:
        return {};
    }
}

std::optional<std::size_t> PointCountOf(Kestrove::EWaylineType kind)
{
    switch (kind) {
    case Kestrove::EWaylineTypeAB:
        return 2;
    case Kestrove::EWaylineTypeAHeading:
        return 1;
    case Kestrove::EWaylineTypeCircle:
        return 3;
    case Kestrove::EWaylineTypeSpline:
    case Kestrove::EWaylineTypeABCurve:
        return std::nullopt;
    default:
        return 0;
    }
}

WaylineContent ContentOf(const CWayline& wayline)
{
    WaylineContent content;
    content.kind = wayline.Type();
    if (const auto* line = dynamic_cast<const CABWayline*>(&wayline)) {
        content.points = {{line->pointAX, line->pointAY, line->pointAZ},
                          {line->pointBX, line->pointBY, line->pointBZ}};
    } else if (const auto* heading = dynamic_cast<const CAHeadingWayline*>(&wayline)) {
        content.points = {{heading->pointAX, heading->pointAY, heading->pointAZ}};
        content.heading = heading->heading;
    } else if (const auto* circle = dynamic_cast<const CCircleWayline*>(&wayline)) {
        content.points = {{circle->firstPointX, circle->firstPointY, circle->firstPointZ},
                          {circle->secondPointX, circle->secondPointY, circle->secondPointZ},
                          {circle->thirdPointX, circle->thirdPointY, circle->thirdPointZ}};
    } else if (const auto* spline = dynamic_cast<const CSplineWayline*>(&wayline)) {
        content.points = spline->points;
    } else if (const auto* curve = dynamic_cast<const CABCurveWayline*>(&wayline)) {
        content.points = curve->points;
    }
    return content;
}

WaylinePtr MakeWayline(const WaylineContent& content)
{
    const std::vector<WaylinePoint>& points = content.points;
    switch (content.kind) {
    case Kestrove::EWaylineTypeAB:
        return WaylinePtr(new CABWayline(points.at(0), points.at(1)));
    case Kestrove::EWaylineTypeAHeading:
        return WaylinePtr(new CAHeadingWayline(points.at(0), content.heading));
    case Kestrove::EWaylineTypeCircle:
        return WaylinePtr(new CCircleWayline(points.at(0), points.at(1), points.at(2)));
    case Kestrove::EWaylineTypeSpline:
        return WaylinePtr(new CSplineWayline(points));
    case Kestrove::EWaylineTypeABCurve:
        return WaylinePtr(new CABCurveWayline(points));
    case Kestrove::EWaylineTypePath:
        return WaylinePtr(new Kestrove::CPathWayline());
    case Kestrove::EWaylineTypeReplay:
        return WaylinePtr(new Kestrove::CReplayWayline());
    default:
        return WaylinePtr(new Kestrove::CEmptyWayline());
    }
}
