#include <memory>

#include "tools/fieldfiles/Database.h"
#include "tools/fieldfiles/FieldFormat.h"
#include "tools/fieldfiles/FileBytes.h"
#include "tools/fieldfiles/FileLimits.h"
#include "tools/fieldfiles/GeoPackage.h"
#include "tools/fieldfiles/ReferenceSystem.h"
#include "tools/fieldfiles/WellKnownBinary.h"
#include "tools/fieldfiles/XmlFile.h"

namespace {

/// A table of features.
struct FeatureTable
{
    std::string name;
    std::string geometryColumn;
    std::int64_t system = 0;
};

std::vector<FeatureTable> TablesIn(CDatabase& database)
{
    constexpr std::size_t kMostTables = 1000;
    CStatement query(database, "SELECT table_name, column_name, srs_id FROM gpkg_geometry_columns");
    std::vector<FeatureTable> tables;
    while (query.Next()) {
        if (tables.size() >= kMostTables) {
            throw CFieldFileTooLarge("tables");
        }
        tables.push_back({query.Text(0), query.Text(1), query.Integer(2)});
    }
    return tables;
}

void CheckSystem(CDatabase& database, const FeatureTable& table)
{
    constexpr int kPlane = 4326;
    constexpr int kWithHeights = 4979;
    CStatement query(database, "SELECT organization, organization_coordsys_id, definition, srs_id "
                               "FROM gpkg_spatial_ref_sys");
    while (query.Next()) {
        if (query.Integer(3) != table.system) {
            continue;
        }
        const std::int64_t code = query.Integer(1);
        const bool isWorld =
            LowerCase(query.Text(0)) == "epsg" && (code == kPlane || code == kWithHeights);
        return isWorld ? void() : CheckReferenceSystem(query.Text(2));
    }
    throw CFieldFileProblem("it does not say what its reference system " +
                            std::to_string(table.system) + " is");
}

/// The columns of a table that are used, each as an expression.
struct FeatureColumns
{
    std::string name = "NULL";
    std::string kind = "NULL";
    std::string heading = "NULL";
    std::string field = "NULL";
};

FeatureColumns ColumnsOf(CDatabase& database, const std::string& table)
{
    FeatureColumns columns;
    CStatement query(database, "PRAGMA table_info(" + QuotedName(table) + ")");
    while (query.Next()) {
        const std::string name = query.Text(1);
        const std::string lower = LowerCase(name);
        if (lower == "name") {
            columns.name = QuotedName(name);
        } else if (lower == "kind") {
            columns.kind = QuotedName(name);
        } else if (lower == "heading") {
            columns.heading = QuotedName(name);
        } else if (lower == "field") {
            columns.field = QuotedName(name);
        }
    }
    return columns;
}

void ReadRow(const CStatement& row, const std::string& table, CFeatureReading& reading)
{
    MapFeature feature;
    feature.name = Trimmed(row.Text(1));
    feature.kind = Trimmed(row.Text(2));
    feature.field = Trimmed(row.Text(4));
    try {
        feature.headingDegrees = XmlNumber(row.Text(3), "the heading");
        ReadGeoPackageGeometry(row.Blob(0), feature);
    } catch (const CFieldFileTooLarge&) {
        throw;
    } catch (const CFieldFileProblem& problem) {
        throw CFieldFileProblem(table + ": " + problem.what());
    }
    if (!feature.parts.empty()) {
        reading.Add(std::move(feature), table);
    }
}

/// A question for the rows of a table.
///
/// @throws CFieldFileProblem when it is in another reference system, or is not a table of its own.
std::unique_ptr<CStatement> RowsOf(CDatabase& database, const FeatureTable& table)
{
    CheckSystem(database, table);
    const FeatureColumns columns = ColumnsOf(database, table.name);
    return std::make_unique<CStatement>(
        database, "SELECT " + QuotedName(table.geometryColumn) + ", " + columns.name + ", " +
                      columns.kind + ", " + columns.heading + ", " + columns.field + " FROM " +
                      QuotedName(table.name));
}

void ReadRows(CStatement& rows, const std::string& table, CFeatureReading& reading)
{
    for (std::size_t count = 0; rows.Next(); ++count) {
        if (count > FileLimits::kFeatures) {
            throw CFieldFileTooLarge("rows");
        }
        if (!rows.IsNull(0)) {
            ReadRow(rows, table, reading);
        }
    }
}

} // namespace

CFieldFile ReadGeoPackage(std::string bytes, const std::optional<Kestrove::EWaylineType>& kind)
{
    CDatabase database(std::move(bytes));
    const std::vector<FeatureTable> tables = [&] {
        try {
            return TablesIn(database);
        } catch (const CFieldFileProblem& problem) {
            throw CUnsupportedFile("it is no GeoPackage with features: " +
                                   std::string(problem.what()));
        }
    }();
    CFeatureReading reading(kind);
    std::string firstProblem;
    for (const FeatureTable& table : tables) {
        std::unique_ptr<CStatement> rows;
        try {
            rows = RowsOf(database, table);
        } catch (const CFieldFileProblem& problem) {
            reading.file.Note("the table " + table.name + " is left out: " + problem.what());
            firstProblem = firstProblem.empty() ? problem.what() : firstProblem;
            continue;
        }
        ReadRows(*rows, table.name, reading);
    }
    if (reading.file.fields.empty() && !firstProblem.empty()) {
        throw CFieldFileProblem(firstProblem);
    }
    return std::move(reading.file);
}
