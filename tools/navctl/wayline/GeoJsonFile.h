#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_GEOJSONFILE_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_GEOJSONFILE_H

#include <limits>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/navctl/wayline/GeoJsonPositions.h"

/// A file of GeoJSON, taken apart into its features. Thread safety: none.
class CGeoJsonFile
{
public:
    using Json = nlohmann::ordered_json;

    /// @param text the whole file: a FeatureCollection, a Feature, or a geometry, which counts as a
    ///        feature.
    /// @throws BadFeature when it is not a feature, is nested too deeply or has too many values, or
    ///         names another reference system than WGS 84.
    /// @param mostPositions beyond which it is refused, too.
    explicit CGeoJsonFile(const std::string& text,
                          std::size_t mostPositions = std::numeric_limits<std::size_t>::max());

    const std::vector<Json>& Features() const { return m_features; }
    /// Where the positions in the features' coordinates are.
    const CPositions& Places() const { return m_positions; }
    /// The name of the collection; empty without one.
    const std::string& Name() const { return m_name; }

private:
    CPositions m_positions;
    std::vector<Json> m_features;
    std::string m_name;
};

using Positions = std::vector<Position>;

/// A member of an object; null when it is missing, or this is not an object.
const CGeoJsonFile::Json& MemberOf(const CGeoJsonFile::Json& object, const char* name);

/// The text of a string; empty for anything else.
std::string TextIn(const CGeoJsonFile::Json& value);

/// The positions of a line or a ring.
///
/// @param type what it is, for the problem: "LineString".
/// @throws BadFeature when they are not.
Positions PositionsOf(const CGeoJsonFile::Json& coordinates, const std::string& type,
                      const CPositions& taken);

/// The geometry of a feature, or of a geometry that stands alone.
const CGeoJsonFile::Json& GeometryOf(const CGeoJsonFile::Json& feature);

/// Whether a feature is an area and no line.
bool IsArea(const CGeoJsonFile::Json& feature);

#endif
