#include "tools/navctl/wayline/WaylineCsv.h"

#include <gtest/gtest.h>

#include "tests/navctl/files/Pipe.h"
#include "tests/navctl/files/WaylineLists.h"

namespace {

WaylineList Read(const std::string& content, const WaylineReading& reading = {})
{
    const CPipe pipe(content);
    CLineReader lines(pipe.Descriptor(), 10000);
    return ReadWaylineCsv(lines, reading);
}

WaylineContent Curve(std::vector<WaylinePoint> points, const std::string& name = {})
{
    return {Kestrove::EWaylineTypeABCurve, std::move(points), 0.0, name};
}

} // namespace

TEST(WaylineCsv, ReadsPointsUnderNamedColumns)
{
    const WaylineList list = Read("\xEF\xBB\xBFid,X_m,y,z\r\n1,10,20,30\r\n2,11,21,31\r\n");
    ASSERT_TRUE(list.problems.empty()) << list.problems[0];
    ASSERT_EQ(1U, list.entries.size());
    EXPECT_TRUE(list.entries[0].content == Curve({{10, 20, 30}, {11, 21, 31}}));
}

TEST(WaylineCsv, ReadsAWaylineARowWithItsName)
{
    const WaylineList list = Read("north,0,0,0,10,0,0\n\"south, low\",0,5,0,10,5,0\n");
    ASSERT_TRUE(list.problems.empty()) << list.problems[0];
    ASSERT_EQ(2U, list.entries.size());
    EXPECT_EQ("south, low", list.entries[1].content.name);
    EXPECT_TRUE(list.entries[1].content == Curve({{0, 5, 0}, {10, 5, 0}}));
}

TEST(WaylineCsv, PlacesLatitudeAndLongitudeInTheFrame)
{
    WaylineReading reading;
    reading.origin = GeodeticPlace{48.0, 11.0, 500.0};
    reading.kind = Kestrove::EWaylineTypeAB;
    const WaylineList list = Read("latitude,longitude\n48,11\n48.001,11\n", reading);
    ASSERT_TRUE(list.problems.empty()) << list.problems[0];
    const auto& points = list.entries[0].content.points;
    EXPECT_NEAR(0.0, points[0].y, 1e-9);
    EXPECT_NEAR(111.2, points[1].y, 0.1);
    EXPECT_EQ(0.0, points[1].z);
}

TEST(WaylineCsv, TellsWhatIsWrongWithItsLine)
{
    const struct
    {
        const char* content;
        const char* problem;
    } rows[] = {
        {"a,b\n", "line 1: there are neither columns x and y nor"},
        {"x;y\n1;2\n", "not by semicolons"},
        {"x\ty\n", "not by tabs"},
        {"x,z\n1,2\n", "line 1: there are neither"},
        {"latitude,longitude\n1,2\n", "line 1: latitude and longitude need the origin"},
        {"x,y\n1,2\n1\n", "line 3: 1 values for 2 columns"},
        {"x,y\n1,2\n1,b\n", "line 3: \"b\" is no finite number"},
        {"x,y\n1,nan\n", "line 2: \"nan\" is no finite number"},
        {"x,y\n1,\"2\n", "line 2: a double quote is not closed"},
        {"n,0,0,0,1,1\n", "line 1: 6 values are no name followed by x, y, z"},
        {"n,0,0,0,1,1,0\nm,0,0,x\n", "line 2: value 4, \"x\", is no finite number"},
    };
    for (const auto& row : rows) {
        const WaylineList list = Read(row.content);
        ASSERT_EQ(1U, list.problems.size()) << row.content;
        EXPECT_NE(std::string::npos, list.problems[0].find(row.problem))
            << row.content << ": " << list.problems[0];
    }
}

TEST(WaylineCsv, WantsAsManyPointsAsTheKindHas)
{
    WaylineReading reading;
    reading.kind = Kestrove::EWaylineTypeCircle;
    const WaylineList list = Read("x,y\n0,0\n1,1\n", reading);
    ASSERT_EQ(1U, list.problems.size());
    EXPECT_EQ("line 2: the kind circle has 3 points, here are 2", list.problems[0]);
}

TEST(WaylineCsv, WritesOneWaylineAsPointsAndSeveralAsRows)
{
    std::string csv;
    EXPECT_EQ("", WriteWaylineCsv(ListOf({Curve({{0.1, 2, 3}, {4, 5, 6}})}), csv));
    EXPECT_EQ("x,y,z\n0.1,2,3\n4,5,6\n", csv);
    EXPECT_EQ("", WriteWaylineCsv(ListOf({Curve({{1, 2, 3}}, "a,b"), Curve({{4, 5, 6}})}), csv));
    EXPECT_EQ("\"a,b\",1,2,3\nwayline-2,4,5,6\n", csv);
}

TEST(WaylineCsv, KeepsEveryDigit)
{
    const WaylineContent curve =
        Curve({{24001.081798680512, 2643.388529260177, 1.0 / 3.0}, {-0.1, 1e-9, 1e15}});
    std::string csv;
    ASSERT_EQ("", WriteWaylineCsv(ListOf({curve}), csv));
    EXPECT_TRUE(Read(csv).entries.at(0).content == curve) << csv;
}

TEST(WaylineCsv, RefusesWhatItCannotCarry)
{
    const WaylineContent heading{Kestrove::EWaylineTypeAHeading, {{0, 0, 0}}, 1.0, {}};
    const WaylineContent path{Kestrove::EWaylineTypePath, {}, 0.0, {}};
    const WaylineContent replay{Kestrove::EWaylineTypeReplay, {}, 0.0, {}};
    const WaylineContent ab{Kestrove::EWaylineTypeAB, {{0, 0, 0}, {1, 1, 0}}, 0.0, {}};
    const struct
    {
        std::vector<WaylineContent> contents;
        const char* problem;
    } rows[] = {
        {{heading}, "no place for the heading"},
        {{path}, "a path has no points"},
        {{replay}, "a replay has no points"},
        {{ab, Curve({{0, 0, 0}})}, "do not name their kind"},
    };
    for (const auto& row : rows) {
        std::string csv;
        const std::string problem = WriteWaylineCsv(ListOf(row.contents), csv);
        EXPECT_NE(std::string::npos, problem.find(row.problem)) << row.problem << ": " << problem;
    }
}
