#ifndef KESTROVE_TOOLS_FIELDFILES_KML_H
#define KESTROVE_TOOLS_FIELDFILES_KML_H

#include <optional>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "tools/fieldfiles/FieldFile.h"

/// Reads a KML of any version: the LineStrings and Polygons of its placemarks, wherever they stand.
/// A folder is a field, unless a placemark names one. Links to other files are not followed here.
/// Altitudes are above sea level, which is not where heights are counted from, and are not taken.
///
/// @param kind what lines are that have no kind; see CFeatureReading.
/// @param beside receives the paths of linked files that lie beside this one, for a reader that has
///        them; without it they are noted as left out, as links to elsewhere always are.
/// @throws CFieldFileProblem when it is broken or is not KML.
CFieldFile ReadKml(const std::string& bytes, const std::optional<Kestrove::EWaylineType>& kind,
                   std::vector<std::string>* beside = nullptr);
/// Reads one that is parsed already; the same.
CFieldFile ReadKml(pugi::xml_document& document, const std::optional<Kestrove::EWaylineType>& kind,
                   std::vector<std::string>* beside = nullptr);

/// Writes a KML: a folder a field; kind, heading and field of a line as its extended data.
std::string WriteKml(const CFieldFile& file);

#endif
