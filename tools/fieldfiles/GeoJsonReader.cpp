#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/FileBytes.h"
#include "tools/fieldfiles/FileLimits.h"
#include "tools/fieldfiles/GeoJson.h"
#include "tools/fieldfiles/MapFeature.h"
#include "tools/navctl/Names.h"
#include "tools/navctl/wayline/WaylineGeoJson.h"

namespace {

using Json = CGeoJsonFile::Json;

/// The text of a property by its name in any case, as programs change that.
std::string PropertyOf(const Json& feature, const std::string& name)
{
    const Json& properties = MemberOf(feature, "properties");
    if (!properties.is_object()) {
        return {};
    }
    for (const auto& [key, value] : properties.items()) {
        if (LowerCase(key) != name) {
            continue;
        }
        if (value.is_string()) {
            return value.get<std::string>().substr(0, FileLimits::kNameBytes);
        }
        if (value.is_number()) { // a number of a field is its name
            return value.dump();
        }
    }
    return {};
}

std::vector<FieldPlace> PlacesOf(const Positions& positions)
{
    std::vector<FieldPlace> places;
    places.reserve(positions.size());
    for (const Position& position : positions) {
        places.push_back(
            CheckedPlace(position.place.latitude, position.place.longitude,
                         position.hasHeight ? std::optional(position.place.height) : std::nullopt));
    }
    return places;
}

/// Reads the features of a file, one after the other.
class CGeoJsonReading
{
public:
    CGeoJsonReading(const CGeoJsonFile& file, const std::optional<Kestrove::EWaylineType>& kind)
        : m_file(file), m_features(kind)
    {
    }

    CFieldFile Read()
    {
        const std::string layer = m_file.Name().empty() ? "Field" : m_file.Name();
        std::size_t number = 0;
        for (const Json& feature : m_file.Features()) {
            ReadFeature(feature, layer, "feature " + std::to_string(++number));
        }
        return std::move(m_features.file);
    }

private:
    struct Geometries
    {
        MapFeature line;
        MapFeature area;
        std::string others; ///< the type of a geometry that is neither
    };

    void ReadFeature(const Json& feature, const std::string& layer, const std::string& place)
    {
        const std::string name = PropertyOf(feature, "name");
        const std::string field = PropertyOf(feature, "field");
        Geometries found;
        found.area.isArea = true;
        try {
            ReadGeometry(GeometryOf(feature), found);
            found.line.kind = PropertyOf(feature, "kind");
            found.line.headingDegrees = HeadingOf(feature);
            if (GeometryOf(feature).is_null() && !found.line.kind.empty()) {
                throw BadFeature{"it has no points"};
            }
            TakeParameters(feature, found.line);
        } catch (const BadFeature& problem) {
            return Refuse(field.empty() ? layer : field, name.empty() ? place : name, problem.text);
        } catch (const CFieldFileTooLarge&) {
            throw;
        } catch (const CFieldFileProblem& problem) {
            return Refuse(field.empty() ? layer : field, name.empty() ? place : name,
                          problem.what());
        }
        if (!found.others.empty()) {
            m_features.file.Note(place + ": a " + found.others + " is left out");
        }
        const bool isNone = found.line.parts.empty() && found.area.parts.empty();
        if (isNone && !found.others.empty() && !found.line.kind.empty()) {
            return Refuse(field.empty() ? layer : field, name.empty() ? place : name,
                          "a " + found.others + " makes no line");
        }
        for (MapFeature* one : {&found.line, &found.area}) {
            one->name = name;
            one->field = field;
            if (!one->parts.empty()) {
                m_features.Add(std::move(*one), layer);
            }
        }
    }

    void Refuse(const std::string& field, const std::string& name, const std::string& reason)
    {
        m_features.file.FieldOf(field);
        m_features.file.Refuse(field, name, reason);
    }

    void ReadGeometry(const Json& geometry, Geometries& found) const
    {
        const std::string type = TextIn(MemberOf(geometry, "type"));
        const Json& coordinates = MemberOf(geometry, "coordinates");
        if (type == "LineString") {
            AddPart(found.line, Places(coordinates, type));
        } else if (type == "MultiLineString") {
            for (const Json& line : Parts(coordinates, type)) {
                AddPart(found.line, Places(line, type));
            }
        } else if (type == "Polygon") {
            found.area.parts.push_back(Rings(coordinates, type));
        } else if (type == "MultiPolygon") {
            for (const Json& area : Parts(coordinates, type)) {
                found.area.parts.push_back(Rings(area, type));
            }
        } else if (type == "GeometryCollection") {
            for (const Json& one : Parts(MemberOf(geometry, "geometries"), type)) {
                ReadGeometry(one, found);
            }
        } else {
            found.others = geometry.is_null() ? "feature without a geometry" : type.substr(0, 40);
        }
    }

    static void AddPart(MapFeature& line, std::vector<FieldPlace> places)
    {
        line.parts.emplace_back();
        line.parts.back().push_back(std::move(places));
    }

    static const Json& Parts(const Json& value, const std::string& type)
    {
        if (!value.is_array()) {
            throw BadFeature{"the " + type + " has no coordinates"};
        }
        return value;
    }

    std::vector<FieldPlace> Places(const Json& coordinates, const std::string& type) const
    {
        return PlacesOf(PositionsOf(coordinates, type, m_file.Places()));
    }

    std::vector<std::vector<FieldPlace>> Rings(const Json& coordinates,
                                               const std::string& type) const
    {
        std::vector<std::vector<FieldPlace>> rings;
        for (const Json& ring : Parts(coordinates, type)) {
            rings.push_back(Places(ring, type));
        }
        return rings;
    }

    /// The heading that stands beside a line; nothing beside one of a local frame, which has its
    /// heading in that frame.
    static std::optional<double> HeadingOf(const Json& feature)
    {
        const Json& properties = MemberOf(feature, "properties");
        if (!properties.is_object() || MemberOf(properties, "origin").is_object()) {
            return std::nullopt;
        }
        for (const auto& [key, value] : properties.items()) {
            if (LowerCase(key) == "heading" && value.is_number()) {
                return NumberIn(value, "the heading");
            }
        }
        return std::nullopt;
    }

    /// Takes a line from the parameters that it stands with: they are more exact than its outline.
    void TakeParameters(const Json& feature, MapFeature& line) const
    {
        const Json& geometry = GeometryOf(feature);
        if (TextIn(MemberOf(geometry, "type")) != "LineString") {
            return;
        }
        const std::optional<OwnWayline> own = ReadOwnWayline(
            feature, PositionsOf(MemberOf(geometry, "coordinates"), "LineString", m_file.Places()));
        if (!own) {
            return;
        }
        FieldLine exact = FromWayline(own->content, CLocalFrame(own->origin));
        line.parts = {{std::move(exact.places)}};
        if (exact.kind == Kestrove::EWaylineTypeAHeading) {
            line.headingDegrees = exact.headingDegrees;
        }
    }

    const CGeoJsonFile& m_file;
    CFeatureReading m_features;
};

} // namespace

CFieldFile ReadGeoJson(const std::string& bytes, const std::optional<Kestrove::EWaylineType>& kind)
{
    try {
        const CGeoJsonFile file(bytes, FileLimits::kPlaces);
        return CGeoJsonReading(file, kind).Read();
    } catch (const BadFeature& problem) {
        throw CFieldFileProblem(problem.text);
    }
}
