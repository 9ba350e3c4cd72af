#ifndef KESTROVE_TOOLS_FIELDFILES_FIELDFORMAT_H
#define KESTROVE_TOOLS_FIELDFILES_FIELDFORMAT_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/fieldfiles/FieldFile.h"

/// The formats of files of fields.
enum class EFieldFormat
{
    IsoXml,      ///< ISOXML of version 4; a zip, a folder or its main file; read: of version 3, too
    IsoXmlThree, ///< ISOXML of version 3, to be written
    Kml,
    Kmz, ///< a KML in a zip
    Shapefile,
    GeoPackage,
    GeoJson,
};

/// The words for the formats: "isoxml", "isoxml3", "kml", "kmz", "shapefile", "geopackage",
/// "geojson".
const std::vector<std::pair<std::string, EFieldFormat>>& FieldFormatNames();

/// Those words, one after the other.
std::string FieldFormatWords();

/// The format of a word; nothing for a word of none.
std::optional<EFieldFormat> FieldFormatCalled(const std::string& word);

/// The formats in words, for people.
const std::string& SupportedFieldFormats();

/// Why a file is not one of those that are read: lists what is.
class CUnsupportedFile : public CFieldFileProblem
{
public:
    /// @param reason what it is instead: "it is a database without features".
    explicit CUnsupportedFile(const std::string& reason)
        : CFieldFileProblem(reason + "; supported are " + SupportedFieldFormats())
    {
    }
};

/// The format of what a file begins with; nothing when it is not one of them.
///
/// @param beginning at least the first 512 bytes of the file, or all of it.
std::optional<EFieldFormat> FieldFormatOfContent(const std::string& beginning);

/// The format to write by a file's name: ".kml", ".kmz", ".shp", ".gpkg", ".geojson" and ".json";
/// ISOXML for ".zip", ".xml", a name that ends with a slash, and a folder that there is; nothing
/// for others.
std::optional<EFieldFormat> FieldFormatOfTarget(const std::string& path);

#endif
