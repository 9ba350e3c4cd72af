#include <nlohmann/json.hpp>

#include "tools/fieldfiles/GeoJson.h"
#include "tools/fieldfiles/MapFeature.h"

namespace {

using Json = nlohmann::ordered_json;

Json RingJson(const std::vector<FieldPlace>& places, bool hasHeights)
{
    Json ring = Json::array();
    for (const FieldPlace& place : places) {
        Json position = Json::array({place.longitude, place.latitude});
        if (hasHeights) {
            position.push_back(*place.height);
        }
        ring.push_back(std::move(position));
    }
    return ring;
}

Json GeometryJson(const MapFeature& feature)
{
    const bool hasHeights = HasHeights(feature);
    if (!feature.isArea) {
        return {{"type", "LineString"},
                {"coordinates", RingJson(feature.parts.front().front(), hasHeights)}};
    }
    Json rings = Json::array();
    for (const std::vector<FieldPlace>& ring : feature.parts.front()) {
        rings.push_back(RingJson(ring, hasHeights));
    }
    return {{"type", "Polygon"}, {"coordinates", std::move(rings)}};
}

std::string FeatureText(const MapFeature& feature)
{
    Json properties = Json::object();
    if (!feature.kind.empty()) {
        properties["kind"] = feature.kind;
    }
    if (!feature.name.empty()) {
        properties["name"] = feature.name;
    }
    properties["field"] = feature.field;
    if (feature.headingDegrees) {
        properties["heading"] = *feature.headingDegrees;
    }
    const Json value{
        {"type", "Feature"}, {"properties", properties}, {"geometry", GeometryJson(feature)}};
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace

std::string WriteGeoJson(const CFieldFile& file, bool isOneLine)
{
    const std::string end = isOneLine ? "" : "\n";
    std::string text = R"({"type":"FeatureCollection","features":[)";
    const char* separator = "";
    for (const auto& features : {AreaFeatures(file), LineFeatures(file)}) {
        for (const MapFeature& feature : features) {
            text += separator + end + FeatureText(feature);
            separator = ",";
        }
    }
    return text + end + "]}\n";
}
