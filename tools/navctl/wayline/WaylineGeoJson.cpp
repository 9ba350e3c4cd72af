#include "tools/navctl/wayline/WaylineGeoJson.h"

#include <algorithm>
#include <cmath>

#include "tools/fieldfiles/DateLine.h"
#include "tools/navctl/Names.h"
#include "tools/navctl/files/Angle.h"
#include "tools/navctl/wayline/GeoJsonFile.h"
#include "tools/navctl/wayline/WaylineShape.h"

using Json = CGeoJsonFile::Json;

namespace {

/// The geometry may differ by this much from what the parameters say, metres.
constexpr double kTolerance = 0.01;
constexpr double kAhead = 100.0;

/// A feature that needs an origin of the local frame, which the file does not give.
struct NoOrigin : BadFeature
{
};

/// Micrometres, as the text form has them; what is left of a detour over the earth is rounded away.
double Rounded(double metres)
{
    return std::round(metres * 1e6) / 1e6 + 0.0;
}

WaylinePoint Rounded(const WaylinePoint& point)
{
    return {Rounded(point.x), Rounded(point.y), Rounded(point.z)};
}

const Position& Checked(const Position& position)
{
    const std::string problem = ImpossiblePlace(position.place);
    if (!problem.empty()) {
        throw BadFeature{problem};
    }
    return position;
}

Positions LinePositions(const Json& coordinates, const std::string& type, const CPositions& taken)
{
    Positions positions = PositionsOf(coordinates, type, taken);
    for (const Position& position : positions) {
        Checked(position);
    }
    return positions;
}

/// The lines of a geometry, of which only a MultiLineString has several; without a geometry, one
/// without points.
std::vector<Positions> ReadGeometry(const Json& geometry, const CPositions& taken)
{
    if (geometry.is_null()) {
        return {{}};
    }
    const std::string type = TextIn(MemberOf(geometry, "type"));
    const Json& coordinates = MemberOf(geometry, "coordinates");
    if (type == "Point") {
        return {{Checked(taken.Of(coordinates))}};
    }
    if (type == "LineString") {
        return {LinePositions(coordinates, type, taken)};
    }
    if (type != "MultiLineString") {
        throw BadFeature{"its geometry is no LineString but \"" + type + "\""};
    }
    if (!coordinates.is_array() || coordinates.empty()) {
        throw BadFeature{"the MultiLineString has no coordinates"};
    }
    std::vector<std::vector<std::vector<FieldPlace>>> parts;
    for (const Json& line : coordinates) {
        parts.emplace_back(1);
        for (const auto& [place, hasHeight] : LinePositions(line, type, taken)) {
            parts.back().front().push_back(
                {place.latitude, place.longitude,
                 hasHeight ? std::optional(place.height) : std::nullopt});
        }
    }
    std::vector<Positions> lines;
    for (const std::vector<FieldPlace>& line : Joined(std::move(parts))) {
        lines.emplace_back();
        for (const FieldPlace& place : line) {
            lines.back().push_back({{place.latitude, place.longitude, place.height.value_or(0.0)},
                                    place.height.has_value()});
        }
    }
    return lines;
}

std::optional<GeodeticPlace> ReadOrigin(const Json& properties)
{
    const Json& origin = MemberOf(properties, "origin");
    if (!origin.is_object()) {
        return std::nullopt; // nobody's, or a word of another program
    }
    const GeodeticPlace place{NumberIn(MemberOf(origin, "latitude"), "the origin's latitude"),
                              NumberIn(MemberOf(origin, "longitude"), "the origin's longitude"),
                              NumberIn(MemberOf(origin, "height"), "the origin's height")};
    const std::string problem = ImpossiblePlace(place);
    if (!problem.empty()) {
        throw BadFeature{"its origin: " + problem};
    }
    return place;
}

Kestrove::EWaylineType ReadKind(const Json& properties, Kestrove::EWaylineType otherwise)
{
    const Json& kind = MemberOf(properties, "kind");
    if (kind.is_null()) {
        return otherwise;
    }
    for (const auto& [name, code] : WaylineKindNames()) {
        if (TextIn(kind) == name && code != Kestrove::EWaylineTypeEmpty) {
            return static_cast<Kestrove::EWaylineType>(code);
        }
    }
    throw BadFeature{"its property kind, " +
                     kind.dump(-1, ' ', false, Json::error_handler_t::replace) +
                     ", is no kind of wayline"};
}

std::vector<WaylinePoint> LocalPoints(const std::vector<Position>& positions,
                                      const CLocalFrame& frame)
{
    std::vector<WaylinePoint> points;
    points.reserve(positions.size());
    for (Position position : positions) {
        if (!position.hasHeight) {
            position.place.height = frame.Origin().height;
        }
        WaylinePoint point = Rounded(frame.ToLocal(position.place));
        if (!position.hasHeight) {
            point.z = 0.0;
        }
        points.push_back(point);
    }
    return points;
}

/// The parameters that the properties have in full; nothing when there are none.
std::optional<WaylineContent> ReadParameters(const Json& properties, Kestrove::EWaylineType kind)
{
    WaylineContent content;
    content.kind = kind;
    for (const char* name : PointNames(kind)) {
        const Json& point = MemberOf(properties, name);
        if (point.is_null()) {
            return std::nullopt;
        }
        if (!point.is_array() || point.size() != 3) {
            throw BadFeature{"its property " + std::string(name) + " is no array of x, y and z"};
        }
        content.points.emplace_back(NumberIn(point[0], name), NumberIn(point[1], name),
                                    NumberIn(point[2], name));
    }
    if (kind == Kestrove::EWaylineTypeAHeading) {
        content.heading = NumberIn(MemberOf(properties, "heading"), "its property heading");
    }
    return content;
}

/// Somebody may have moved the line on a map; then its parameters say something else.
void CheckGeometry(const WaylineContent& content, const std::vector<Position>& positions,
                   const CLocalFrame& frame)
{
    const std::vector<WaylinePoint> expected = Outline(content);
    bool agrees = expected.size() == positions.size();
    for (std::size_t i = 0; agrees && i < expected.size(); ++i) {
        const WaylinePoint point = frame.ToLocal(positions[i].place);
        agrees = std::hypot(point.x - expected[i].x, point.y - expected[i].y,
                            positions[i].hasHeight ? point.z - expected[i].z : 0.0) <= kTolerance;
    }
    if (!agrees) {
        throw BadFeature{"its geometry is not where its parameters say; without the property " +
                         std::string(PointNames(content.kind).front()) +
                         " the geometry would be used"};
    }
}

/// The same wayline in another frame.
WaylineContent Moved(const WaylineContent& content, const CLocalFrame& from, const CLocalFrame& to)
{
    const auto move = [&](const WaylinePoint& point) { return to.ToLocal(from.ToGeodetic(point)); };
    WaylineContent moved = content;
    for (WaylinePoint& point : moved.points) {
        point = Rounded(move(point));
    }
    if (content.kind == Kestrove::EWaylineTypeAHeading) {
        const WaylinePoint& a = content.points[0];
        const WaylinePoint start = move(a);
        const WaylinePoint ahead = move({a.x + kAhead * std::sin(content.heading),
                                         a.y + kAhead * std::cos(content.heading), a.z});
        moved.heading = NormalisedHeading(std::atan2(ahead.x - start.x, ahead.y - start.y));
    }
    return moved;
}

WaylineContent FromGeometry(Kestrove::EWaylineType kind, std::vector<WaylinePoint> points)
{
    WaylineContent content;
    content.kind = kind;
    if (kind == Kestrove::EWaylineTypeAHeading && points.size() == 2) {
        content.heading =
            NormalisedHeading(std::atan2(points[1].x - points[0].x, points[1].y - points[0].y));
        points.pop_back();
    }
    const std::string problem = PointCountProblem(kind, points.size());
    if (!problem.empty()) {
        throw BadFeature{problem};
    }
    content.points = std::move(points);
    return content;
}

std::optional<OwnWayline> OwnWaylineOf(const Json& properties, const Positions& positions,
                                       Kestrove::EWaylineType kind)
{
    const std::optional<GeodeticPlace> origin = ReadOrigin(properties);
    const std::optional<WaylineContent> content =
        origin && !PointNames(kind).empty() ? ReadParameters(properties, kind) : std::nullopt;
    if (!content) {
        return std::nullopt;
    }
    CheckGeometry(*content, positions, CLocalFrame(*origin));
    return OwnWayline{*content, *origin};
}

WaylineContent ReadLine(const Json& feature, const Positions& positions,
                        const WaylineReading& reading, const std::optional<CLocalFrame>& frame)
{
    const Json& properties = MemberOf(feature, "properties");
    const Kestrove::EWaylineType kind = ReadKind(properties, reading.kind);
    if (positions.empty() && PointCountOf(kind) != 0U) {
        throw BadFeature{"its geometry has no points for the kind " + std::string(KindTitle(kind))};
    }
    const std::optional<OwnWayline> own = OwnWaylineOf(properties, positions, kind);
    WaylineContent content;
    if (!frame && !(positions.empty() && PointCountOf(kind) == 0U)) {
        throw NoOrigin{{"the file tells no origin of the local frame: --origin LAT,LON,HEIGHT"}};
    }
    if (own) {
        content = own->origin == frame->Origin()
                      ? own->content
                      : Moved(own->content, CLocalFrame(own->origin), *frame);
    } else {
        content = FromGeometry(kind, frame ? LocalPoints(positions, *frame)
                                           : std::vector<WaylinePoint>());
    }
    content.name = TextIn(MemberOf(properties, "name"));
    return content;
}

/// The waylines of a feature: of a MultiLineString one a part.
std::vector<WaylineContent> ReadFeature(const Json& feature, const WaylineReading& reading,
                                        const std::optional<CLocalFrame>& frame,
                                        const CPositions& taken)
{
    std::vector<WaylineContent> waylines;
    const std::vector<Positions> lines = ReadGeometry(GeometryOf(feature), taken);
    for (const Positions& positions : lines) {
        waylines.push_back(ReadLine(feature, positions, reading, frame));
        std::string& name = waylines.back().name;
        if (lines.size() > 1) {
            name += (name.empty() ? "part " : ", part ") + std::to_string(waylines.size());
        }
    }
    return waylines;
}

std::optional<GeodeticPlace> FirstOrigin(const std::vector<Json>& features)
{
    for (const Json& feature : features) {
        try {
            const auto origin = ReadOrigin(MemberOf(feature, "properties"));
            if (origin) {
                return origin;
            }
        } catch (const BadFeature&) {
            // Reported when the feature itself is read.
            continue;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<OwnWayline> ReadOwnWayline(const Json& feature, const Positions& positions)
{
    const Json& properties = MemberOf(feature, "properties");
    const Json& kind = MemberOf(properties, "kind");
    if (kind.is_null() || !MemberOf(properties, "origin").is_object()) {
        return std::nullopt;
    }
    return OwnWaylineOf(properties, positions, ReadKind(properties, Kestrove::EWaylineTypeABCurve));
}

bool NamesOrigin(const std::string& text)
{
    try {
        return FirstOrigin(CGeoJsonFile(text).Features()).has_value();
    } catch (const BadFeature&) {
        return true;
    }
}

WaylineList ReadWaylineGeoJson(const std::string& text, const WaylineReading& reading)
{
    WaylineList list;
    std::optional<CGeoJsonFile> file;
    try {
        file.emplace(text);
    } catch (const BadFeature& problem) {
        list.problems.push_back(problem.text);
        return list;
    }
    const std::vector<Json>& features = file->Features();
    list.origin = reading.origin ? reading.origin : FirstOrigin(features);
    std::optional<CLocalFrame> frame;
    if (list.origin) {
        frame.emplace(*list.origin);
    }
    // Areas are the boundaries of fields, which a file may have beside its lines.
    const bool hasLines =
        std::any_of(features.begin(), features.end(), [](const Json& one) { return !IsArea(one); });
    for (std::size_t i = 0; i < features.size(); ++i) {
        if (hasLines && IsArea(features[i])) {
            ++list.boundaries;
            continue;
        }
        try {
            for (WaylineContent& content :
                 ReadFeature(features[i], reading, frame, file->Places())) {
                list.entries.push_back({list.entries.size() + 1, std::move(content), ""});
            }
        } catch (const NoOrigin& problem) {
            list.lacksOrigin = true;
            list.problems.push_back("feature " + std::to_string(i + 1) + ": " + problem.text);
        } catch (const BadFeature& problem) {
            list.problems.push_back("feature " + std::to_string(i + 1) + ": " + problem.text);
        }
    }
    return list;
}
