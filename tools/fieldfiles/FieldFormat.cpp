#include "tools/fieldfiles/FieldFormat.h"

#include <filesystem>

#include "tools/fieldfiles/FileBytes.h"

namespace {

bool BeginsWith(const std::string& text, const std::string& beginning, std::size_t place = 0)
{
    return text.compare(place, beginning.size(), beginning) == 0;
}

} // namespace

const std::vector<std::pair<std::string, EFieldFormat>>& FieldFormatNames()
{
    static const std::vector<std::pair<std::string, EFieldFormat>> kNames{
        {"isoxml", EFieldFormat::IsoXml},
        {"isoxml3", EFieldFormat::IsoXmlThree},
        {"kml", EFieldFormat::Kml},
        {"kmz", EFieldFormat::Kmz},
        {"shapefile", EFieldFormat::Shapefile},
        {"geopackage", EFieldFormat::GeoPackage},
        {"geojson", EFieldFormat::GeoJson}};
    return kNames;
}

std::string FieldFormatWords()
{
    std::string words;
    for (const auto& [name, format] : FieldFormatNames()) {
        words += (words.empty() ? "" : ", ") + name;
    }
    return words;
}

std::optional<EFieldFormat> FieldFormatCalled(const std::string& word)
{
    for (const auto& [name, format] : FieldFormatNames()) {
        if (name == word) {
            return format;
        }
    }
    return std::nullopt;
}

const std::string& SupportedFieldFormats()
{
    static const std::string kWords = "ISOXML (a folder, TASKDATA.XML or a zip), Shapefile, "
                                      "GeoPackage, KML, KMZ, GeoJSON, CSV and the text form";
    return kWords;
}

std::optional<EFieldFormat> FieldFormatOfContent(const std::string& beginning)
{
    constexpr const char* kZip = "PK\x03\x04";
    constexpr const char* kEmptyZip = "PK\x05\x06";
    if (BeginsWith(beginning, kZip) || BeginsWith(beginning, kEmptyZip)) {
        return EFieldFormat::Kmz; // or another one that stands in a zip
    }
    if (BeginsWith(beginning, std::string("SQLite format 3\0", 16))) {
        return EFieldFormat::GeoPackage;
    }
    if (BeginsWith(beginning, std::string("\0\0\x27\x0A", 4))) {
        return EFieldFormat::Shapefile;
    }
    // UTF-16, in which XML may be, begins with its byte order mark.
    if (BeginsWith(beginning, "\xFF\xFE") || BeginsWith(beginning, "\xFE\xFF")) {
        return EFieldFormat::Kml;
    }
    const std::size_t mark = BeginsWith(beginning, "\xEF\xBB\xBF") ? 3 : 0;
    const std::size_t first = beginning.find_first_not_of(" \t\r\n", mark);
    if (first != std::string::npos && beginning[first] == '<') {
        return EFieldFormat::Kml; // or another one in XML
    }
    if (first != std::string::npos && beginning[first] == '{') {
        return EFieldFormat::GeoJson;
    }
    return std::nullopt;
}

std::optional<EFieldFormat> FieldFormatOfTarget(const std::string& path)
{
    const std::string ending = SuffixOf(path);
    if (ending == "kml") {
        return EFieldFormat::Kml;
    }
    if (ending == "kmz") {
        return EFieldFormat::Kmz;
    }
    if (ending == "shp") {
        return EFieldFormat::Shapefile;
    }
    if (ending == "gpkg") {
        return EFieldFormat::GeoPackage;
    }
    if (ending == "geojson" || ending == "json") {
        return EFieldFormat::GeoJson;
    }
    std::error_code error;
    const bool isIsoXml = ending == "zip" || ending == "xml" ||
                          (!path.empty() && path.back() == '/') ||
                          std::filesystem::is_directory(path, error);
    return isIsoXml ? std::optional(EFieldFormat::IsoXml) : std::nullopt;
}
