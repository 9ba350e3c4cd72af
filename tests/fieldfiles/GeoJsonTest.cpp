#include <cmath>
#include <ctime>

#include <gtest/gtest.h>

#include "tests/fieldfiles/SampleFields.h"
#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/GeoJson.h"
#include "tools/navctl/wayline/WaylineGeoJson.h"

namespace {

std::string Collection(const std::string& features, const std::string& members = "")
{
    return R"({"type":"FeatureCollection",)" + members + R"("features":[)" + features + "]}";
}

std::string FeatureOf(const std::string& type, const std::string& coordinates,
                      const std::string& properties = "{}")
{
    return R"({"type":"Feature","properties":)" + properties + R"(,"geometry":{"type":")" + type +
           R"(","coordinates":)" + coordinates + "}}";
}

/// What reading takes of the processor, which no other process changes by much; seconds.
double SecondsToRead(const std::string& bytes)
{
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    const double start = now();
    ReadGeoJson(bytes, std::nullopt);
    return now() - start;
}

const std::string kLine = FeatureOf("LineString", "[[5,52],[5.01,52.02]]", R"({"name":"Road"})");

} // namespace

TEST(GeoJson, TakesLinesAndTheAreasBesideThem)
{
    const CFieldFile file = ReadGeoJson(
        Collection(kLine + "," +
                       FeatureOf("MultiLineString", "[[[1,2],[3,4]],[[5,6],[7,8],[9,9]]]",
                                 R"({"Name":"Two","FIELD":"South"})") +
                       "," +
                       FeatureOf("Polygon",
                                 "[[[5,52],[5.1,52],[5.1,52.2],[5,52]],"
                                 "[[5.05,52.02],[5.06,52.05],[5.06,52.02],[5.05,52.02]]]",
                                 R"({"name":"Area"})") +
                       "," + FeatureOf("MultiPolygon", "[[[[1,2],[3,2],[3,4],[1,2]]]]"),
                   R"("name":"North",)"),
        std::nullopt);
    ASSERT_EQ(2U, file.fields.size());
    const Field& north = file.fields[0];
    EXPECT_EQ("North", north.name);
    ASSERT_EQ(1U, north.lines.size());
    EXPECT_EQ(Kestrove::EWaylineTypeAB, north.lines[0].kind);
    EXPECT_EQ(52.02, north.lines[0].places[1].latitude);
    ASSERT_EQ(2U, north.boundaries.size());
    EXPECT_EQ("Area", north.boundaries[0].name);
    EXPECT_EQ(3U, north.boundaries[0].exterior.size());
    EXPECT_EQ(1U, north.boundaries[0].holes.size());
    ASSERT_EQ(2U, file.fields[1].lines.size());
    EXPECT_EQ("Two, part 2", file.fields[1].lines[1].name);
    EXPECT_EQ(Kestrove::EWaylineTypeABCurve, file.fields[1].lines[1].kind);
}

TEST(GeoJson, TakesWhatACollectionOfGeometriesHasAndNamesWhatIsLeftOut)
{
    const CFieldFile file = ReadGeoJson(
        Collection(R"({"type":"Feature","properties":null,"geometry":{"type":"GeometryCollection",)"
                   R"("geometries":[{"type":"LineString","coordinates":[[1,2],[3,4]]},)"
                   R"({"type":"Polygon","coordinates":[[[1,2],[3,2],[3,4],[1,2]]]}]}},)" +
                   FeatureOf("Point", "[1,2]")),
        std::nullopt);
    EXPECT_EQ(1U, file.LineCount());
    EXPECT_EQ(1U, file.BoundaryCount());
    ASSERT_EQ(1U, file.Notes().size());
    EXPECT_EQ("feature 2: a Point is left out", file.Notes()[0]);
}

TEST(GeoJson, KeepsALineThatCannotBeUsedByItsNameAndReadsTheRest)
{
    const CFieldFile file = ReadGeoJson(
        Collection(FeatureOf("LineString", "[[1,2]]", R"({"name":"Short"})") + "," +
                   FeatureOf("LineString", "[[1,2],[3,99]]", R"({"name":"Far"})") + "," +
                   FeatureOf("LineString", "[[1,2],[3,4]]", R"({"kind":"drain"})") + "," + kLine),
        std::nullopt);
    EXPECT_EQ(1U, file.LineCount());
    ASSERT_EQ(3U, file.refused.size());
    EXPECT_EQ("Short", file.refused[0].name);
    EXPECT_EQ("Far", file.refused[1].name);
    EXPECT_NE(std::string::npos, file.refused[2].reason.find("\"drain\""));
    const CFieldFile asked =
        ReadGeoJson(FeatureOf("LineString", "[[1,2],[3,4]]", R"({"kind":"drain"})"),
                    Kestrove::EWaylineTypeSpline);
    EXPECT_EQ(Kestrove::EWaylineTypeSpline, OnlyLine(asked).kind);
}

TEST(GeoJson, RefusesAnotherReferenceSystemByItsName)
{
    const auto withSystem = [](const std::string& name) {
        return Collection(kLine,
                          R"("crs":{"type":"name","properties":{"name":")" + name + R"("}},)");
    };
    for (const char* const name : {"urn:ogc:def:crs:OGC:1.3:CRS84", "EPSG:4326"}) {
        EXPECT_EQ(1U, ReadGeoJson(withSystem(name), std::nullopt).LineCount()) << name;
    }
    const std::string name = "urn:ogc:def:crs:EPSG::25832";
    const std::string problem = ProblemOf([&] { ReadGeoJson(withSystem(name), std::nullopt); });
    EXPECT_NE(std::string::npos, problem.find(name)) << problem;
}

TEST(GeoJson, TakesTheParametersOfAWaylineBeforeItsOutline)
{
    const GeodeticPlace origin{48.5, 11.25, 520.0};
    const CLocalFrame frame(origin);
    WaylineList list;
    for (const Kestrove::EWaylineType kind :
         {Kestrove::EWaylineTypeCircle, Kestrove::EWaylineTypeAHeading}) {
        WaylineContent content;
        content.kind = kind;
        content.heading = kind == Kestrove::EWaylineTypeAHeading ? 2.5 : 0.0;
        content.points = {{3000.5, 4000.25, 0.0}, {3050.0, 4060.0, 0.0}, {3120.0, 4010.0, 0.0}};
        if (kind == Kestrove::EWaylineTypeAHeading) {
            content.points.resize(1, {0.0, 0.0, 0.0});
        }
        list.entries.push_back({1, content, ""});
    }
    std::string text;
    WriteWaylineGeoJson(list, origin, true, [&text](const std::string& piece) { text += piece; });
    const CFieldFile file = ReadGeoJson(text, std::nullopt);
    ASSERT_EQ(2U, file.LineCount());
    for (std::size_t i = 0; i < 2; ++i) {
        const FieldLine expected = FromWayline(list.entries[i].content, frame);
        EXPECT_LT(Apart(expected, file.fields[0].lines[i]), 1e-6) << i;
    }
}

TEST(GeoJson, ReadsNoMoreValuesThanItsMemoryHolds)
{
    std::string values = "0";
    for (int i = 0; i < 6000000; ++i) {
        values += ",0";
    }
    const std::string problem =
        ProblemOf([&] { ReadGeoJson(Collection("", "\"x\":[" + values + "],"), std::nullopt); });
    EXPECT_EQ("it has more values than are read", problem);
}

TEST(GeoJson, TakesNoMoreTimeForAFeatureOfMany)
{
    const auto withFeatures = [](int count) {
        std::string features = kLine;
        for (int i = 1; i < count; ++i) {
            features += "," + kLine;
        }
        return Collection(features);
    };
    const auto withMembers = [](int count) {
        std::string members;
        for (int i = 0; i < count; ++i) {
            members += "\"m" + std::to_string(i) + "\":0,";
        }
        return Collection(kLine, members);
    };
    constexpr int kFew = 4000;
    constexpr int kTimes = 16;
    constexpr double kMostTimes = 5.0 * kTimes; // it would be the square of it
    EXPECT_LT(SecondsToRead(withFeatures(kTimes * kFew)),
              kMostTimes * SecondsToRead(withFeatures(kFew)));
    EXPECT_LT(SecondsToRead(withMembers(kTimes * kFew)),
              kMostTimes * SecondsToRead(withMembers(kFew)));
}

TEST(GeoJson, TakesTheLastOfSeveralMembersOfAName)
{
    const std::string twice = R"({"type":"Feature","type":"Feature","properties":{"name":"First",)"
                              R"("kind":"spline","name":"Second"},"geometry":null,"geometry":)"
                              R"({"type":"LineString","coordinates":[[1,2],[3,4]]}})";
    const FieldLine line = OnlyLine(ReadGeoJson(Collection(twice), std::nullopt));
    EXPECT_EQ("Second", line.name);
    EXPECT_EQ(Kestrove::EWaylineTypeSpline, line.kind);
}

TEST(GeoJson, NamesWhereItStopsBeingJsonAndWhatIsTooLargeOrTooDeep)
{
    const auto problemOf = [](const std::string& bytes) {
        return ProblemOf([&] { ReadGeoJson(bytes, std::nullopt); });
    };
    EXPECT_EQ(0U, problemOf("{\"type\":\n\n1,}").find("line 3, byte 13: this is no JSON"));
    EXPECT_EQ("there is a number in it that is too large", problemOf(R"({"type":1e999})"));
    const std::string deep = std::string(64, '[') + std::string(64, ']');
    const std::string named = R"("x":)" + deep + ",";
    EXPECT_EQ("no problem", problemOf(Collection(kLine, named)));
    EXPECT_EQ("it is nested deeper than 64 levels",
              problemOf(Collection(kLine, R"("x":[)" + deep + "],")));
}
