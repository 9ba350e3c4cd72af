#include "tools/fieldfiles/WriteFieldFile.h"

#include <filesystem>

#include "tools/fieldfiles/FileBytes.h"
#include "tools/fieldfiles/GeoJson.h"
#include "tools/fieldfiles/GeoPackage.h"
#include "tools/fieldfiles/IsoXmlWriter.h"
#include "tools/fieldfiles/Kml.h"
#include "tools/fieldfiles/ZipArchive.h"

namespace {

/// The name of a file or folder as it is written in a folder, where it is there in any case.
std::string NameThere(const std::string& folder, const std::string& name)
{
    for (const std::string& there : NamesIn(folder)) {
        if (LowerCase(there) == LowerCase(name)) {
            return there;
        }
    }
    return name;
}

/// How many of a file's lines or boundaries have heights.
struct Heights
{
    bool isSome = false;  ///< there is a height
    bool isAll = true;    ///< none is missing
    bool isMixed = false; ///< a line or boundary has some and lacks some
};

void Look(Heights& heights, const std::vector<const std::vector<FieldPlace>*>& rings)
{
    std::size_t places = 0;
    std::size_t known = 0;
    for (const std::vector<FieldPlace>* ring : rings) {
        for (const FieldPlace& place : *ring) {
            ++places;
            known += place.height ? 1 : 0;
        }
    }
    heights.isSome = heights.isSome || known > 0;
    heights.isAll = heights.isAll && known == places;
    heights.isMixed = heights.isMixed || (known > 0 && known < places);
}

Heights HeightsIn(const CFieldFile& file, bool hasLines, bool hasAreas)
{
    Heights heights;
    for (const Field& field : file.fields) {
        for (const FieldLine& line : field.lines) {
            if (hasLines) {
                Look(heights, {&line.places});
            }
        }
        for (const FieldBoundary& boundary : field.boundaries) {
            std::vector<const std::vector<FieldPlace>*> rings{&boundary.exterior};
            for (const std::vector<FieldPlace>& hole : boundary.holes) {
                rings.push_back(&hole);
            }
            if (hasAreas) {
                Look(heights, rings);
            }
        }
    }
    return heights;
}

/// Notes which heights a format cannot hold.
void NoteLostHeights(CFieldFile& file, EFieldFormat format, EShapes shapes)
{
    const bool isShapefile = format == EFieldFormat::Shapefile;
    const Heights heights = HeightsIn(file, !isShapefile || shapes == EShapes::Lines,
                                      !isShapefile || shapes == EShapes::Areas);
    if (!heights.isSome || format == EFieldFormat::IsoXml || format == EFieldFormat::IsoXmlThree) {
        return;
    }
    if (format == EFieldFormat::Kml || format == EFieldFormat::Kmz) {
        file.Note("all heights are left out: those of KML are above the sea");
    } else if (isShapefile && !heights.isAll) {
        file.Note("all heights are left out: a Shapefile has them at all places or at none");
    } else if (heights.isMixed) {
        file.Note("heights are left out: a line or boundary has them at all its places or at none");
    }
}

FilesToWrite IsoXmlToWrite(const std::string& main, const std::string& path)
{
    if (SuffixOf(path) == "zip") {
        return {{path, MakeZip({{"TASKDATA/TASKDATA.XML", main}})}};
    }
    std::error_code error;
    if (path.back() != '/' && !std::filesystem::is_directory(path, error)) {
        return {{path, main}};
    }
    std::filesystem::path folder = path;
    if (path.back() == '/') {
        folder = folder.parent_path();
    }
    if (LowerCase(folder.filename().string()) != "taskdata") {
        folder /= NameThere(folder.string(), "TASKDATA");
    }
    // Such a file has more than lines: the tasks of a season, to which other files belong.
    const std::filesystem::path old = folder / NameThere(folder.string(), "TASKDATA.XML");
    if (std::filesystem::exists(old, error)) {
        throw CFieldFileProblem("there is a " + old.string() +
                                " already, with tasks of its own perhaps; it is not written over: "
                                "name another folder");
    }
    return {{(folder / "TASKDATA.XML").string(), main}};
}

void NoteLongNames(CFieldFile& file)
{
    constexpr std::size_t kMostBytes = 200;
    bool isTooLong = false;
    for (const Field& field : file.fields) {
        isTooLong = isTooLong || field.name.size() > kMostBytes;
        for (const FieldLine& line : field.lines) {
            isTooLong = isTooLong || line.name.size() > kMostBytes;
        }
        for (const FieldBoundary& boundary : field.boundaries) {
            isTooLong = isTooLong || boundary.name.size() > kMostBytes;
        }
    }
    if (isTooLong) {
        file.Note("names of more than 200 bytes are cut: a Shapefile has no room for them");
    }
}

FilesToWrite ShapefileToWrite(CFieldFile& file, const std::string& path, EShapes shapes)
{
    if (path == "-") {
        throw CFieldFileProblem(
            "a Shapefile is several files and needs a name that ends with .shp");
    }
    const bool isOfLines = shapes == EShapes::Lines;
    const std::size_t left = isOfLines ? file.BoundaryCount() : file.LineCount();
    if ((isOfLines ? file.LineCount() : file.BoundaryCount()) == 0) {
        throw CFieldFileProblem(isOfLines ? "there is no line to write"
                                          : "there is no boundary to write");
    }
    if (left != 0) {
        file.Note("a Shapefile holds one of the two: " + std::to_string(left) +
                  (isOfLines ? " boundaries were left out; navctl boundary convert writes them"
                             : " lines were left out; navctl wayline convert writes them"));
    }
    NoteLongNames(file);
    FilesToWrite files;
    for (const auto& [ending, bytes] : WriteShapefile(file, shapes)) {
        files.emplace_back(WithoutSuffix(path) + "." + ending, bytes);
    }
    return files;
}

} // namespace

FilesToWrite FieldFilesToWrite(CFieldFile& file, EFieldFormat format, const std::string& path,
                               EShapes shapes)
{
    NoteLostHeights(file, format, shapes);
    switch (format) {
    case EFieldFormat::IsoXml:
        return IsoXmlToWrite(WriteIsoXml(file, EIsoXmlVersion::Four), path);
    case EFieldFormat::IsoXmlThree:
        return IsoXmlToWrite(WriteIsoXml(file, EIsoXmlVersion::Three), path);
    case EFieldFormat::Kml:
        return {{path, WriteKml(file)}};
    case EFieldFormat::Kmz:
        return {{path, MakeZip({{"doc.kml", WriteKml(file)}})}};
    case EFieldFormat::Shapefile:
        return ShapefileToWrite(file, path, shapes);
    case EFieldFormat::GeoPackage:
        return {{path, WriteGeoPackage(file)}};
    case EFieldFormat::GeoJson:
        return {{path, WriteGeoJson(file)}};
    }
    throw CFieldFileProblem("this format cannot be written");
}
