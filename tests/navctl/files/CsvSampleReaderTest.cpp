#include "tools/navctl/feed/CsvSampleReader.h"

#include <vector>

#include <gtest/gtest.h>

#include "tests/navctl/files/Pipe.h"
#include "tools/navctl/files/Angle.h"

namespace {

/// A reader with all that it stands on.
struct Reader
{
    explicit Reader(const std::string& content, const CsvSampleOptions& options = {})
        : pipe(content), lines(pipe.Descriptor(), 1000), csv(lines, options)
    {
        PositionSample sample;
        while ((last = csv.Next(sample, 1000)) == ESample::Sample) {
            samples.push_back(sample);
        }
    }

    CPipe pipe;
    CLineReader lines;
    CCsvSampleReader csv;
    ESample last = ESample::End;
    std::vector<PositionSample> samples;
};

CsvSampleOptions InAPlane()
{
    CsvSampleOptions options;
    options.origin = GeodeticPlace{48.0, 11.0, 500.0};
    options.interval = 0.5;
    options.startTime = 1000.0;
    return options;
}

} // namespace

TEST(CsvSampleReader, ReadsNamedColumnsInAnyOrder)
{
    const Reader reader("speed,Time_s,latitude,longitude,height_m,heading_deg,valid,satellites\n"
                        "2.5,100,48.5,-11.25,500,90,1,9\n");
    ASSERT_EQ(1U, reader.samples.size()) << reader.csv.Problem();
    const PositionSample& sample = reader.samples[0];
    EXPECT_EQ(48.5, sample.latitude);
    EXPECT_EQ(-11.25, sample.longitude);
    EXPECT_EQ(500.0, sample.height);
    EXPECT_EQ(2.5, sample.speed);
    EXPECT_EQ(100.0, sample.time);
    EXPECT_NEAR(kPi / 2.0, sample.yaw.value(), 1e-12);
    EXPECT_EQ(9, sample.satellites);
    EXPECT_FALSE(sample.course.has_value());
}

TEST(CsvSampleReader, PlacesThePlaneAtItsOrigin)
{
    const Reader reader("id,x,y,theta\n0,0,0,0\n1,0,1000,1.5707963267948966\n", InAPlane());
    ASSERT_EQ(2U, reader.samples.size()) << reader.csv.Problem();
    EXPECT_NEAR(48.0, reader.samples[0].latitude, 1e-12);
    EXPECT_NEAR(500.0, reader.samples[0].height.value(), 1e-6);
    EXPECT_NEAR(kPi / 2.0, reader.samples[0].yaw.value(), 1e-9) << "theta 0 is east";
    // A degree of latitude has 111.2 km here.
    EXPECT_NEAR(48.0 + 1.0 / 111.2, reader.samples[1].latitude, 1e-5);
    EXPECT_NEAR(0.0, SmallestTurn(0.0, reader.samples[1].yaw.value()), 1e-6) << "north";
    EXPECT_EQ(1000.0, reader.samples[0].time);
    EXPECT_EQ(1000.5, reader.samples[1].time);
    EXPECT_EQ("columns that are not used: id", reader.csv.Remark());
}

TEST(CsvSampleReader, TellsWhatAFileLacks)
{
    const struct
    {
        std::string content;
        const char* problem;
    } rows[] = {
        {"", "the file is empty"},
        {"\n\n", "there is no line that names the columns; found: 2 empty lines"},
        {"# a\n", "there is no line that names the columns; found: 1 comment"},
        {"# a\n\n# b\n", "found: 2 comments, 1 empty line"},
        {"time,speed\n", "line 1 names the columns, but there are neither"},
        {std::string(5000, '\0'), "there is no line that names the columns"},
        {"latitude,time\n", "line 1 names the columns, but there is no longitude"},
        {"time;latitude;longitude\n", "not by semicolons"},
        {"time\tlatitude\tlongitude\n", "not by tabs"},
        {"x,y,time\n", "--origin"},
        {"latitude,longitude\n", "--interval"},
        {"\"latitude,longitude\n", "a double quote is not closed"},
        {"1,2,3\n", "line 1 does not name the columns"},
        {"# a\n$GPGGA,1\n", "line 2 does not name the columns"},
    };
    for (const auto& row : rows) {
        const Reader reader(row.content);
        EXPECT_EQ(ESample::Failed, reader.last) << row.content;
        EXPECT_NE(std::string::npos, reader.csv.Problem().find(row.problem))
            << row.content << ": " << reader.csv.Problem();
    }
}

TEST(CsvSampleReader, CountsRowsThatAreBrokenAndReadsTheRest)
{
    const struct
    {
        const char* row;
        const char* reason;
    } rows[] = {
        {"2,48.0", "too few columns"},
        {"2,48.0,11.0,1,1", "too many columns"},
        {"2;48.0;11.0;1", "too few columns"},
        {"2,48x,11.0,1", "bad number: latitude"},
        {"2,,11.0,1", "no latitude"},
        {"x,48.0,11.0,1", "bad number: time, which must be in seconds"},
        {"2,48.0,11.0,fast", "bad number: speed"},
        {"2,48.0,nan,1", "bad number: longitude"},
        {"2,98.0,11.0,1", "no place on the earth"},
        {"1,48.0,11.0,1", "time does not advance"},
        {"2,\"48.0,11.0,1", "a double quote is not closed"},
    };
    for (const auto& row : rows) {
        const Reader reader("\xEF\xBB\xBFtime,latitude,longitude,speed\r\n1,48.0,11.0,1\r\n" +
                            std::string(row.row) + "\r\n\r\n3,48.0,11.0,1\r\n");
        EXPECT_EQ(2U, reader.samples.size()) << row.row;
        EXPECT_EQ(1U, reader.csv.Skipped().Reasons().count(row.reason))
            << row.row << " is to be: " << row.reason;
        EXPECT_EQ(1U, reader.csv.Skipped().Total()) << row.row;
    }
}

TEST(CsvSampleReader, SkipsATimeThatGoesBackAlsoOnAStream)
{
    CsvSampleOptions options;
    options.timeIsOfArrival = true;
    const Reader reader("time,latitude,longitude\n1,48,11\n1,48,11\n2,48,11\n0.5,48,11\n", options);
    ASSERT_EQ(2U, reader.samples.size());
    EXPECT_FALSE(reader.samples[0].timeIsOfArrival);
    EXPECT_EQ(2U, reader.csv.Skipped().Reasons().at("time does not advance").count);
}

TEST(CsvSampleReader, MarksTimesOfArrival)
{
    CsvSampleOptions options;
    options.timeIsOfArrival = true;
    options.clock = [] { return 7.0; };
    const Reader reader("latitude,longitude\n48,11\n48,11\n", options);
    ASSERT_EQ(2U, reader.samples.size());
    EXPECT_TRUE(reader.samples[1].timeIsOfArrival);
    EXPECT_EQ(7.0, reader.samples[1].time);
}

TEST(CsvSampleReader, GoesOnBehindATimeThatWasFarAhead)
{
    const Reader reader("time,latitude,longitude\n1,48,11\n1e9,48,11\n2,48,11\n3,48,11\n4,48,11\n"
                        "4,48,11\n5,48,11\n6,48,11\n7,48,11\n8,48,11\n9,48,11\n10,48,11\n");
    ASSERT_EQ(5U, reader.samples.size()) << "a time that is told twice begins the count again";
    EXPECT_EQ(8.0, reader.samples[2].time);
    EXPECT_TRUE(reader.samples[2].startsAnew);
    EXPECT_FALSE(reader.samples[3].startsAnew);
    EXPECT_EQ(7U, reader.csv.Skipped().Reasons().at("time does not advance").count);
}

TEST(CsvSampleReader, KeepsTheTimeOfARowThatIsBroken)
{
    const Reader reader("x,y\n0,0\n?,0\n1,0\n", InAPlane());
    ASSERT_EQ(2U, reader.samples.size());
    EXPECT_EQ(1001.0, reader.samples[1].time);
}

TEST(CsvSampleReader, LeavesOutAValueThatIsEmpty)
{
    const Reader reader("time,latitude,longitude,speed\n1,48,11,\n");
    ASSERT_EQ(1U, reader.samples.size());
    EXPECT_FALSE(reader.samples[0].speed.has_value());
}
