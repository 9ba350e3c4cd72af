#include "tools/navctl/wayline/GeoJsonFile.h"

#include <algorithm>
#include <array>

#include "tools/fieldfiles/FieldFormat.h"

using Json = CGeoJsonFile::Json;

namespace {

/// Older files name a reference system, newer ones have WGS 84 alone.
void CheckReferenceSystem(const Json& file)
{
    const std::string name =
        TextIn(MemberOf(MemberOf(MemberOf(file, "crs"), "properties"), "name"));
    if (name.empty()) {
        return;
    }
    // The last part names the system: "urn:ogc:def:crs:OGC:1.3:CRS84", "EPSG:4326".
    const std::string system = name.substr(name.find_last_of(":/#") + 1);
    if (system != "CRS84" && system != "CRS84h" && system != "4326" && system != "4979") {
        throw BadFeature{"its reference system is \"" + name.substr(0, 200) +
                         "\"; only WGS 84 in degrees (EPSG:4326) is read"};
    }
}

bool IsGeometry(const std::string& type)
{
    constexpr std::array<const char*, 5> kGeometries{"LineString", "MultiLineString", "Polygon",
                                                     "MultiPolygon", "GeometryCollection"};
    return std::find(kGeometries.begin(), kGeometries.end(), type) != kGeometries.end();
}

std::string OnlySupported()
{
    return "; supported are " + SupportedFieldFormats();
}

/// The features of a file; a geometry alone counts as one.
std::vector<Json> FeaturesIn(Json file)
{
    const std::string type = TextIn(MemberOf(file, "type"));
    std::vector<Json> features;
    if (type == "Feature" || IsGeometry(type)) {
        features.push_back(std::move(file));
        return features;
    }
    if (MemberOf(file, "type").is_null()) {
        throw BadFeature{"it is no GeoJSON with features: it has no type" + OnlySupported()};
    }
    if (type != "FeatureCollection") {
        throw BadFeature{"it is no GeoJSON with features: its type is \"" + type.substr(0, 80) +
                         "\"" + OnlySupported()};
    }
    if (!MemberOf(file, "features").is_array()) {
        throw BadFeature{"the FeatureCollection has no array of features"};
    }
    for (Json& feature : file["features"]) {
        features.push_back(std::move(feature));
    }
    return features;
}

void Parse(const std::string& text, CGeoJsonBuilder& builder)
{
    Json::sax_parse(text, &builder);
    if (!builder.BadByte()) {
        return;
    }
    const std::size_t byte = *builder.BadByte();
    const auto end =
        text.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(byte, text.size()));
    throw BadFeature{"line " + std::to_string(std::count(text.begin(), end, '\n') + 1) + ", byte " +
                     std::to_string(byte) + ": this is no JSON" + OnlySupported()};
}

} // namespace

CGeoJsonFile::CGeoJsonFile(const std::string& text, std::size_t mostPositions)
{
    CGeoJsonBuilder builder(mostPositions);
    Parse(text, builder);
    m_positions = CPositions(builder.TakePositions());
    Json file = builder.TakeRoot();
    CheckReferenceSystem(file);
    m_name = TextIn(MemberOf(file, "name"));
    m_features = FeaturesIn(std::move(file));
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

Positions PositionsOf(const Json& coordinates, const std::string& type, const CPositions& taken)
{
    if (coordinates.is_number_unsigned()) {
        throw BadFeature{"a position is no array of longitude, latitude and height"};
    }
    if (!coordinates.is_array()) {
        throw BadFeature{"the " + type + " has no coordinates"};
    }
    Positions positions;
    positions.reserve(coordinates.size());
    for (const Json& coordinate : coordinates) {
        positions.push_back(taken.Of(coordinate));
    }
    return positions;
}

const Json& GeometryOf(const Json& feature)
{
    return TextIn(MemberOf(feature, "type")) == "Feature" ? MemberOf(feature, "geometry") : feature;
}

bool IsArea(const Json& feature)
{
    const std::string type = TextIn(MemberOf(GeometryOf(feature), "type"));
    return type == "Polygon" || type == "MultiPolygon";
}
