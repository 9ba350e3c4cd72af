#include "simulator/operations/PositionFeed.h"

#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/simulator/Service.h"

namespace {

constexpr double kLatitude = 51.0;
constexpr double kLongitude = 7.0;
/// Metres of one degree at that latitude, from the WGS 84 radii of curvature there.
constexpr double kMetresNorth = 111247.3;
constexpr double kMetresEast = 70197.1;

/// A sample so many metres east and north of the origin.
struct Sample
{
    double east = 0.0;
    double north = 0.0;
    double speed = 2.0;
    double yaw = 0.0;
    bool valid = true;
    bool headingValid = true;
    bool reverse = false;

    std::string Record() const
    {
        char text[400];
        std::snprintf(text, sizeof text,
                      "1=%.12f;2=%.12f;3=100;4=0.25;5=%g;6=0;7=0;8=%g;9=0;10=0;11=0;12=0.01;"
                      "13=0.01;14=0.02;15=%d;16=4;17=12;18=%d;19=%d;20=1;21=1700000000.5",
                      kLatitude + north / kMetresNorth, kLongitude + east / kMetresEast, speed, yaw,
                      valid ? 1 : 0, headingValid ? 1 : 0, reverse ? 1 : 0);
        return text;
    }
};

void Feed(Service& service, const Sample& sample)
{
    service.Notify("SetPositionData", "['" + sample.Record() + "']");
}

/// Feeds a drive to the north at 2 m/s, ten samples a second.
void FeedDrive(Service& service, double fromNorth, double seconds)
{
    for (int tenth = 0; tenth < static_cast<int>(seconds * 10.0); ++tenth) {
        Sample sample;
        sample.north = fromNorth + 0.2 * tenth;
        Feed(service, sample);
        service.Advance(0.1);
    }
}

TEST(PositionFeed, MovesTheMachineToTheSamples)
{
    Service service(0.0);
    service.Notify("set_wayline_origin", "[51.0, 7.0, 100.0]");
    Sample sample;
    sample.east = 30.0;
    sample.north = 40.0;
    sample.yaw = 1.25;

    Feed(service, sample);
    service.Advance(0.1);

    const Pose pose = service.World().MeasuredPose();
    EXPECT_NEAR(30.0, pose.position.x, 0.01);
    EXPECT_NEAR(40.0, pose.position.y, 0.01);
    EXPECT_NEAR(1.25, pose.heading, 1e-4);
    EXPECT_TRUE(service.World().FedMode());
}

TEST(PositionFeed, KeepsTheLastHeightWhereNobodyKnowsIt)
{
    Service service(0.0);
    service.Notify("set_wayline_origin", "[51.0, 7.0, 100.0]");
    Sample sample;
    sample.north = 40.0;
    std::string record = sample.Record();
    record.replace(record.find("3=100"), 5, "3=nan");

    service.Notify("SetPositionData", "['" + record + "']");
    service.Advance(0.1);

    EXPECT_NEAR(40.0, service.World().MeasuredPose().position.y, 0.01);
    EXPECT_TRUE(service.World().FedMode());
}

TEST(PositionFeed, TakesTheCourseWithoutAHeading)
{
    Service service(0.0);
    Sample sample;
    sample.headingValid = false;

    Feed(service, sample);
    service.Advance(0.1);

    EXPECT_NEAR(0.25, service.World().MeasuredPose().heading, 1e-4);
}

TEST(PositionFeed, TakesTheFirstSampleForTheOriginWhenNoneIsSet)
{
    Service service(0.0);

    Feed(service, {});
    Sample second;
    second.north = 5.0;
    Feed(service, second);
    service.Advance(0.1);

    EXPECT_NEAR(5.0, service.World().MeasuredPose().position.y, 0.01);
}

TEST(PositionFeed, DropsSteeringWhenNoFreshPositionCame)
{
    Service service(0.0);
    service.Notify("set_wayline_origin", "[51.0, 7.0, 100.0]");
    service.NavigateNorth();
    FeedDrive(service, 0.0, 3.0);
    ASSERT_EQ("1", service.Request("EngageSteering", "[1]"))
        << service.Request("why_not_engaged", "[]");
    service.Advance(0.8);
    EXPECT_EQ("1", service.Request("IsSteeringEngaged", "[]"));

    service.Advance(0.5);

    EXPECT_EQ("0", service.Request("IsSteeringEngaged", "[]"));
    EXPECT_EQ("cb_engage_status [0, 0, 1, 0, 1]", service.Subscribe("cb_engage_status")[0]);
}

TEST(PositionFeed, GivesTheMachineBackAfterFiveSeconds)
{
    Service service(0.0);
    FeedDrive(service, 0.0, 1.0);
    service.Advance(4.5);
    EXPECT_TRUE(service.World().FedMode());

    service.Advance(1.0);

    EXPECT_FALSE(service.World().FedMode());
}

TEST(PositionFeed, TellsThatTheFedMachineMovesInReverse)
{
    Service service(0.0);
    Sample sample;
    sample.reverse = true;

    Feed(service, sample);
    service.Advance(0.1);

    EXPECT_EQ("cb_engage_status [0, 0, 0, 1, 0]", service.Subscribe("cb_engage_status")[0]);
}

TEST(PositionFeed, PassesOverASampleThatIsNotValid)
{
    Service service(0.0);
    Sample sample;
    sample.valid = false;

    Feed(service, sample);
    service.Advance(0.1);

    EXPECT_FALSE(service.World().FedMode());
    EXPECT_NE(std::string::npos, service.Log().find("the position is marked as not valid"))
        << service.Log();
}

TEST(PositionFeed, LogsARunOfBadSamplesOnce)
{
    Service service(0.0);
    Sample bad;
    bad.valid = false;
    const std::string line = "SetPositionData refused: the position is marked as not valid\n";

    for (int count = 0; count < 10; ++count) {
        Feed(service, bad);
    }
    EXPECT_EQ(line, service.Log());

    Feed(service, {});
    Feed(service, bad);
    EXPECT_EQ(line + line, service.Log());
}

/// A record, and why it is not taken.
struct BadRecord
{
    const char* from; ///< what stands in the good record
    const char* to;   ///< what stands in its place
    const char* logged;
};

TEST(PositionFeed, IgnoresARecordThatItCannotUse)
{
    for (const BadRecord& row :
         std::vector<BadRecord>{{"1=51.", "1=91.", "91 is no latitude"},
                                {"2=7.", "2=nan;99=7.", "nan is no longitude"},
                                {"3=100;", "3=inf;", "inf is no height"},
                                {"5=2;", "5=-nan;", "nan is no ground speed"},
                                {"5=2;", "", "no readable value stands under tag 5"},
                                {";21=1700000000.5", "", "no readable value stands under tag 21"},
                                {"16=4", "16=x", "no readable value stands under tag 16"},
                                {"8=0;", "8=inf;", "inf is no yaw"}}) {
        Service service(0.0);
        std::string record = Sample().Record();
        record.replace(record.find(row.from), std::string(row.from).size(), row.to);

        service.Notify("SetPositionData", "['" + record + "']");
        service.Advance(0.1);

        EXPECT_FALSE(service.World().FedMode()) << record;
        EXPECT_NE(std::string::npos, service.Log().find(row.logged)) << record << service.Log();
    }
}

TEST(PositionFeed, AnswersARequestThatItCannotReadWithAnError)
{
    EXPECT_EQ("error: SetPositionData: the text is no record of tag=value pairs",
              Service().Request("SetPositionData", "['hello']"));
}

TEST(PositionFeed, LeavesTheOriginForAnImpossibleOne)
{
    Service service(0.0);
    service.Notify("set_wayline_origin", "[51.0, 7.0, 100.0]");

    service.Notify("set_wayline_origin", "[91.0, 7.0, 100.0]");
    service.Notify("set_wayline_origin", "[51.0, nan, 100.0]");

    EXPECT_EQ("set_wayline_origin refused: 91 is no latitude in degrees\n"
              "set_wayline_origin refused: nan is no longitude in degrees\n",
              service.Log());
    Feed(service, {});
    service.Advance(0.1);
    EXPECT_NEAR(0.0, service.World().MeasuredPose().position.y, 0.01);
}

} // namespace
