#ifndef KESTROVE_TOOLS_FIELDFILES_ISOXMLREADER_H
#define KESTROVE_TOOLS_FIELDFILES_ISOXMLREADER_H

#include <functional>
#include <optional>
#include <string>

#include <pugixml.hpp>

#include "tools/fieldfiles/FieldFile.h"

/// Reads an ISOXML (ISO 11783-10) of version 3 or 4. Whatever a task controller's file may have
/// beyond the standard is passed over; a line that cannot be used is left out with a note, and the
/// rest is kept.
///
/// @param main the main file, TASKDATA.XML, or an external file.
/// @param external finds the external files that the main file names.
/// @throws CFieldFileProblem when the main file is broken or is not one.
CFieldFile
ReadIsoXml(const std::string& main,
           const std::function<std::optional<std::string>(const std::string&)>& external);
/// Reads one whose main file is parsed already; the same.
CFieldFile
ReadIsoXml(const pugi::xml_document& main,
           const std::function<std::optional<std::string>(const std::string&)>& external);

#endif
