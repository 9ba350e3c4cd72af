#include <algorithm>
#include <memory>

#include "tools/fieldfiles/MapFeature.h"
#include "tools/fieldfiles/MemoryFiles.h"
#include "tools/fieldfiles/Shapefile.h"
#include "tools/fieldfiles/XmlFile.h"

namespace {

constexpr const char* kWorldSystemWords =
    "GEOGCS[\"GCS_WGS_1984\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137.0,298.257223563]],"
    "PRIMEM[\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]]";
constexpr int kNameWidth = 200;
constexpr int kKindWidth = 16;
constexpr int kHeadingWidth = 19;
constexpr int kHeadingDecimals = 14;

/// The columns of the table, by their place in it.
enum EColumn
{
    kNameColumn,
    kFieldColumn,
    kKindColumn,
    kHeadingColumn,
};

/// The coordinates of a feature as shapelib takes them.
struct Coordinates
{
    std::vector<int> starts;
    std::vector<double> x, y, z;
};

Coordinates CoordinatesOf(const MapFeature& feature)
{
    Coordinates coordinates;
    for (std::vector<FieldPlace> ring : feature.parts.front()) {
        if (feature.isArea) { // exterior rings of a Shapefile are clockwise
            std::reverse(ring.begin(), ring.end());
        }
        coordinates.starts.push_back(static_cast<int>(coordinates.x.size()));
        for (const FieldPlace& place : ring) {
            coordinates.x.push_back(place.longitude);
            coordinates.y.push_back(place.latitude);
            coordinates.z.push_back(place.height.value_or(0.0));
        }
    }
    return coordinates;
}

bool WriteShape(SHPInfo* shapes, int type, const MapFeature& feature)
{
    const Coordinates at = CoordinatesOf(feature);
    SHPObject* const shape = SHPCreateObject(
        type, -1, static_cast<int>(at.starts.size()), at.starts.data(), nullptr,
        static_cast<int>(at.x.size()), at.x.data(), at.y.data(), at.z.data(), nullptr);
    const bool isWritten = shape != nullptr && SHPWriteObject(shapes, -1, shape) >= 0;
    if (shape != nullptr) {
        SHPDestroyObject(shape);
    }
    return isWritten;
}

/// A text of at most so many bytes, without half a character at its end.
std::string Cut(const std::string& text, std::size_t mostBytes)
{
    std::string cut = XmlName(text);
    while (cut.size() > mostBytes) {
        cut = XmlName(cut.substr(0, mostBytes));
    }
    return cut;
}

bool WriteRow(DBFInfo* table, int row, const MapFeature& feature)
{
    const bool isWritten =
        DBFWriteStringAttribute(table, row, kNameColumn, Cut(feature.name, kNameWidth).c_str()) !=
            0 &&
        DBFWriteStringAttribute(table, row, kFieldColumn, Cut(feature.field, kNameWidth).c_str()) !=
            0 &&
        DBFWriteStringAttribute(table, row, kKindColumn, feature.kind.c_str()) != 0;
    if (!isWritten || !feature.headingDegrees) {
        return isWritten && DBFWriteNULLAttribute(table, row, kHeadingColumn) != 0;
    }
    return DBFWriteDoubleAttribute(table, row, kHeadingColumn, *feature.headingDegrees) != 0;
}

DBFInfo* MakeTable(SAHooks* hooks)
{
    DBFInfo* const table = DBFCreateLL("shapes.dbf", "UTF-8", hooks);
    if (table != nullptr) {
        DBFAddField(table, "NAME", FTString, kNameWidth, 0);
        DBFAddField(table, "FIELD", FTString, kNameWidth, 0);
        DBFAddField(table, "KIND", FTString, kKindWidth, 0);
        DBFAddField(table, "HEADING", FTDouble, kHeadingWidth, kHeadingDecimals);
    }
    return table;
}

bool WriteFeatures(const std::vector<MapFeature>& features, int type, SAHooks* hooks)
{
    SHPInfo* const shapes = SHPCreateLL("shapes.shp", type, hooks);
    DBFInfo* const table = MakeTable(hooks);
    bool isGood = shapes != nullptr && table != nullptr;
    for (std::size_t i = 0; isGood && i < features.size(); ++i) {
        isGood = WriteShape(shapes, type, features[i]) &&
                 WriteRow(table, static_cast<int>(i), features[i]);
    }
    if (shapes != nullptr) {
        SHPClose(shapes);
    }
    if (table != nullptr) {
        DBFClose(table);
    }
    return isGood;
}

} // namespace

FileSet WriteShapefile(const CFieldFile& file, EShapes shapes)
{
    const bool isOfLines = shapes == EShapes::Lines;
    const std::vector<MapFeature> features = isOfLines ? LineFeatures(file) : AreaFeatures(file);
    const bool hasHeights =
        std::all_of(features.begin(), features.end(),
                    [](const MapFeature& feature) { return HasHeights(feature); });
    const int lineType = hasHeights ? SHPT_ARCZ : SHPT_ARC;
    const int areaType = hasHeights ? SHPT_POLYGONZ : SHPT_POLYGON;
    FileSet files;
    CMemoryFiles memory(files);
    if (!WriteFeatures(features, isOfLines ? lineType : areaType, memory.Hooks())) {
        throw CFieldFileProblem("cannot make a Shapefile: " + CMemoryFiles::Problem());
    }
    FileSet byEnding{{"prj", kWorldSystemWords}, {"cpg", "UTF-8"}};
    for (const char* ending : {"shp", "shx", "dbf"}) {
        byEnding[ending] = files[std::string("shapes.") + ending];
    }
    return byEnding;
}
