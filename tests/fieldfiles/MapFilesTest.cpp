#include <algorithm>
#include <filesystem>
#include <fstream>
#include <tuple>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "tests/fieldfiles/SampleFields.h"
#include "tools/fieldfiles/Database.h"
#include "tools/fieldfiles/FieldFormat.h"
#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/FileLimits.h"
#include "tools/fieldfiles/GeoPackage.h"
#include "tools/fieldfiles/Kml.h"
#include "tools/fieldfiles/MapFeature.h"
#include "tools/fieldfiles/ReadFieldFile.h"
#include "tools/fieldfiles/ReferenceSystem.h"
#include "tools/fieldfiles/Shapefile.h"
#include "tools/fieldfiles/WellKnownBinary.h"
#include "tools/fieldfiles/WriteFieldFile.h"
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

TEST(Kml, TakesAllPointsWhereverACommentStands)
{
    const std::vector<std::string> tuples{"5,52", "5.001,52", "5.002,52.001", "5.003,52"};
    for (const char* const between : {"<!-- x -->", "<?x y?>", "<![CDATA[ ]]>"}) {
        for (std::size_t at = 0; at <= tuples.size(); ++at) {
            std::string coordinates;
            for (std::size_t i = 0; i <= tuples.size(); ++i) {
                coordinates += (i == at ? between : "") +
                               (i < tuples.size() ? " " + tuples[i] + " " : std::string());
            }
            const FieldLine line = OnlyLine(ReadKml(KmlLine(coordinates), std::nullopt));
            EXPECT_EQ(tuples.size(), line.places.size()) << coordinates;
        }
    }
}

TEST(Kml, KnowsItsDataByNameInAnyCase)
{
    const std::string line = "<LineString><coordinates>5,52 5,52.001</coordinates></LineString>";
    for (const auto& [kind, field, heading] :
         {std::tuple{"kind", "field", "heading"}, std::tuple{"KIND", "FIELD", "HEADING"},
          std::tuple{"Kind", "Field", "hEADING"}}) {
        const std::string simple = "<ExtendedData><SchemaData><SimpleData name=\"" +
                                   std::string(kind) +
                                   "\">a-heading</SimpleData><SimpleData name=\"" + field +
                                   "\">North</SimpleData><SimpleData name=\"" + heading +
                                   "\">0.25</SimpleData></SchemaData></ExtendedData>";
        const std::string data = "<ExtendedData><Data name=\"" + std::string(kind) +
                                 "\"><value>a-heading</value></Data><Data name=\"" + field +
                                 "\"><value>North</value></Data><Data name=\"" + heading +
                                 "\"><value>0.25</value></Data></ExtendedData>";
        for (const std::string& words : {simple, data}) {
            const CFieldFile file =
                ReadKml(KmlWith("<Placemark>" + words + line + "</Placemark>"), std::nullopt);
            EXPECT_EQ("North", file.fields.at(0).name);
            EXPECT_EQ(Kestrove::EWaylineTypeAHeading, OnlyLine(file).kind);
            EXPECT_EQ(0.25, OnlyLine(file).headingDegrees);
        }
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

TEST(ReferenceSystem, TakesWorldGeodeticSystem84AndNamesAllOthers)
{
    EXPECT_EQ("no problem", ProblemOf([] {
                  CheckReferenceSystem("GEOGCS[\"GCS_WGS_1984\",DATUM[\"D_WGS_1984\",SPHEROID["
                                       "\"WGS_1984\",6378137.0,298.257223563]],PRIMEM["
                                       "\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]]");
              }));
    EXPECT_EQ("no problem", ProblemOf([] {
                  CheckReferenceSystem(
                      "GEOGCRS[\"WGS 84\",ENSEMBLE[\"World Geodetic System 1984 ensemble\",MEMBER["
                      "\"World Geodetic System 1984 (G730)\"],ELLIPSOID[\"WGS 84\",6378137,"
                      "298.257223563,LENGTHUNIT[\"metre\",1]]],PRIMEM[\"Greenwich\",0,ANGLEUNIT["
                      "\"degree\",0.0174532925199433]],CS[ellipsoidal,2],AXIS[\"latitude\",north,"
                      "ANGLEUNIT[\"degree\",0.0174532925199433]]]");
              }));
    for (const char* const system :
         {"GEOGCS[\"GCS_WGS_1984_Major_Auxiliary_Sphere\",DATUM["
          "\"D_WGS_1984_Major_Auxiliary_Sphere\",SPHEROID[\"WGS_1984_Major_Auxiliary_Sphere\","
          "6378137.0,0.0]],PRIMEM[\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]]",
          "GEOGCS[\"WGS 84\",DATUM[\"European_1950\",SPHEROID[\"International 1924\",6378388,297]],"
          "PRIMEM[\"Greenwich\",0],UNIT[\"degree\",0.0174532925199433]]",
          "GEOGCS[\"WGS 84\",DATUM[\"WGS_1984\",SPHEROID[\"GRS 1980\",6378137,298.257222101]],"
          "PRIMEM[\"Greenwich\",0],UNIT[\"degree\",0.0174532925199433]]",
          "GEOGCS[\"WGS 84\",DATUM[\"WGS_1984\",SPHEROID[\"WGS 84\",6378137,298.257223563]],"
          "PRIMEM[\"Greenwich\",2.5],UNIT[\"degree\",0.0174532925199433]]",
          "GEOGCS[\"WGS 84\",DATUM[\"WGS_1984\",SPHEROID[\"WGS 84\",6378137,298.257223563]],"
          "PRIMEM[\"Greenwich\",0],UNIT[\"degree\",0.0157]]",
          "PROJCS[\"WGS 84 / UTM zone 32N\",GEOGCS[\"WGS 84\",UNIT[\"degree\",0.01745]]]",
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

TEST(Shapefile, SurvivesEveryByteThatIsWrong)
{
    const FileSet whole = Named(WriteShapefile(OneLine(), EShapes::Lines));
    for (const char* const name : {"one.shp", "one.shx", "one.dbf"}) {
        std::size_t refused = 0;
        for (std::size_t i = 0; i < whole.at(name).size(); ++i) {
            FileSet files = whole;
            files[name][i] = static_cast<char>(~files[name][i]);
            refused += ShapefileProblem(files) != "no problem" ? 1 : 0;
        }
        EXPECT_GT(refused, 0U) << name;
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

TEST(GeoPackage, RefusesMorePlacesThanAreReadBeforeItMakesThem)
{
    CDatabase made;
    made.Run(
        "CREATE TABLE gpkg_spatial_ref_sys (srs_id INTEGER, organization TEXT, "
        "organization_coordsys_id INTEGER, definition TEXT); INSERT INTO gpkg_spatial_ref_sys "
        "VALUES (4326, 'EPSG', 4326, ''); CREATE TABLE gpkg_geometry_columns (table_name TEXT, "
        "column_name TEXT, srs_id INTEGER); INSERT INTO gpkg_geometry_columns VALUES ('lines', "
        "'geom', 4326); CREATE TABLE lines (geom BLOB);");
    const std::uint32_t points = FileLimits::kPlaces + 1;
    std::string blob("GP\0\1\0\0\0\0\1\2\0\0\0", 13);
    for (unsigned i = 0; i < 4; ++i) {
        blob += static_cast<char>(points >> (8 * i));
    }
    blob.resize(blob.size() + 16U * points);
    CStatement insert(made, "INSERT INTO lines VALUES (?)");
    insert.BindBlob(1, blob);
    insert.Next();
    const std::string problem = ProblemOf([&] { ReadGeoPackage(made.Bytes(), std::nullopt); });
    EXPECT_NE(std::string::npos, problem.find("more places than are read")) << problem;
}

TEST(GeoPackage, IsNotReadWhileAnotherProgramWritesIt)
{
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("fields-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder / "linked");
    const std::string bytes = WriteGeoPackage(OneLine());
    const auto write = [&](const char* name, const std::string& content) {
        std::ofstream(folder / name, std::ios::binary) << content;
    };
    write("one.gpkg", bytes);
    std::filesystem::create_symlink(folder / "one.gpkg", folder / "linked" / "two.gpkg");
    const auto problem = [&](const char* name, const std::string& read) {
        return ProblemOf([&] { ReadFieldFile((folder / name).string(), read, std::nullopt); });
    };
    for (const char* const name : {"one.gpkg", "linked/two.gpkg"}) {
        for (const char* const journal : {"one.gpkg-wal", "one.gpkg-journal"}) {
            write(journal, "\xd9\xd5\x05\xf9 and what was there before");
            EXPECT_NE(std::string::npos, problem(name, bytes).find(journal)) << name;
            write(journal, std::string(512, '\0')); // kept for the next change
            EXPECT_EQ("no problem", problem(name, bytes)) << name;
            std::filesystem::remove(folder / journal);
        }
        std::string before = bytes;
        ++before[27]; // the number of the last change
        EXPECT_NE(std::string::npos, problem(name, before).find("changed the GeoPackage while"))
            << name;
    }
    std::filesystem::remove_all(folder);
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

TEST(Zip, NotesWhatElseThereIsOfItsMainFilesKind)
{
    const std::string taskData =
        "<ISO11783_TaskData><PFD A=\"PFD1\" C=\"North\"><LSG A=\"5\" B=\"One\"><PNT A=\"2\" "
        "C=\"1\" D=\"2\"/><PNT A=\"2\" C=\"3\" D=\"4\"/></LSG></PFD></ISO11783_TaskData>";
    const CFieldFile card = ReadFieldFile("x.zip",
                                          MakeZip({{"old/TASKDATA.XML", taskData},
                                                   {"TASKDATA/TASKDATA.XML", taskData},
                                                   {"a.kml", KmlLine("1,2 3,4")},
                                                   {"b.shp", "x"},
                                                   {"TASKDATA/GRD00001.BIN", "x"}}),
                                          std::nullopt);
    EXPECT_EQ(1U, card.LineCount());
    ASSERT_EQ(3U, card.Notes().size());
    EXPECT_EQ("old/TASKDATA.XML is left out: of a zip one file is read, here TASKDATA/TASKDATA.XML",
              card.Notes()[0]);
    const CFieldFile map = ReadFieldFile(
        "x.kmz", MakeZip({{"doc.kml", KmlLine("1,2 3,4")}, {"other.kml", KmlLine("5,6 7,8")}}),
        std::nullopt);
    EXPECT_EQ(1U, map.LineCount());
    ASSERT_EQ(1U, map.Notes().size());
    EXPECT_EQ(0U, map.Notes()[0].find("other.kml is left out"));
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
    };
    for (const auto& row : rows) {
        const std::string problem =
            ProblemOf([&] { ReadFieldFile("x.kml", row.file, std::nullopt); });
        EXPECT_NE(std::string::npos, problem.find(row.reason)) << problem;
    }
}

TEST(FieldFile, ListsWhatIsSupportedForEveryFileThatIsNoneOfThem)
{
    CDatabase plain;
    plain.Run("CREATE TABLE notes (text TEXT);");
    for (const std::string& content :
         {std::string("<html/>"), std::string("<!DOCTYPE html><html></html>"),
          std::string("<html><br></html>"), std::string("<foo>kml</foo>"),
          std::string("<foo><!-- <XFC --></foo>"), std::string("<a><ISO11783_TaskData/></a>"),
          std::string("BM\x01\x02"),
          std::string("\x7f"
                      "ELF"),
          std::string("{\"type\":\"Topology\"}"), std::string("{\"a\":1}"),
          std::string("{ no json"), plain.Bytes(), MakeZip({{"word/document.xml", "<w/>"}})}) {
        const std::string problem =
            ProblemOf([&] { ReadFieldFile("x.kml", content, std::nullopt); });
        EXPECT_NE(std::string::npos, problem.find("; supported are ISOXML")) << problem;
        EXPECT_NE(std::string::npos, problem.find("GeoPackage")) << problem;
    }
}

TEST(FieldFile, NumbersItsLinesInItsOrderWhateverFieldTheyAreOf)
{
    const auto line = [](const char* name, const char* field, const char* coordinates) {
        return "<Placemark><name>" + std::string(name) +
               "</name><ExtendedData><Data name=\"field\">"
               "<value>" +
               field + "</value></Data></ExtendedData><LineString><coordinates>" + coordinates +
               "</coordinates></LineString></Placemark>";
    };
    const CFieldFile file =
        ReadKml(KmlWith(line("One", "North", "1,2 3,4") + line("Two", "South", "1,2 3,4") +
                        line("Three", "North", "1,2") + line("Four", "North", "1,2 3,4")),
                std::nullopt);
    ASSERT_EQ(2U, file.fields.size());
    EXPECT_EQ(1U, file.fields[0].lines.at(0).number);
    EXPECT_EQ(4U, file.fields[0].lines.at(1).number);
    EXPECT_EQ(2U, file.fields[1].lines.at(0).number);
    EXPECT_EQ(3U, file.refused.at(0).number);
}

TEST(FieldFile, HasNoMoreFieldsThanAreRead)
{
    std::string lines;
    for (std::size_t i = 0; i <= FileLimits::kFields; ++i) {
        lines += "<Folder><name>" + std::to_string(i) +
                 "</name><Placemark><LineString><coordinates>1,2 3,4</coordinates></LineString>"
                 "</Placemark></Folder>";
    }
    const std::string problem = ProblemOf([&] { ReadKml(KmlWith(lines), std::nullopt); });
    EXPECT_NE(std::string::npos, problem.find("more fields than are read")) << problem;
}

TEST(FieldFile, KnowsIsoXmlByItsRootInEveryEncodingAndBehindEveryComment)
{
    const std::string bare =
        "<ISO11783_TaskData VersionMajor=\"4\"><PFD A=\"PFD1\" C=\"North\"><LSG "
        "A=\"5\" B=\"One\"><PNT A=\"2\" C=\"1\" D=\"2\"/><PNT A=\"2\" "
        "C=\"3\" D=\"4\"/></LSG></PFD></ISO11783_TaskData>";
    const auto wide = [&](bool isLittleEndian) {
        std::string text = isLittleEndian ? "\xFF\xFE" : "\xFE\xFF";
        for (const char letter : bare) {
            text += isLittleEndian ? std::string{letter, '\0'} : std::string{'\0', letter};
        }
        return text;
    };
    for (const std::string& content : {bare, wide(true), wide(false), "\xEF\xBB\xBF" + bare,
                                       "<!-- kml " + std::string(100000, 'x') + " -->" + bare}) {
        EXPECT_EQ("One", OnlyLine(ReadFieldFile("-", content, std::nullopt)).name);
    }
}

TEST(FieldFile, NotesTheHeightsThatAFormatCannotHold)
{
    const auto notesOf = [](const std::vector<std::optional<double>>& heights,
                            EFieldFormat format) {
        CFieldFile file;
        for (const std::size_t first : {0U, 2U}) {
            FieldLine line;
            line.kind = Kestrove::EWaylineTypeAB;
            line.places = {{52.0, 5.0, heights[first]}, {52.25, 5.5, heights[first + 1]}};
            file.FieldOf("North").lines.push_back(line);
        }
        FieldFilesToWrite(file, format, "x", EShapes::Lines);
        return file.Notes().size();
    };
    for (unsigned known = 0; known < 16; ++known) {
        std::vector<std::optional<double>> heights(4);
        for (unsigned i = 0; i < 4; ++i) {
            heights[i] = (known >> i & 1U) != 0 ? std::optional(7.0 + i) : std::nullopt;
        }
        const bool isGap = known % 4 == 1 || known % 4 == 2 || known / 4 == 1 || known / 4 == 2;
        EXPECT_EQ(known != 0, notesOf(heights, EFieldFormat::Kml) == 1U) << known;
        EXPECT_EQ(known != 0 && known != 15, notesOf(heights, EFieldFormat::Shapefile) == 1U);
        EXPECT_EQ(isGap, notesOf(heights, EFieldFormat::GeoPackage) == 1U) << known;
        EXPECT_EQ(isGap, notesOf(heights, EFieldFormat::GeoJson) == 1U) << known;
        EXPECT_EQ(0U, notesOf(heights, EFieldFormat::IsoXml)) << known;
    }
}

TEST(FieldFile, WaitsForNoPipeBesideIt)
{
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("pipes-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    ASSERT_EQ(0, mkfifo((folder / "TASKDATA.XML").c_str(), 0600));
    ASSERT_EQ(0, mkfifo((folder / "PFD00002.XML").c_str(), 0600));
    ASSERT_EQ(0, mkfifo((folder / "a.prj").c_str(), 0600));
    const std::string main = "<ISO11783_TaskData><XFR A=\"PFD00002\" B=\"1\"/></ISO11783_TaskData>";
    const FileSet shapes = WriteShapefile(OneLine(), EShapes::Lines);
    for (const std::string& problem :
         {ProblemOf([&] { ReadFieldFolder(folder.string()); }),
          ProblemOf([&] { ReadFieldFile((folder / "main.xml").string(), main, std::nullopt); }),
          ProblemOf([&] {
              ReadFieldFile((folder / "a.shp").string(), shapes.at("shp"), std::nullopt);
          })}) {
        EXPECT_NE(std::string::npos, problem.find("is no file")) << problem;
    }
    std::filesystem::remove_all(folder);
}

TEST(FieldFile, IsNotWrittenOverATaskDataFileInAFolder)
{
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("card-" + std::to_string(getpid()));
    for (const char* const inner : {"TASKDATA", "taskdata", "TaskData"}) {
        std::filesystem::create_directories(folder / inner);
        const auto target = [&] {
            CFieldFile file = OneLine();
            return FieldFilesToWrite(file, EFieldFormat::IsoXml, folder.string(), EShapes::Lines)
                .front()
                .first;
        };
        EXPECT_EQ((folder / inner / "TASKDATA.XML").string(), target());
        std::ofstream(folder / inner / "taskdata.xml") << "<ISO11783_TaskData/>";
        const std::string problem = ProblemOf(target);
        EXPECT_NE(std::string::npos, problem.find("not written over")) << problem;
        std::filesystem::remove_all(folder);
    }
}

TEST(GeoPackage, LeavesOutATableOfAnotherSystemAndKeepsTheRest)
{
    CDatabase made;
    made.Run(
        "CREATE TABLE gpkg_spatial_ref_sys (srs_id INTEGER, organization TEXT, "
        "organization_coordsys_id INTEGER, definition TEXT); INSERT INTO gpkg_spatial_ref_sys "
        "VALUES (4326, 'EPSG', 4326, ''), (25832, 'EPSG', 25832, 'PROJCS[\"UTM 32N\"]'); CREATE "
        "TABLE gpkg_geometry_columns (table_name TEXT, column_name TEXT, srs_id INTEGER); "
        "INSERT INTO gpkg_geometry_columns VALUES ('posts', 'geom', 25832), ('lines', 'geom', "
        "4326), ('view', 'geom', 4326); CREATE TABLE posts (geom BLOB); CREATE TABLE lines "
        "(geom BLOB); CREATE VIEW view AS SELECT geom FROM lines;");
    MapFeature feature;
    feature.parts = {{{{52.0, 5.0, {}}, {52.25, 5.5, {}}}}};
    CStatement insert(made, "INSERT INTO lines VALUES (?)");
    insert.BindBlob(1, GeoPackageGeometry(feature));
    insert.Next();
    const CFieldFile file = ReadGeoPackage(made.Bytes(), std::nullopt);
    EXPECT_EQ(1U, file.LineCount());
    ASSERT_EQ(2U, file.Notes().size());
    EXPECT_NE(std::string::npos, file.Notes()[0].find("UTM 32N")) << file.Notes()[0];
}
