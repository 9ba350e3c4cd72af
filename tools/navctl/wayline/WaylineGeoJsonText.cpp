#include <nlohmann/json.hpp>

#include "tools/navctl/Names.h"
#include "tools/navctl/files/LocalFrame.h"
#include "tools/navctl/wayline/WaylineGeoJson.h"
#include "tools/navctl/wayline/WaylineShape.h"

using Json = nlohmann::ordered_json;

namespace {

/// How a file is laid out: what stands between the values on its levels.
struct CLayout
{
    const char* feature;  ///< in front of a feature
    const char* position; ///< in front of a position
    const char* end;      ///< behind the last feature
};
constexpr CLayout kLines{"\n", "\n ", "\n"};
constexpr CLayout kOneLine{"", "", ""};

std::string PositionText(const WaylinePoint& point, const CLocalFrame& frame)
{
    const GeodeticPlace place = frame.ToGeodetic(point);
    return Json::array({place.longitude, place.latitude, place.height}).dump();
}

/// Writes the geometry piece by piece: a line of a million points is far longer in JSON than what
/// it is written from.
void WriteGeometry(const WaylineContent& content, const CLocalFrame& frame, const CLayout& layout,
                   const TextSink& sink)
{
    // The points themselves, from which the service makes the curve.
    const bool hasAnyPoints = !PointCountOf(content.kind);
    const std::vector<WaylinePoint> outline =
        hasAnyPoints ? std::vector<WaylinePoint>() : Outline(content);
    const std::vector<WaylinePoint>& points = hasAnyPoints ? content.points : outline;
    if (points.empty())
        return sink("null");
    if (points.size() == 1) {
        return sink(R"({"type":"Point","coordinates":)" + PositionText(points.front(), frame) +
                    "}");
    }
    sink(R"({"type":"LineString","coordinates":[)");
    const char* separator = "";
    for (const WaylinePoint& point : points) {
        sink(std::string(separator) + layout.position + PositionText(point, frame));
        separator = ",";
    }
    sink("]}");
}

Json PropertiesJson(const WaylineContent& content, const GeodeticPlace& origin)
{
    Json properties{{"kind", KindName(content.kind)}};
    if (!content.name.empty())
        properties["name"] = content.name;
    properties["origin"] = {
        {"latitude", origin.latitude}, {"longitude", origin.longitude}, {"height", origin.height}};
    const std::vector<const char*> names = PointNames(content.kind);
    for (std::size_t i = 0; i < names.size(); ++i) {
        const WaylinePoint& point = content.points.at(i);
        properties[names[i]] = Json::array({point.x, point.y, point.z});
    }
    if (content.kind == Kestrove::EWaylineTypeAHeading)
        properties["heading"] = content.heading;
    return properties;
}

} // namespace

void WriteWaylineGeoJson(const WaylineList& list, const GeodeticPlace& origin, bool isOneLine,
                         const TextSink& sink)
{
    const CLocalFrame frame(origin);
    const CLayout& layout = isOneLine ? kOneLine : kLines;
    sink(R"({"type":"FeatureCollection","features":[)");
    const char* separator = "";
    for (const WaylineList::Entry& entry : list.entries) {
        const std::string properties = PropertiesJson(entry.content, origin)
                                           .dump(-1, ' ', false, Json::error_handler_t::replace);
        sink(std::string(separator) + layout.feature + R"({"type":"Feature","properties":)" +
             properties + R"(,"geometry":)");
        WriteGeometry(entry.content, frame, layout, sink);
        sink("}");
        separator = ",";
    }
    sink(std::string(layout.end) + "]}\n");
}
