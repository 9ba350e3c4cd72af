#include "tools/navctl/wayline/WaylineGeoJson.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <nlohmann/json.hpp>

#include "tools/navctl/Names.h"
#include "tools/navctl/files/Angle.h"
#include "tools/navctl/wayline/GeoJsonPositions.h"
#include "tools/navctl/wayline/WaylineShape.h"

namespace {

using Json = nlohmann::ordered_json;

/// The geometry may differ by this much from what the parameters say, metres.
constexpr double kTolerance = 0.01;
constexpr double kAhead = 100.0;

/// Micrometres, as the text form has them; what is left of a detour over the earth is rounded away.
double Rounded(double metres)
{
    return std::round(metres * 1e6) / 1e6 + 0.0;
}

WaylinePoint Rounded(const WaylinePoint& point)
{
    return {Rounded(point.x), Rounded(point.y), Rounded(point.z)};
}

const Json& MemberOf(const Json& object, const char* name)
{
    static const Json none;
    const auto found = object.is_object() ? object.find(name) : object.end();
    return object.is_object() && found != object.end() ? *found : none;
}

std::string TextIn(const Json& value)
{
    return value.is_string() ? value.get<std::string>() : std::string();
}

Position ReadPosition(const Json& value, const CPositions& taken)
{
    const Position position = taken.Of(value);
    const std::string problem = ImpossiblePlace(position.place);
    if (!problem.empty())
        throw BadFeature{problem};
    return position;
}

using Positions = std::vector<Position>;

Positions ReadPositions(const Json& coordinates, const std::string& type, const CPositions& taken)
{
    if (coordinates.is_number_unsigned())
        throw BadFeature{"a position is no array of longitude, latitude and height"};
    if (!coordinates.is_array())
        throw BadFeature{"the " + type + " has no coordinates"};
    Positions positions;
    positions.reserve(coordinates.size());
    for (const Json& coordinate : coordinates)
        positions.push_back(ReadPosition(coordinate, taken));
    return positions;
}

/// The lines of a geometry, of which only a MultiLineString has several; without a geometry, one
/// without points.
std::vector<Positions> ReadGeometry(const Json& geometry, const CPositions& taken)
{
    if (geometry.is_null())
        return {{}};
    const std::string type = TextIn(MemberOf(geometry, "type"));
    const Json& coordinates = MemberOf(geometry, "coordinates");
    if (type == "Point")
        return {{ReadPosition(coordinates, taken)}};
    if (type == "LineString")
        return {ReadPositions(coordinates, type, taken)};
    if (type != "MultiLineString")
        throw BadFeature{"its geometry is no LineString but \"" + type + "\""};
    if (!coordinates.is_array() || coordinates.empty())
        throw BadFeature{"the MultiLineString has no coordinates"};
    std::vector<Positions> lines;
    for (const Json& line : coordinates)
        lines.push_back(ReadPositions(line, type, taken));
    return lines;
}

/// The geometry of a feature, or of a geometry that stands alone.
const Json& GeometryOf(const Json& feature)
{
    return TextIn(MemberOf(feature, "type")) == "Feature" ? MemberOf(feature, "geometry") : feature;
}

bool IsArea(const Json& feature)
{
    const std::string type = TextIn(MemberOf(GeometryOf(feature), "type"));
    return type == "Polygon" || type == "MultiPolygon";
}

std::optional<GeodeticPlace> ReadOrigin(const Json& properties)
{
    const Json& origin = MemberOf(properties, "origin");
    if (origin.is_null())
        return std::nullopt;
    const GeodeticPlace place{NumberIn(MemberOf(origin, "latitude"), "the origin's latitude"),
                              NumberIn(MemberOf(origin, "longitude"), "the origin's longitude"),
                              NumberIn(MemberOf(origin, "height"), "the origin's height")};
    const std::string problem = ImpossiblePlace(place);
    if (!problem.empty())
        throw BadFeature{"its origin: " + problem};
    return place;
}

Kestrove::EWaylineType ReadKind(const Json& properties, Kestrove::EWaylineType otherwise)
{
    const Json& kind = MemberOf(properties, "kind");
    if (kind.is_null())
        return otherwise;
    for (const auto& [name, code] : WaylineKindNames()) {
        if (TextIn(kind) == name && code != Kestrove::EWaylineTypeEmpty)
            return static_cast<Kestrove::EWaylineType>(code);
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
        if (!position.hasHeight)
            position.place.height = frame.Origin().height;
        WaylinePoint point = Rounded(frame.ToLocal(position.place));
        if (!position.hasHeight)
            point.z = 0.0;
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
        if (point.is_null())
            return std::nullopt;
        if (!point.is_array() || point.size() != 3)
            throw BadFeature{"its property " + std::string(name) + " is no array of x, y and z"};
        content.points.emplace_back(NumberIn(point[0], name), NumberIn(point[1], name),
                                    NumberIn(point[2], name));
    }
    if (kind == Kestrove::EWaylineTypeAHeading)
        content.heading = NumberIn(MemberOf(properties, "heading"), "its property heading");
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
    for (WaylinePoint& point : moved.points)
        point = Rounded(move(point));
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
    if (!problem.empty())
        throw BadFeature{problem};
    content.points = std::move(points);
    return content;
}

WaylineContent ReadLine(const Json& feature, const Positions& positions,
                        const WaylineReading& reading, const std::optional<CLocalFrame>& frame)
{
    const Json& properties = MemberOf(feature, "properties");
    const Kestrove::EWaylineType kind = ReadKind(properties, reading.kind);
    if (positions.empty() && PointCountOf(kind) != 0U)
        throw BadFeature{"its geometry has no points for the kind " + std::string(KindTitle(kind))};
    const std::optional<GeodeticPlace> ownOrigin = ReadOrigin(properties);
    WaylineContent content;
    if (!frame && !(positions.empty() && PointCountOf(kind) == 0U))
        throw BadFeature{"the file tells no origin of the local frame: --origin LAT,LON,HEIGHT"};
    const std::optional<WaylineContent> parameters =
        ownOrigin && !PointNames(kind).empty() ? ReadParameters(properties, kind) : std::nullopt;
    if (parameters) {
        const CLocalFrame ownFrame(*ownOrigin);
        CheckGeometry(*parameters, positions, ownFrame);
        content =
            *ownOrigin == frame->Origin() ? *parameters : Moved(*parameters, ownFrame, *frame);
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
        if (lines.size() > 1)
            name += (name.empty() ? "part " : ", part ") + std::to_string(waylines.size());
    }
    return waylines;
}

/// The features of a file; a geometry alone counts as one.
std::vector<Json> FeaturesIn(Json file)
{
    const std::string type = TextIn(MemberOf(file, "type"));
    std::vector<Json> features;
    if (type == "Feature" || type == "LineString" || type == "MultiLineString") {
        features.push_back(std::move(file));
        return features;
    }
    if (MemberOf(file, "type").is_null())
        throw BadFeature{"it is no GeoJSON with features: it has no type"};
    if (type != "FeatureCollection")
        throw BadFeature{"it is no GeoJSON with features: its type is \"" + type + "\""};
    if (!MemberOf(file, "features").is_array())
        throw BadFeature{"the FeatureCollection has no array of features"};
    for (Json& feature : file["features"])
        features.push_back(std::move(feature));
    return features;
}

std::optional<GeodeticPlace> FirstOrigin(const std::vector<Json>& features)
{
    for (const Json& feature : features) {
        try {
            const auto origin = ReadOrigin(MemberOf(feature, "properties"));
            if (origin)
                return origin;
        } catch (const BadFeature&) {
            // Told when the feature itself is read.
            continue;
        }
    }
    return std::nullopt;
}

} // namespace

WaylineList ReadWaylineGeoJson(const std::string& text, const WaylineReading& reading)
{
    WaylineList list;
    std::vector<Json> features;
    CPositions positions;
    const auto take = [&positions](int depth, Json::parse_event_t event, Json& parsed) {
        return positions.Take(depth, event, parsed);
    };
    try {
        features = FeaturesIn(Json::parse(text, take));
    } catch (const Json::parse_error& error) {
        list.problems.push_back("byte " + std::to_string(error.byte) + ": this is no JSON");
        return list;
    } catch (const Json::exception&) {
        list.problems.push_back("there is a number in it that is too large");
        return list;
    } catch (const BadFeature& problem) {
        list.problems.push_back(problem.text);
        return list;
    }
    list.origin = reading.origin ? reading.origin : FirstOrigin(features);
    std::optional<CLocalFrame> frame;
    if (list.origin)
        frame.emplace(*list.origin);
    // Areas are the boundaries of fields, which a file may have beside its lines.
    const bool hasLines =
        std::any_of(features.begin(), features.end(), [](const Json& one) { return !IsArea(one); });
    for (std::size_t i = 0; i < features.size(); ++i) {
        if (hasLines && IsArea(features[i]))
            continue;
        try {
            for (WaylineContent& content : ReadFeature(features[i], reading, frame, positions))
                list.entries.push_back({i + 1, std::move(content)});
        } catch (const BadFeature& problem) {
            list.problems.push_back("feature " + std::to_string(i + 1) + ": " + problem.text);
        }
    }
    return list;
}
