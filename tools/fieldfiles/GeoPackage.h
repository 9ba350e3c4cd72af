#ifndef KESTROVE_TOOLS_FIELDFILES_GEOPACKAGE_H
#define KESTROVE_TOOLS_FIELDFILES_GEOPACKAGE_H

#include <optional>
#include <string>

#include "tools/fieldfiles/FieldFile.h"

/// Reads a GeoPackage from memory: the lines and areas of all its tables of features in WGS 84.
/// Their columns name, kind, heading (degrees) and field are used, where there are such, in any
/// case; a table is a field where there is no column.
///
/// The database runs nothing of its own: neither triggers nor functions, and a query that would
/// never end is ended.
///
/// @param kind what lines are that have no kind; see CFeatureReading.
/// @throws CFieldFileProblem when it is broken or is not one, and for another reference system than
/// WGS
///         84, by its name.
CFieldFile ReadGeoPackage(std::string bytes, const std::optional<Kestrove::EWaylineType>& kind);

/// Writes a GeoPackage with the tables "guidance_lines" and "field_boundaries", as far as there are
/// such.
///
/// @return the database.
std::string WriteGeoPackage(const CFieldFile& file);

#endif
