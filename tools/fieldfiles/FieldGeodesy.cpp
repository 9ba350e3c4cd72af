#include "tools/fieldfiles/FieldGeodesy.h"

#include <cmath>

#include <GeographicLib/LocalCartesian.hpp>
#include <GeographicLib/PolygonArea.hpp>

#include "tools/navctl/files/Angle.h"
#include "tools/navctl/wayline/WaylineShape.h"

namespace {

/// Signed, counter-clockwise positive.
GroundArea SignedArea(const std::vector<FieldPlace>& ring)
{
    GeographicLib::PolygonArea polygon(GeographicLib::Geodesic::WGS84());
    for (const FieldPlace& place : ring) {
        polygon.AddPoint(place.latitude, place.longitude);
    }
    GroundArea area;
    polygon.Compute(false, true, area.perimeter, area.squareMetres);
    return area;
}

/// East and north at a place of a local frame, in the frame's axes x and y.
struct GroundAxes
{
    double eastX, eastY, northX, northY;
};

GroundAxes AxesAt(const CLocalFrame& frame, const WaylinePoint& point)
{
    const GeodeticPlace& origin = frame.Origin();
    const GeographicLib::LocalCartesian projection(origin.latitude, origin.longitude,
                                                   origin.height);
    GeodeticPlace place;
    std::vector<double> axes(9); // row by row; its columns are east, north and up
    projection.Reverse(point.x, point.y, point.z, place.latitude, place.longitude, place.height,
                       axes);
    return {axes[0], axes[3], axes[1], axes[4]};
}

/// The heading in a frame of what drives level at a place in it; radians.
double LocalHeading(const CLocalFrame& frame, const WaylinePoint& point, double trueHeading)
{
    const GroundAxes axes = AxesAt(frame, point);
    const double east = std::sin(trueHeading);
    const double north = std::cos(trueHeading);
    return NormalisedHeading(std::atan2(axes.eastX * east + axes.northX * north,
                                        axes.eastY * east + axes.northY * north));
}

/// The other way round, without the microradian by which CLocalFrame::ToTrueHeading() differs 10 km
/// from the origin: the same two equations, solved for east and north.
double TrueHeading(const CLocalFrame& frame, const WaylinePoint& point, double heading)
{
    const GroundAxes axes = AxesAt(frame, point);
    const double x = std::sin(heading);
    const double y = std::cos(heading);
    return NormalisedHeading(
        std::atan2(axes.northY * x - axes.northX * y, axes.eastX * y - axes.eastY * x));
}

bool HasHeights(const FieldLine& line)
{
    for (const FieldPlace& place : line.places) {
        if (!place.height) {
            return false;
        }
    }
    return true;
}

FieldPlace PlaceFrom(const GeodeticPlace& place, bool hasHeight)
{
    return {place.latitude, place.longitude,
            hasHeight ? std::optional(place.height) : std::nullopt};
}

} // namespace

GeodeticPlace PlaceOf(const FieldPlace& place, double otherwiseHeight)
{
    return {place.latitude, place.longitude, place.height.value_or(otherwiseHeight)};
}

FieldPlace CheckedPlace(double latitude, double longitude, const std::optional<double>& height)
{
    FieldPlace place{latitude, longitude, height};
    if (std::abs(longitude) > 180.0 && std::abs(longitude) <= 540.0) {
        place.longitude = std::remainder(longitude, 360.0);
    }
    const std::string problem = ImpossiblePlace(PlaceOf(place, 0.0));
    if (!problem.empty()) {
        throw CFieldFileProblem(problem);
    }
    return place;
}

CLocalFrame FrameAt(const FieldPlace& place)
{
    return CLocalFrame(PlaceOf(place, 0.0));
}

WaylineContent ToWayline(const FieldLine& line, const CLocalFrame& frame)
{
    WaylineContent content;
    content.kind = line.kind;
    content.name = line.name;
    content.points.reserve(line.places.size());
    for (const FieldPlace& place : line.places) {
        content.points.push_back(frame.ToLocal(PlaceOf(place, frame.Origin().height)));
    }
    if (line.kind == Kestrove::EWaylineTypeAHeading) {
        content.heading = LocalHeading(frame, content.points.at(0), Radians(line.headingDegrees));
    }
    return content;
}

FieldLine FromWayline(const WaylineContent& content, const CLocalFrame& frame)
{
    if (content.points.empty()) {
        throw CFieldFileProblem("a " + std::string(KindTitle(content.kind)) +
                                " has no points that a file could hold");
    }
    FieldLine line;
    line.kind = content.kind;
    line.name = content.name;
    line.places.reserve(content.points.size());
    for (const WaylinePoint& point : content.points) {
        line.places.push_back(PlaceFrom(frame.ToGeodetic(point), true));
    }
    if (line.kind == Kestrove::EWaylineTypeAHeading) {
        line.headingDegrees = Degrees(TrueHeading(frame, content.points[0], content.heading));
    }
    return line;
}

GroundCircle CircleOf(const FieldLine& line)
{
    GroundCircle circle;
    circle.centre = line.places.at(0);
    // The first centre is that of the plane that touches the earth at the first place, the second
    // one that of the plane that touches it at the centre.
    for (int pass = 0; pass < 2; ++pass) {
        const CLocalFrame frame = FrameAt(circle.centre);
        const std::optional<CircleSeenFromAbove> seen =
            CircleThrough(ToWayline(line, frame).points);
        if (!seen) {
            throw CFieldFileProblem("the three points of a circle lie on one line");
        }
        circle.radius = seen->radius;
        circle.isClockwise = seen->isClockwise;
        const GeodeticPlace centre = frame.ToGeodetic({seen->x, seen->y, 0.0});
        circle.centre.latitude = centre.latitude;
        circle.centre.longitude = centre.longitude;
    }
    return circle;
}

std::vector<FieldPlace> PlacesOnCircle(const GroundCircle& circle, double firstBearing, double turn)
{
    const CLocalFrame frame = FrameAt(circle.centre);
    std::vector<FieldPlace> places;
    for (const double share : {0.0, 0.5, 1.0}) {
        const double bearing = firstBearing + (circle.isClockwise ? turn : -turn) * share;
        const GeodeticPlace place = frame.ToGeodetic(
            {circle.radius * std::sin(bearing), circle.radius * std::cos(bearing), 0.0});
        places.push_back({place.latitude, place.longitude, circle.centre.height});
    }
    return places;
}

std::vector<FieldPlace> OutlineOf(const FieldLine& line)
{
    const bool isDrawn =
        line.kind == Kestrove::EWaylineTypeAHeading || line.kind == Kestrove::EWaylineTypeCircle;
    if (!isDrawn || line.places.empty()) {
        return line.places;
    }
    const CLocalFrame frame = FrameAt(line.places.front());
    std::vector<FieldPlace> outline;
    for (const WaylinePoint& point : Outline(ToWayline(line, frame))) {
        outline.push_back(PlaceFrom(frame.ToGeodetic(point), HasHeights(line)));
    }
    return outline;
}

GroundArea AreaOf(const FieldBoundary& boundary)
{
    GroundArea area = SignedArea(boundary.exterior);
    area.squareMetres = std::abs(area.squareMetres);
    for (const std::vector<FieldPlace>& hole : boundary.holes) {
        area.squareMetres -= std::abs(SignedArea(hole).squareMetres);
    }
    return area;
}

bool IsCounterClockwise(const std::vector<FieldPlace>& ring)
{
    return SignedArea(ring).squareMetres > 0.0;
}

bool IsWithin(const FieldPlace& place, const std::vector<FieldPlace>& ring)
{
    bool isWithin = false;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const FieldPlace& from = ring[i];
        const FieldPlace& to = ring[(i + 1) % ring.size()];
        // Seen from the place, so that the 180th meridian is one as all others.
        const double fromEast = std::remainder(from.longitude - place.longitude, 360.0);
        const double toEast = std::remainder(to.longitude - place.longitude, 360.0);
        const bool crosses = (from.latitude > place.latitude) != (to.latitude > place.latitude);
        if (crosses && 0.0 < fromEast + (place.latitude - from.latitude) /
                                            (to.latitude - from.latitude) * (toEast - fromEast)) {
            isWithin = !isWithin;
        }
    }
    return isWithin;
}

bool IsSamePlace(const FieldPlace& left, const FieldPlace& right)
{
    constexpr double kTenthOfAMillimetre = 1e-9;
    return std::abs(left.latitude - right.latitude) <= kTenthOfAMillimetre &&
           std::abs(std::remainder(left.longitude - right.longitude, 360.0)) <= kTenthOfAMillimetre;
}
