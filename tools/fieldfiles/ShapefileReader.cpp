#include <algorithm>
#include <cmath>
#include <memory>
#include <set>

#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/FileLimits.h"
#include "tools/fieldfiles/MapFeature.h"
#include "tools/fieldfiles/MemoryFiles.h"
#include "tools/fieldfiles/ReferenceSystem.h"
#include "tools/fieldfiles/Shapefile.h"
#include "tools/fieldfiles/ShapefileParts.h"
#include "tools/fieldfiles/XmlFile.h"

namespace {

using ShapeHandle = std::unique_ptr<SHPInfo, void (*)(SHPInfo*)>;
using TableHandle = std::unique_ptr<DBFInfo, void (*)(DBFInfo*)>;
using Shape = std::unique_ptr<SHPObject, void (*)(SHPObject*)>;
using Rings = std::vector<std::vector<FieldPlace>>;

constexpr std::size_t kMostParts = 1000; ///< of a shape

const std::string& PartOf(const FileSet& files, const std::string& name, const char* ending)
{
    const std::string* const bytes = FindFile(files, name + "." + ending);
    if (bytes == nullptr) {
        throw CFieldFileProblem("the ." + std::string(ending) + " of the Shapefile is missing");
    }
    return *bytes;
}

/// Text of a table: UTF-8 or, where it is not, Latin-1.
std::string Utf8Of(const std::string& text)
{
    if (XmlName(text, text.size()) == text) {
        return text;
    }
    std::string utf8;
    for (const char letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        if (code >= 0x80) {
            utf8 += static_cast<char>(0xC0U | code >> 6U);
            utf8 += static_cast<char>(0x80U | (code & 0x3FU));
        } else if (code >= 0x20) {
            utf8 += letter;
        }
    }
    return utf8;
}

/// The table of a Shapefile.
class CShapeTable
{
public:
    CShapeTable(const std::string& name, SAHooks* hooks)
        : m_table(DBFOpenLL((name + ".dbf").c_str(), "rb", hooks), [](DBFInfo* table) {
              if (table != nullptr) {
                  DBFClose(table);
              }
          })
    {
    }

    bool IsDeleted(int row) const { return m_table && DBFIsRecordDeleted(m_table.get(), row) != 0; }
    int Rows() const { return m_table ? DBFGetRecordCount(m_table.get()) : 0; }
    bool IsThere() const { return m_table != nullptr; }

    std::string TextIn(int row, const char* column) const
    {
        const int index = m_table ? DBFGetFieldIndex(m_table.get(), column) : -1;
        if (index < 0 || row >= Rows() || DBFIsAttributeNULL(m_table.get(), row, index) != 0) {
            return {};
        }
        const char* const text = DBFReadStringAttribute(m_table.get(), row, index);
        return text == nullptr ? std::string() : Trimmed(Utf8Of(text));
    }

private:
    TableHandle m_table;
};

/// Reads the shapes of a file, one after the other.
class CShapefileReading
{
public:
    CShapefileReading(SHPInfo* shapes, const CShapeTable& table,
                      const std::optional<Kestrove::EWaylineType>& kind)
        : features(kind), m_shapes(shapes), m_table(table)
    {
    }

    CFeatureReading features;

    void ReadAll(const std::string& name)
    {
        int count = 0;
        int type = 0;
        SHPGetInfo(m_shapes, &count, &type, nullptr, nullptr);
        if (type != SHPT_NULL && !IsLine(type) && !IsArea(type)) {
            throw CFieldFileProblem("the Shapefile has neither lines nor areas, but shapes of the "
                                    "type " +
                                    std::to_string(type));
        }
        for (int row = 0; row < count; ++row) {
            ReadShape(row, name);
        }
    }

private:
    static bool IsLine(int type)
    {
        return type == SHPT_ARC || type == SHPT_ARCZ || type == SHPT_ARCM;
    }

    static bool IsArea(int type)
    {
        return type == SHPT_POLYGON || type == SHPT_POLYGONZ || type == SHPT_POLYGONM;
    }

    void ReadShape(int row, const std::string& name)
    {
        const Shape shape(SHPReadObject(m_shapes, row), Destroy);
        if (!shape) {
            throw CFieldFileProblem("shape " + std::to_string(row + 1) +
                                    " is broken: " + CMemoryFiles::Problem());
        }
        if (shape->nSHPType == SHPT_NULL || shape->nVertices == 0) {
            return;
        }
        if (m_table.IsDeleted(row)) {
            return features.file.Note("shape " + std::to_string(row + 1) +
                                      " is left out: its row is marked as deleted");
        }
        MapFeature feature;
        feature.name = m_table.TextIn(row, "NAME");
        feature.kind = m_table.TextIn(row, "KIND");
        feature.field = m_table.TextIn(row, "FIELD");
        feature.isArea = IsArea(shape->nSHPType);
        try {
            feature.headingDegrees = XmlNumber(m_table.TextIn(row, "HEADING"), "the heading");
            Rings parts = PartsOf(*shape);
            if (feature.isArea) {
                feature.parts = Areas(parts);
            } else {
                for (std::vector<FieldPlace>& part : parts) {
                    feature.parts.emplace_back();
                    feature.parts.back().push_back(std::move(part));
                }
            }
        } catch (const CFieldFileProblem& problem) {
            throw CFieldFileProblem("shape " + std::to_string(row + 1) + ": " + problem.what());
        }
        features.Add(std::move(feature), name);
    }

    static void Destroy(SHPObject* shape)
    {
        if (shape != nullptr) {
            SHPDestroyObject(shape);
        }
    }

    static Rings PartsOf(const SHPObject& shape)
    {
        const bool hasHeights = shape.nSHPType == SHPT_ARCZ || shape.nSHPType == SHPT_POLYGONZ;
        // Of parts that begin at the same point all but the last one are empty.
        const std::set<int> starts(shape.panPartStart, shape.panPartStart + shape.nParts);
        if (starts.size() > kMostParts) {
            throw CFieldFileTooLarge("parts");
        }
        Rings parts;
        for (int i = 0; i < shape.nVertices; ++i) {
            if (i == 0 || starts.count(i) != 0) {
                parts.emplace_back();
            }
            parts.back().push_back(
                CheckedPlace(shape.padfY[i], shape.padfX[i],
                             hasHeights ? std::optional(shape.padfZ[i]) : std::nullopt));
        }
        return parts;
    }

    /// Exterior rings run clockwise, holes counter-clockwise and in any order.
    static std::vector<Rings> Areas(const Rings& rings)
    {
        std::vector<Rings> areas;
        for (const std::vector<FieldPlace>& ring : rings) {
            if (rings.size() == 1 || !IsCounterClockwise(ring)) {
                areas.push_back({ring});
            }
        }
        for (const std::vector<FieldPlace>& ring : rings) {
            if (rings.size() == 1 || !IsCounterClockwise(ring)) {
                continue;
            }
            const auto around = std::find_if(areas.begin(), areas.end(), [&](const Rings& area) {
                return IsWithin(ring.front(), area.front());
            });
            if (around == areas.end()) {
                areas.push_back({ring});
            } else {
                around->push_back(ring);
            }
        }
        return areas;
    }

    SHPInfo* m_shapes;
    const CShapeTable& m_table;
};

} // namespace

CFieldFile ReadShapefile(FileSet files, const std::string& name,
                         const std::optional<Kestrove::EWaylineType>& kind)
{
    const std::string* const system = FindFile(files, name + ".prj");
    if (system != nullptr) {
        CheckReferenceSystem(*system);
    }
    const std::string* const rows = FindFile(files, name + ".dbf");
    const bool hasTable = rows != nullptr;
    CheckShapefileParts(PartOf(files, name, "shp"), PartOf(files, name, "shx"), rows);
    CMemoryFiles memory(files);
    const ShapeHandle shapes(SHPOpenLL((name + ".shp").c_str(), "rb", memory.Hooks()),
                             [](SHPInfo* handle) {
                                 if (handle != nullptr) {
                                     SHPClose(handle);
                                 }
                             });
    if (!shapes) {
        throw CFieldFileProblem("the Shapefile is broken: " + CMemoryFiles::Problem());
    }
    const CShapeTable table(name, memory.Hooks());
    if (hasTable && !table.IsThere()) {
        throw CFieldFileProblem("the .dbf of the Shapefile is broken");
    }
    CShapefileReading reading(shapes.get(), table, kind);
    if (!hasTable) {
        reading.features.file.Note("the .dbf of the Shapefile is missing, and with it all names");
    }
    if (system == nullptr) {
        reading.features.file.Note("the .prj of the Shapefile is missing: taken for WGS 84");
    }
    reading.ReadAll(name.substr(name.find_last_of('/') + 1));
    return std::move(reading.features.file);
}
