#ifndef KESTROVE_TOOLS_FIELDFILES_ISOXMLWRITER_H
#define KESTROVE_TOOLS_FIELDFILES_ISOXMLWRITER_H

#include <string>

#include "tools/fieldfiles/FieldFile.h"

/// The versions of ISOXML that are written.
enum class EIsoXmlVersion
{
    Three, ///< A-B lines and A-B curves as line strings
    Four,  ///< A-B lines, A-plus-heading lines, A-B curves and circles as guidance patterns
};

/// Writes the main file, TASKDATA.XML, of an ISOXML that the published schema takes: names of 32
/// characters at most, places to nine decimals, heights in millimetres.
///
/// @param file what is written; gets a note for each name that was cut.
/// @throws CFieldFileProblem for a line of a kind that the version has not, by the kind's name.
std::string WriteIsoXml(CFieldFile& file, EIsoXmlVersion version);

#endif
