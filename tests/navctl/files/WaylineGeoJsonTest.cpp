#include "tools/navctl/wayline/WaylineGeoJson.h"

#include <cmath>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/navctl/files/WaylineLists.h"
#include "tools/navctl/wayline/WaylineText.h"

namespace {

const GeodeticPlace kOrigin{48.5, 11.25, 520.0};

std::string Feature(const std::string& properties, const std::string& geometry)
{
    return R"({"type":"Feature","properties":)" + properties + R"(,"geometry":)" + geometry + "}";
}

const std::string kTwoPoints =
    R"({"type":"LineString","coordinates":[[11.25,48.5,520],[11.25,48.501,520]]})";

WaylineContent FromText(const std::string& text)
{
    std::string problem;
    return ReadWaylineText(text, problem).value();
}

std::string Written(const WaylineList& list, const GeodeticPlace& origin, bool isOneLine = false)
{
    std::string text;
    WriteWaylineGeoJson(list, origin, isOneLine,
                        [&text](const std::string& piece) { text += piece; });
    return text;
}

} // namespace

TEST(WaylineGeoJson, BringsEveryKindBackAsItWas)
{
    for (const std::string text : {
             "0 1.25 2.5 -3 400.123456 5 6",
             "1 1 2 3 0.523598",
             "2 50 0 0 0 50 0 -50 0 1",
             "2 0 0 0 1 1 0 2 2 0",
             "3 3 0 0 0 100.000001 0 0 100 -200.123456 4",
             "4 2 0 0 0 -0.000001 1000 12.5",
             "5",
             "6",
         }) {
        const WaylineContent content = FromText(text);
        const WaylineList back = ReadWaylineGeoJson(Written(ListOf({content}), kOrigin), {});
        ASSERT_TRUE(back.problems.empty()) << text << ": " << back.problems[0];
        ASSERT_EQ(1U, back.entries.size()) << text;
        EXPECT_EQ(WriteWaylineText(content), WriteWaylineText(back.entries[0].content));
    }
}

TEST(WaylineGeoJson, KeepsEveryBitOfAFixedKind)
{
    const WaylineContent line{
        Kestrove::EWaylineTypeAHeading, {{1.0 / 3.0, 1e-17, -2.0 / 3.0}}, std::sqrt(2.0), "north"};
    const WaylineList back = ReadWaylineGeoJson(Written(ListOf({line}), kOrigin), {});
    ASSERT_TRUE(back.problems.empty()) << back.problems[0];
    EXPECT_TRUE(back.entries.at(0).content == line);
    EXPECT_EQ("north", back.entries[0].content.name);
}

TEST(WaylineGeoJson, IsTheSameOnOneLine)
{
    const WaylineList list =
        ListOf({FromText("0 0 0 0 0 100 0"), FromText("5"), FromText("4 3 0 0 0 10 20 0 30 40 0")});
    const std::string line = Written(list, kOrigin, true);
    EXPECT_EQ(line.size() - 1, line.find('\n'));
    EXPECT_EQ(nlohmann::json::parse(line), nlohmann::json::parse(Written(list, kOrigin)));
}

TEST(WaylineGeoJson, PutsLongitudeFirst)
{
    const auto file =
        nlohmann::json::parse(Written(ListOf({FromText("0 0 0 0 0 100 0")}), kOrigin));
    const auto& first = file["features"][0]["geometry"]["coordinates"][0];
    EXPECT_NEAR(11.25, first[0].get<double>(), 1e-9);
    EXPECT_NEAR(48.5, first[1].get<double>(), 1e-9);
    EXPECT_NEAR(520.0, first[2].get<double>(), 1e-6);
}

TEST(WaylineGeoJson, MovesALineIntoTheFrameThatIsAskedFor)
{
    const std::string file =
        Written(ListOf({FromText("0 0 0 0 0 100 0"), FromText("1 0 0 0 0")}), kOrigin);
    WaylineReading reading;
    reading.origin = GeodeticPlace{48.501, 11.25, 520.0};
    const WaylineList list = ReadWaylineGeoJson(file, reading);
    ASSERT_TRUE(list.problems.empty()) << list.problems[0];
    EXPECT_NEAR(-111.2, list.entries[0].content.points[0].y, 0.1);
    EXPECT_NEAR(-11.2, list.entries[0].content.points[1].y, 0.1);
    EXPECT_NEAR(0.0, std::sin(list.entries[1].content.heading), 1e-6);
}

TEST(WaylineGeoJson, ReadsALineStringOfOtherMakers)
{
    WaylineReading reading;
    reading.origin = kOrigin;
    for (const std::string& file :
         {kTwoPoints, Feature("null", kTwoPoints), Feature("{}", kTwoPoints),
          R"({"type":"FeatureCollection","features":[)" + Feature("{}", kTwoPoints) + "]}"}) {
        const WaylineList list = ReadWaylineGeoJson(file, reading);
        ASSERT_TRUE(list.problems.empty()) << file << ": " << list.problems[0];
        ASSERT_EQ(1U, list.entries.size()) << file;
        EXPECT_EQ(Kestrove::EWaylineTypeABCurve, list.entries[0].content.kind);
        EXPECT_NEAR(111.2, list.entries[0].content.points.at(1).y, 0.1);
    }
    reading.kind = Kestrove::EWaylineTypeAB;
    EXPECT_EQ(Kestrove::EWaylineTypeAB,
              ReadWaylineGeoJson(kTwoPoints, reading).entries.at(0).content.kind);
}

TEST(WaylineGeoJson, TellsWhatIsWrong)
{
    const std::string moved =
        R"({"kind":"ab","origin":{"latitude":48.5,"longitude":11.25,"height":520},)"
        R"("pointA":[0,0,0],"pointB":[0,5,0]})";
    const struct
    {
        std::string file;
        const char* problem;
    } rows[] = {
        {"", "this is no JSON"},
        {"{\"type\":", "byte 9: this is no JSON"},
        {"0 1 2 3 4 5 6", "this is no JSON"},
        {"[]", "it is no GeoJSON with features"},
        {"{}", "it is no GeoJSON with features"},
        {R"({"type":"Topology"})", "its type is \"Topology\""},
        {R"({"type":"FeatureCollection"})", "no array of features"},
        {Feature("{}", R"({"type":"Polygon","coordinates":[]})"), "no LineString but \"Polygon\""},
        {Feature("{}", R"({"type":"LineString"})"), "the LineString has no coordinates"},
        {Feature("{}", R"({"type":"LineString","coordinates":[[1]]})"), "a position is no array"},
        {Feature("{}", R"({"type":"LineString","coordinates":[["a",1]]})"),
         "a longitude is no number"},
        {Feature("{}", R"({"type":"LineString","coordinates":[[1,95]]})"), "not within -90 to 90"},
        {Feature(R"({"kind":"ellipse"})", kTwoPoints), "\"ellipse\", is no kind of wayline"},
        {Feature(R"({"kind":"circle"})", kTwoPoints), "the kind circle has 3 points, here are 2"},
        {Feature(R"({"kind":7})", kTwoPoints), "7, is no kind of wayline"},
        {Feature(moved, kTwoPoints), "its geometry is not where its parameters say"},
    };
    WaylineReading reading;
    reading.origin = kOrigin;
    for (const auto& row : rows) {
        const WaylineList list = ReadWaylineGeoJson(row.file, reading);
        ASSERT_EQ(1U, list.problems.size()) << row.file;
        EXPECT_NE(std::string::npos, list.problems[0].find(row.problem))
            << row.file << ": " << list.problems[0];
    }
}

TEST(WaylineGeoJson, ReadsEachPartOfAMultiLineStringAndPassesAreasOver)
{
    WaylineReading reading;
    reading.origin = kOrigin;
    const std::string area =
        R"({"type":"Feature","properties":{},"geometry":{"type":"Polygon","coordinates":[[]]}})";
    const std::string lines = Feature(
        R"({"name":"Road"})",
        R"({"type":"MultiLineString","coordinates":[[[11,48],[11,49]],[[12,48],[12,49],[13,50]]]})");
    const WaylineList list = ReadWaylineGeoJson(
        R"({"type":"FeatureCollection","features":[)" + area + "," + lines + "]}", reading);
    EXPECT_TRUE(list.problems.empty());
    ASSERT_EQ(2U, list.entries.size());
    EXPECT_EQ(1U, list.entries[0].number);
    EXPECT_EQ(2U, list.entries[1].number);
    EXPECT_EQ("Road, part 1", list.entries[0].content.name);
    EXPECT_EQ("Road, part 2", list.entries[1].content.name);
    EXPECT_EQ(3U, list.entries[1].content.points.size());
}

TEST(WaylineGeoJson, WantsAnOriginWhereTheFileTellsNone)
{
    const WaylineList list = ReadWaylineGeoJson(kTwoPoints, {});
    ASSERT_EQ(1U, list.problems.size());
    EXPECT_NE(std::string::npos, list.problems[0].find("--origin")) << list.problems[0];
}
