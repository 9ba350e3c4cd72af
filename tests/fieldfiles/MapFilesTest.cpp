#include <gtest/gtest.h>

#include "tests/fieldfiles/SampleFields.h"
#include "tools/fieldfiles/Database.h"
#include "tools/fieldfiles/FieldFormat.h"
#include "tools/fieldfiles/FileLimits.h"
#include "tools/fieldfiles/GeoPackage.h"
#include "tools/fieldfiles/Kml.h"
#include "tools/fieldfiles/MapFeature.h"
#include "tools/fieldfiles/ReadFieldFile.h"
#include "tools/fieldfiles/ReferenceSystem.h"
#include "tools/fieldfiles/Shapefile.h"
#include "tools/fieldfiles/ZipArchive.h"

namespace {

std::string KmlWith(const std::string& content)
{
    return "<kml xmlns=\"http://earth.google.com/kml/2.1\"><Document>" + content +
           "</Document></kml>";
}

std::string KmlLine(const std::string& coordinates)
{
    return KmlWith("<Placemark><name>One</name><LineString><coordinates>" + coordinates +
                   "</coordinates></LineString></Placemark>");
}

CFieldFile OneLine()
{
    CFieldFile file;
    FieldLine line;
    line.kind = Kestrove::EWaylineTypeAB;
    line.name = "One";
    line.places = {{52.0, 5.0, {}}, {52.25, 5.5, {}}};
    file.FieldOf("North").lines = {line};
    return file;
}

/// The files of a Shapefile by the names that its reader wants.
FileSet Named(const FileSet& byEnding)
{
    FileSet files;
    for (const auto& [ending, bytes] : byEnding) {
        files["one." + ending] = bytes;
    }
    return files;
}

std::string ShapefileProblem(FileSet files)
{
    return ProblemOf([&] { ReadShapefile(std::move(files), "one", std::nullopt); });
}

} // namespace

TEST(Kml, PutsLongitudeFirstAndTakesBlanksAroundCommas)
{
    for (const char* const coordinates :
         {"5.0,52.0,0 5.5,52.25,0", "\n 5.0, 52.0, 0.\n 5.5 ,52.25 , 0.\t", "5,52 5.5,52.25"}) {
        const FieldLine line = OnlyLine(ReadKml(KmlLine(coordinates), std::nullopt));
        EXPECT_EQ(Kestrove::EWaylineTypeAB, line.kind);
        ASSERT_EQ(2U, line.places.size());
        EXPECT_EQ(52.25, line.places[1].latitude);
        EXPECT_EQ(5.5, line.places[1].longitude);
        EXPECT_FALSE(line.places[1].height);
    }
}

TEST(Kml, LeavesOutALineWhoseCoordinatesAreNone)
{
    for (const char* const coordinates : {"5.0", "5.0 52.0", "x,y 1,2", "1,2,3,4 5,6", "5,91 5,92",
                                          "nan,1 2,3", "1e999,1 2,3", "5,52", ""}) {
        SCOPED_TRACE(coordinates);
        const CFieldFile file = ReadKml(KmlLine(coordinates), std::nullopt);
        EXPECT_EQ(0U, file.LineCount());
        ASSERT_EQ(1U, file.refused.size());
        EXPECT_EQ("One", file.refused[0].name);
    }
}

TEST(Kml, FindsGeometriesInFoldersAndFollowsNoLink)
{
    const CFieldFile file = ReadKml(
        KmlWith("<Folder><name>North</name><Folder><Placemark><MultiGeometry><LineString>"
                "<coordinates>1,2 3,4 5,7</coordinates></LineString><Polygon><outerBoundaryIs>"
                "<LinearRing><coordinates>1,2 3,2 3,4 1,2</coordinates></LinearRing>"
                "</outerBoundaryIs></Polygon></MultiGeometry></Placemark></Folder></Folder>"
                "<NetworkLink><Link><href>http://127.0.0.1/x</href></Link></NetworkLink>"),
        std::nullopt);
    ASSERT_EQ(1U, file.LineCount());
    ASSERT_EQ(1U, file.BoundaryCount());
    EXPECT_EQ("North", file.fields[0].name);
    EXPECT_EQ(Kestrove::EWaylineTypeABCurve, file.fields[0].lines[0].kind);
    ASSERT_EQ(1U, file.Notes().size());
}

TEST(MapFeature, JoinsALineThatIsCutAtThe180thMeridian)
{
    const FieldPlace cut{10.5, 180.0, {}};
    const FieldPlace cutAgain{10.5, -180.0, {}};
    MapFeature feature;
    feature.parts = {{{{10.0, 179.9, {}}, cut}}, {{cutAgain, {11.0, -179.9, {}}}}};
    CFeatureReading reading(std::nullopt);
    reading.Add(feature, "North");
    const FieldLine line = OnlyLine(reading.file);
    EXPECT_EQ(Kestrove::EWaylineTypeAB, line.kind);
    EXPECT_EQ(-179.9, line.places.back().longitude);
}

TEST(MapFeature, KeepsABendThatLiesOnThe180thMeridian)
{
    MapFeature feature;
    feature.parts = {{{{10.0, 179.9, {}}, {13.0, 180.0, {}}}},
                     {{{13.0, -180.0, {}}, {11.0, -179.9, {}}}}};
    CFeatureReading reading(std::nullopt);
    reading.Add(feature, "North");
    EXPECT_EQ(3U, OnlyLine(reading.file).places.size());
}

TEST(ReferenceSystem, TakesWorldGeodeticSystem84AndNamesAllOthers)
{
    EXPECT_EQ("no problem", ProblemOf([] {
                  CheckReferenceSystem("GEOGCS[\"GCS_WGS_1984\",DATUM[\"D_WGS_1984\",SPHEROID["
                                       "\"WGS_1984\",6378137.0,298.257223563]],PRIMEM["
                                       "\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]]");
              }));
    for (const char* const system :
         {"PROJCS[\"WGS 84 / UTM zone 32N\",GEOGCS[\"WGS 84\",UNIT[\"degree\",0.01745]]]",
          "GEOGCS[\"ETRS89\",PRIMEM[\"Greenwich\",0],UNIT[\"degree\",0.01745]]",
          "GEOGCS[\"WGS 84 in gon\",PRIMEM[\"Greenwich\",0],UNIT[\"grad\",0.0157]]",
          "GEOGCS[\"WGS 84 Paris\",PRIMEM[\"Paris\",2.3],UNIT[\"degree\",0.01745]]", ""}) {
        const std::string problem = ProblemOf([&] { CheckReferenceSystem(system); });
        EXPECT_NE(std::string::npos, problem.find("only WGS 84")) << problem;
    }
}

TEST(Shapefile, RefusesPartsThatAreMissingOrDisagree)
{
    const FileSet whole = Named(WriteShapefile(OneLine(), EShapes::Lines));
    EXPECT_EQ("no problem", ShapefileProblem(whole));
    FileSet files = whole;
    files.erase("one.shx");
    EXPECT_NE(std::string::npos, ShapefileProblem(files).find(".shx of the Shapefile is missing"));
    files = whole;
    CFieldFile two = OneLine();
    two.fields[0].lines.push_back(two.fields[0].lines[0]);
    files["one.dbf"] = WriteShapefile(two, EShapes::Lines).at("dbf");
    EXPECT_NE(std::string::npos, ShapefileProblem(files).find("disagree"));
    files = whole;
    files["one.shx"] = WriteShapefile(two, EShapes::Lines).at("shx");
    EXPECT_NE("no problem", ShapefileProblem(files));
    files = whole;
    files["one.shp"].resize(files["one.shp"].size() - 8);
    EXPECT_NE(std::string::npos, ShapefileProblem(files).find("ends before its end"));
    files = whole;
    files["one.prj"] = "PROJCS[\"UTM\",GEOGCS[\"WGS 84\"]]";
    EXPECT_NE(std::string::npos, ShapefileProblem(files).find("UTM"));
}

TEST(Shapefile, SurvivesEveryPrefixAndEveryByteThatIsWrong)
{
    const FileSet whole = Named(WriteShapefile(OneLine(), EShapes::Lines));
    for (const char* const name : {"one.shp", "one.shx", "one.dbf"}) {
        for (std::size_t i = 0; i < whole.at(name).size(); ++i) {
            FileSet files = whole;
            files[name][i] = static_cast<char>(~files[name][i]);
            ShapefileProblem(files);
            files[name].resize(i);
            ShapefileProblem(files);
        }
    }
}

TEST(GeoPackage, RunsNothingThatTheFileBringsAlong)
{
    CDatabase made;
    made.Run("CREATE TABLE gpkg_spatial_ref_sys (srs_id, organization, organization_coordsys_id, "
             "definition); CREATE VIEW gpkg_geometry_columns AS WITH RECURSIVE n(x) AS (SELECT 1 "
             "UNION ALL SELECT x + 1 FROM n) SELECT x AS table_name, x AS column_name, x AS srs_id "
             "FROM n;");
    const std::string problem = ProblemOf([&] { ReadGeoPackage(made.Bytes(), std::nullopt); });
    EXPECT_NE(std::string::npos, problem.find("no GeoPackage")) << problem;
}

TEST(GeoPackage, RefusesAnotherReferenceSystemByItsName)
{
    CDatabase made;
    made.Run("CREATE TABLE gpkg_spatial_ref_sys (srs_id INTEGER, organization TEXT, "
             "organization_coordsys_id INTEGER, definition TEXT); INSERT INTO gpkg_spatial_ref_sys "
             "VALUES (25832, 'EPSG', 25832, 'PROJCS[\"ETRS89 / UTM zone 32N\"]'); CREATE TABLE "
             "gpkg_geometry_columns (table_name TEXT, column_name TEXT, srs_id INTEGER); INSERT "
             "INTO gpkg_geometry_columns VALUES ('lines', 'geom', 25832); CREATE TABLE lines (geom "
             "BLOB);");
    const std::string problem = ProblemOf([&] { ReadGeoPackage(made.Bytes(), std::nullopt); });
    EXPECT_NE(std::string::npos, problem.find("ETRS89 / UTM zone 32N")) << problem;
}

TEST(GeoPackage, SurvivesEveryPrefixOfAGeometryAndBytesThatAreWrong)
{
    const std::string whole = WriteGeoPackage(OneLine());
    ASSERT_EQ(1U, ReadGeoPackage(whole, std::nullopt).LineCount());
    for (std::size_t i = 0; i < whole.size(); i += 211) {
        std::string bytes = whole;
        bytes[i] = static_cast<char>(~bytes[i]);
        ProblemOf([&] { ReadGeoPackage(bytes, std::nullopt); });
        bytes.resize(i);
        EXPECT_NE("no problem", ProblemOf([&] { ReadGeoPackage(bytes, std::nullopt); }));
    }
}

TEST(Zip, UnpacksNoMoreThanIsReadWhateverItAnnounces)
{
    const std::string bomb = MakeZip({{"doc.kml", std::string(FileLimits::kBytes + 1, ' ')}});
    EXPECT_LT(bomb.size(), FileLimits::kBytes / 100);
    const std::string problem = ProblemOf([&] { ReadFieldFile("x.kmz", bomb, std::nullopt); });
    EXPECT_NE(std::string::npos, problem.find("unpacks to more than")) << problem;
}

TEST(Zip, RefusesPathsThatLeadOutOfIt)
{
    for (const char* const path :
         {"../doc.kml", "a/../../doc.kml", "/doc.kml", "a\\..\\doc.kml", "C:doc.kml"}) {
        const std::string zip = MakeZip({{path, KmlLine("1,2 3,4")}});
        const std::string problem = ProblemOf([&] { ReadFieldFile("x.zip", zip, std::nullopt); });
        EXPECT_NE(std::string::npos, problem.find("leads out of it")) << path << ": " << problem;
    }
}

TEST(Zip, FindsItsMainFileInAnyFolderAndCase)
{
    const std::string taskData =
        "<ISO11783_TaskData><XFR A=\"PFD00001\" B=\"1\"/></ISO11783_TaskData>";
    const std::string field =
        "<XFC><PFD A=\"PFD1\" C=\"North\"><LSG A=\"5\" B=\"One\"><PNT A=\"2\" "
        "C=\"1\" D=\"2\"/><PNT A=\"2\" C=\"3\" D=\"4\"/></LSG></PFD></XFC>";
    for (const std::string folder : {"", "TASKDATA/", "export/2026/"}) {
        const std::string zip = MakeZip({{"._TASKDATA.XML", "x"},
                                         {"__MACOSX/TASKDATA.XML", "x"},
                                         {"a/b/c/d/TASKDATA.XML", "broken"},
                                         {folder + "taskdata.XML", taskData},
                                         {folder + "pfd00001.xml", field}});
        EXPECT_EQ("One", OnlyLine(ReadFieldFile("x.dat", zip, std::nullopt)).name);
    }
}

TEST(Zip, FollowsTheLinksOfItsKmlToFilesWithinItAndNoOthers)
{
    const auto link = [](const std::string& path) {
        return "<NetworkLink><Link><href>" + path + "</href></Link></NetworkLink>";
    };
    const std::string main =
        KmlWith(link("layers/farm.kml") + link("layers/farm.kml") + link("layers/none.kml") +
                link("../doc.kml") + link("http://127.0.0.1/x.kml") + link("file:///etc/x.kml"));
    const std::string zip =
        MakeZip({{"a/doc.kml", main}, {"a/layers/farm.kml", KmlLine("1,2 3,4")}});
    const CFieldFile file = ReadFieldFile("x.kmz", zip, std::nullopt);
    EXPECT_EQ("One", OnlyLine(file).name);
    EXPECT_EQ(4U, file.Notes().size());
}

TEST(Xml, RefusesEntitiesDepthAndMoreThanIsRead)
{
    std::string deep;
    for (int i = 0; i < 100; ++i) {
        deep += "<Folder>";
    }
    for (int i = 0; i < 100; ++i) {
        deep += "</Folder>";
    }
    const struct
    {
        std::string file;
        const char* reason;
    } rows[] = {
        {"<!DOCTYPE kml [<!ENTITY a \"aaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;\">]>" +
             KmlLine("&b;"),
         "document type"},
        {KmlWith(deep), "deeper"},
        {KmlWith(std::string(FileLimits::kXmlMarks + 1, '=')), "elements and attributes"},
        {KmlWith("<Placemark>"), "line 1: the XML is broken"},
        {"<html/>", "supported are ISOXML"},
        {"BM\x01\x02", "supported are ISOXML"},
    };
    for (const auto& row : rows) {
        const std::string problem =
            ProblemOf([&] { ReadFieldFile("x.kml", row.file, std::nullopt); });
        EXPECT_NE(std::string::npos, problem.find(row.reason)) << problem;
    }
}
