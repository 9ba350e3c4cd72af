#ifndef KESTROVE_TOOLS_FIELDFILES_SHAPEFILE_H
#define KESTROVE_TOOLS_FIELDFILES_SHAPEFILE_H

#include <optional>
#include <string>

#include "tools/fieldfiles/FieldFile.h"
#include "tools/fieldfiles/FileBytes.h"

/// Reads a Shapefile of lines or areas. Its columns NAME, KIND, HEADING (degrees) and FIELD are
/// used, where it has them, in any case.
///
/// @param files its files, by name; the .shp and the .shx there must be.
/// @param name their name without the ending, which is the field's name where there is no column.
/// @param kind what lines are that have no kind; see CFeatureReading.
/// @throws CFieldFileProblem when parts are missing, broken or disagree, and for another reference
///         system than WGS 84.
CFieldFile ReadShapefile(FileSet files, const std::string& name,
                         const std::optional<Kestrove::EWaylineType>& kind);

/// What a Shapefile holds; it can hold but one of them.
enum class EShapes
{
    Lines,
    Areas,
};

/// Writes a Shapefile.
///
/// @return its files by their endings: "shp", "shx", "dbf", "prj", "cpg".
FileSet WriteShapefile(const CFieldFile& file, EShapes shapes);

#endif
