#ifndef KESTROVE_TOOLS_FIELDFILES_READFIELDFILE_H
#define KESTROVE_TOOLS_FIELDFILES_READFIELDFILE_H

#include <optional>
#include <string>

#include "tools/fieldfiles/FieldFile.h"

/// Reads a file of fields, whatever its name says: a zip of an ISOXML or its main file, a KML, a
/// KMZ, a Shapefile or a zip of some, a GeoPackage, GeoJSON.
///
/// @param path the file; "-" for the standard input. Files beside it that belong to it are read,
///        too.
/// @param bytes what the file holds.
/// @param kind what lines are that have no kind; see CFeatureReading.
/// @throws CFieldFileProblem when it is not one of those, broken, or over a limit.
CFieldFile ReadFieldFile(const std::string& path, std::string bytes,
                         const std::optional<Kestrove::EWaylineType>& kind);
/// Reads the folder of an ISOXML, or the one around that; the same.
CFieldFile ReadFieldFolder(const std::string& path);

#endif
