#ifndef KESTROVE_TOOLS_FIELDFILES_WELLKNOWNBINARY_H
#define KESTROVE_TOOLS_FIELDFILES_WELLKNOWNBINARY_H

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/fieldfiles/MapFeature.h"

/// Reads the geometry of a GeoPackage: its header, then well-known binary (WKB).
///
/// @param blob the geometry.
/// @param feature receives the parts, and whether they are areas; no parts when it is empty or
///        neither of lines nor of areas.
/// @throws CFieldFileProblem when it is broken.
void ReadGeoPackageGeometry(std::string_view blob, MapFeature& feature);

/// The geometry of a feature as a GeoPackage has it, in WGS 84, with heights where all places have
/// one.
std::string GeoPackageGeometry(const MapFeature& feature);

#endif
