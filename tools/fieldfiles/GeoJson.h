#ifndef KESTROVE_TOOLS_FIELDFILES_GEOJSON_H
#define KESTROVE_TOOLS_FIELDFILES_GEOJSON_H

#include <optional>
#include <string>

#include "tools/fieldfiles/FieldFile.h"

/// Reads GeoJSON (RFC 7946): lines and multiple lines as lines, polygons as boundaries. Waylines
/// that navctl has written with their parameters come back from those.
///
/// @param kind what lines are that have no kind.
/// @throws CFieldFileProblem when it is not GeoJSON, or names another reference system than WGS 84.
CFieldFile ReadGeoJson(const std::string& bytes, const std::optional<Kestrove::EWaylineType>& kind);

/// Writes GeoJSON: a FeatureCollection of the boundaries and the lines.
///
/// @param isOneLine whether it stands on one line; otherwise each feature has a line of its own.
std::string WriteGeoJson(const CFieldFile& file, bool isOneLine = false);

#endif
