#include <algorithm>

#include "tools/fieldfiles/Database.h"
#include "tools/fieldfiles/GeoPackage.h"
#include "tools/fieldfiles/WellKnownBinary.h"

namespace {

constexpr const char* kTables = R"sql(
PRAGMA application_id = 1196444487;
PRAGMA user_version = 10300;
CREATE TABLE gpkg_spatial_ref_sys (srs_name TEXT NOT NULL, srs_id INTEGER PRIMARY KEY,
  organization TEXT NOT NULL, organization_coordsys_id INTEGER NOT NULL, definition TEXT NOT NULL,
  description TEXT);
CREATE TABLE gpkg_contents (table_name TEXT NOT NULL PRIMARY KEY, data_type TEXT NOT NULL,
  identifier TEXT UNIQUE, description TEXT DEFAULT '',
  last_change DATETIME NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%fZ','now')),
  min_x DOUBLE, min_y DOUBLE, max_x DOUBLE, max_y DOUBLE, srs_id INTEGER,
  CONSTRAINT fk_gc_r_srs_id FOREIGN KEY (srs_id) REFERENCES gpkg_spatial_ref_sys(srs_id));
CREATE TABLE gpkg_geometry_columns (table_name TEXT NOT NULL, column_name TEXT NOT NULL,
  geometry_type_name TEXT NOT NULL, srs_id INTEGER NOT NULL, z TINYINT NOT NULL, m TINYINT NOT NULL,
  CONSTRAINT pk_geom_cols PRIMARY KEY (table_name, column_name),
  CONSTRAINT uk_gc_table_name UNIQUE (table_name),
  CONSTRAINT fk_gc_tn FOREIGN KEY (table_name) REFERENCES gpkg_contents(table_name),
  CONSTRAINT fk_gc_srs FOREIGN KEY (srs_id) REFERENCES gpkg_spatial_ref_sys (srs_id));
INSERT INTO gpkg_spatial_ref_sys VALUES
  ('WGS 84', 4326, 'EPSG', 4326, 'GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563,AUTHORITY["EPSG","7030"]],AUTHORITY["EPSG","6326"]],PRIMEM["Greenwich",0,AUTHORITY["EPSG","8901"]],UNIT["degree",0.0174532925199433,AUTHORITY["EPSG","9122"]],AUTHORITY["EPSG","4326"]]', NULL),
  ('Undefined cartesian SRS', -1, 'NONE', -1, 'undefined', NULL),
  ('Undefined geographic SRS', 0, 'NONE', 0, 'undefined', NULL);
)sql";

/// What differs between the two tables of features.
struct TableForm
{
    const char* name;
    const char* geometry;
    const char* columns; ///< behind those that both have
};

constexpr TableForm kLineTable{"guidance_lines", "LINESTRING", ", kind TEXT, heading DOUBLE"};
constexpr TableForm kAreaTable{"field_boundaries", "POLYGON", ""};

void MakeTable(CDatabase& database, const TableForm& form, bool hasHeights)
{
    const std::string name = form.name;
    database.Run("CREATE TABLE " + name +
                 " (fid INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL, geom " + form.geometry +
                 ", name TEXT, field TEXT" + form.columns + ");");
    database.Run("INSERT INTO gpkg_contents (table_name, data_type, identifier, srs_id) VALUES ('" +
                 name + "', 'features', '" + name + "', 4326);");
    database.Run("INSERT INTO gpkg_geometry_columns VALUES ('" + name + "', 'geom', '" +
                 form.geometry + "', 4326, " + (hasHeights ? "2" : "0") + ", 0);");
}

void WriteTable(CDatabase& database, const TableForm& form, const std::vector<MapFeature>& features)
{
    if (features.empty()) {
        return;
    }
    MakeTable(database, form,
              std::any_of(features.begin(), features.end(),
                          [](const MapFeature& feature) { return HasHeights(feature); }));
    const bool isOfLines = form.name == kLineTable.name;
    CStatement insert(database, "INSERT INTO " + std::string(form.name) +
                                    (isOfLines ? " (geom, name, field, kind, heading) VALUES "
                                                 "(?, ?, ?, ?, ?)"
                                               : " (geom, name, field) VALUES (?, ?, ?)"));
    for (const MapFeature& feature : features) {
        insert.Again();
        insert.BindBlob(1, GeoPackageGeometry(feature));
        insert.Bind(2, feature.name);
        insert.Bind(3, feature.field);
        if (isOfLines) {
            insert.Bind(4, feature.kind);
            insert.Bind(5, feature.headingDegrees);
        }
        insert.Next();
    }
}

void WriteExtent(CDatabase& database, const TableForm& form,
                 const std::vector<MapFeature>& features)
{
    std::optional<FieldPlace> low;
    FieldPlace high;
    for (const MapFeature& feature : features) {
        for (const FieldPlace& place : feature.parts.front().front()) {
            if (!low) {
                low = high = place;
            }
            low->latitude = std::min(low->latitude, place.latitude);
            low->longitude = std::min(low->longitude, place.longitude);
            high.latitude = std::max(high.latitude, place.latitude);
            high.longitude = std::max(high.longitude, place.longitude);
        }
    }
    if (!low) {
        return;
    }
    CStatement update(database, "UPDATE gpkg_contents SET min_x = ?, min_y = ?, max_x = ?, "
                                "max_y = ? WHERE table_name = ?");
    update.Bind(1, std::optional(low->longitude));
    update.Bind(2, std::optional(low->latitude));
    update.Bind(3, std::optional(high.longitude));
    update.Bind(4, std::optional(high.latitude));
    update.Bind(5, std::string(form.name));
    update.Next();
}

} // namespace

std::string WriteGeoPackage(const CFieldFile& file)
{
    CDatabase database;
    database.Run(kTables);
    database.Run("BEGIN");
    const std::vector<MapFeature> lines = LineFeatures(file);
    const std::vector<MapFeature> areas = AreaFeatures(file);
    WriteTable(database, kLineTable, lines);
    WriteExtent(database, kLineTable, lines);
    WriteTable(database, kAreaTable, areas);
    WriteExtent(database, kAreaTable, areas);
    database.Run("COMMIT");
    return database.Bytes();
}
