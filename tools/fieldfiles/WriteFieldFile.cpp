#include "tools/fieldfiles/WriteFieldFile.h"

#include <filesystem>

#include "tools/fieldfiles/FileBytes.h"
#include "tools/fieldfiles/GeoJson.h"
#include "tools/fieldfiles/GeoPackage.h"
#include "tools/fieldfiles/IsoXmlWriter.h"
#include "tools/fieldfiles/Kml.h"
#include "tools/fieldfiles/ZipArchive.h"

namespace {

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
        folder /= "TASKDATA";
    }
    return {{(folder / "TASKDATA.XML").string(), main}};
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
