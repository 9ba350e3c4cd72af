#include "simulator/operations/WaylineOperations.h"

#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/simulator/Service.h"
#include "tests/simulator/Values.h"

namespace {

const char* const kLineNorth = "[0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]";

/// "cb_wayline_status": complete, recorded, navigation active, kind, length.
std::string Status(const Service& service)
{
    const std::string name = "cb_wayline_status ";
    return service.Subscribe("cb_wayline_status")[0].substr(name.size());
}

TEST(WaylineOperations, GiveBackEachKindThatWasSet)
{
    for (const char* form : {kLineNorth, "[1, 1.0, 2.0, 0.0, 0.5]",
                             "[2, 0.0, 0.0, 0.0, 20.0, 20.0, 0.0, 40.0, 0.0, 0.0]",
                             "[3, 3, 0.0, 0.0, 0.0, 5.0, 50.0, 0.0, 0.0, 100.0, 0.0]",
                             "[4, 3, 0.0, 0.0, 0.0, 5.0, 50.0, 0.0, 0.0, 100.0, 0.0]"}) {
        Service service;

        EXPECT_EQ("1", service.Request("set_wayline", form));

        EXPECT_EQ(form, service.Request("get_wayline", "[]"));
        EXPECT_EQ("1", service.Request("StartNavigation", "[1, 0]")) << form;
    }
}

/// A list that is not a wayline, or one without a shape.
struct NoWayline
{
    const char* form;
    const char* logged;
};

TEST(WaylineOperations, KeepThePresentWaylineForAListThatMakesNone)
{
    for (const NoWayline& row :
         std::vector<NoWayline>{{"[]", "code of a kind"},
                                {"[0.0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]", "code of a kind"},
                                {"['0', 1.0]", "code of a kind"},
                                {"[-1]", "kind -1"},
                                {"[7]", "kind 7"},
                                {"[0, 0.0, 0.0, 0.0, 0.0, 100.0]", "6 elements"},
                                {"[0, 0.0, 0.0, 0.0, 0.0, 'x', 0.0]", "element 5 is no number"},
                                {"[0, 0.0, 0.0, 0.0, 0.0, nan, 0.0]", ""},
                                {"[0, 0.0, 0.0, 0.0, 0.0, 100.0, inf]", "element 6 is inf"},
                                {"[0, 0.0, 0.0, nan, 0.0, 100.0, 0.0]", "element 3 is nan"},
                                {"[1, 0.0, 0.0, -inf, 0.5]", "element 3 is -inf"},
                                {"[4, 2, 0.0, 0.0, nan, 0.0, 9.0, 0.0]", "element 4 is nan"},
                                {"[0, 5.0, 5.0, 0.0, 5.0, 5.0, 0.0]", ""},
                                {"[2, 0.0, 0.0, 0.0, 1.0, 1.0, 0.0, 2.0, 2.0, 0.0]", ""},
                                {"[3, 2, 0.0, 0.0, 0.0, 1.0]", "2 points are announced, and 1"},
                                {"[4, 0]", "an A-B curve without points is no line"},
                                {"[3, 0]", "a spline without points is no line"},
                                {"[4, -1, 0.0]", "-1 points"},
                                {"[4]", "the number of points, which is missing"},
                                {"[3, 0.0, 0.0, 0.0, 9.0, 0.0, 0.0]", "which is missing"},
                                {"[4, 90.0, 0.0, 0.0, 9.0, 0.0, 0.0]", "which is missing"},
                                {"[4, 2000000000, 0.0, 0.0, 0.0]", "2000000000 points"},
                                {"[4, 1, 0.0, 0.0, 0.0]", ""},
                                {"[5]", "no recorded drive"},
                                {"[6]", "no recorded drive"}}) {
        Service service;
        service.Request("set_wayline", kLineNorth);

        EXPECT_EQ("0", service.Request("set_wayline", row.form)) << row.form;

        EXPECT_EQ(kLineNorth, service.Request("get_wayline", "[]")) << row.form;
        EXPECT_EQ(0u, service.Log().find("set_wayline refused: ")) << row.form << service.Log();
        EXPECT_NE(std::string::npos, service.Log().find(row.logged)) << service.Log();
    }
}

TEST(WaylineOperations, ClearTheWayline)
{
    Service service;
    service.NavigateNorth();
    service.Request("EngageSteering", "[1]");

    EXPECT_EQ("1", service.Request("clear_wayline", "[]"));

    EXPECT_EQ("nil", service.Request("get_wayline", "[]"));
    EXPECT_EQ("0", service.Request("IsSteeringEngaged", "[]"));
    EXPECT_EQ("0", service.Request("IsNavigationActivated", "[]"));
    EXPECT_EQ("0", service.Request("clear_wayline", "[]"));
}

/// A kind that waypoints complete.
struct Completion
{
    const char* kind;
    std::vector<const char*> waypoints;
    const char* form;
};

TEST(WaylineOperations, CompleteAWaylineWithItsLastWaypoint)
{
    for (const Completion& row : std::vector<Completion>{
             {"[0]",
              {"[0, 0.0, 1.0, 2.0, 0.0]", "[1, 3.0, 40.0, 5.0, 0.0]"},
              "[0, 0.0, 1.0, 2.0, 3.0, 40.0, 5.0]"},
             {"[1]", {"[0, 0.0, 1.0, 2.0, 0.5]"}, "[1, 0.0, 1.0, 2.0, 0.5]"},
             {"[2]",
              {"[0, 0.0, 0.0, 0.0, 0.0]", "[1, 20.0, 20.0, 0.0, 0.0]", "[2, 40.0, 0.0, 0.0, 0.0]"},
              "[2, 0.0, 0.0, 0.0, 20.0, 20.0, 0.0, 40.0, 0.0, 0.0]"}}) {
        Service service;
        EXPECT_EQ("1", service.Request("start_wayline", row.kind));
        for (const char* waypoint : row.waypoints) {
            EXPECT_EQ("nil", service.Request("get_wayline", "[]")) << waypoint;
            EXPECT_EQ("1", service.Request("set_waypoint", waypoint));
        }

        EXPECT_EQ(row.form, service.Request("get_wayline", "[]"));
    }
}

TEST(WaylineOperations, RefuseAWaypointThatMakesNoLine)
{
    Service service;
    service.Request("start_wayline", "[0]");
    service.Request("set_waypoint", "[0, 5.0, 5.0, 0.0, 0.0]");

    EXPECT_EQ("0", service.Request("set_waypoint", "[1, 5.0, 5.0, 0.0, 0.0]"));

    EXPECT_EQ("0", service.Request("is_waypoint_set", "[1]"));
    EXPECT_EQ("nil", service.Request("get_wayline", "[]"));
}

TEST(WaylineOperations, RefuseAWaypointThatThereIsNot)
{
    Service service;

    EXPECT_EQ("0", service.Request("set_waypoint", "[3, 0.0, 0.0, 0.0, 0.0]"));
    EXPECT_EQ("0", service.Request("set_waypoint", "[-1, 0.0, 0.0, 0.0, 0.0]"));
    EXPECT_EQ("0", service.Request("set_waypoint", "[0, nan, 0.0, 0.0, 0.0]"));

    EXPECT_EQ("set_waypoint refused: 3 is no waypoint, allowed is 0 to 2\n"
              "set_waypoint refused: -1 is no waypoint, allowed is 0 to 2\n"
              "set_waypoint refused: nan is no finite number\n",
              service.Log());
    EXPECT_EQ("0", service.Request("is_waypoint_set", "[-1]"));
    EXPECT_EQ("0", service.Request("is_waypoint_set", "[2147483647]"));
}

TEST(WaylineOperations, RefuseToStartAKindThatThereIsNot)
{
    Service service;
    service.Request("set_wayline", kLineNorth);

    for (const char* kind : {"[-1]", "[7]", "[2147483647]", "[6]"}) {
        EXPECT_EQ("0", service.Request("start_wayline", kind)) << kind;
    }

    EXPECT_EQ(kLineNorth, service.Request("get_wayline", "[]"));
}

TEST(WaylineOperations, RestoreTheWaypointsBeforeTheLastChange)
{
    Service service;
    service.Request("start_wayline", "[0]");
    service.Request("set_waypoint", "[0, 0.0, 0.0, 0.0, 0.0]");
    service.Request("set_waypoint", "[1, 0.0, 50.0, 0.0, 0.0]");
    service.Request("set_waypoint", "[1, 0.0, 80.0, 0.0, 0.0]");

    EXPECT_EQ("2", service.Request("RestoreWaypoints", "[1]"));
    EXPECT_EQ("[0, 0.0, 0.0, 0.0, 0.0, 50.0, 0.0]", service.Request("get_wayline", "[]"));

    EXPECT_EQ("1", service.Request("RestoreWaypoints", "[1]"));
    EXPECT_EQ("0", service.Request("is_waypoint_set", "[1]"));
    EXPECT_EQ("nil", service.Request("get_wayline", "[]"));
}

TEST(WaylineOperations, RestoreWaypointsThatWereCleared)
{
    Service service;
    service.Request("start_wayline", "[1]");
    service.Request("set_waypoint", "[0, 1.0, 2.0, 3.0, 0.5]");
    service.Request("ClearNavigation", "[]");
    EXPECT_EQ("0", service.Request("is_waypoint_set", "[0]"));

    EXPECT_EQ("1", service.Request("RestoreWaypoints", "[1]"));

    EXPECT_EQ("1", service.Request("is_waypoint_set", "[0]"));
}

TEST(WaylineOperations, RestoreNothingWhenNothingWasChanged)
{
    EXPECT_EQ("0", Service().Request("RestoreWaypoints", "[1]"));
}

TEST(WaylineOperations, RecordADriveBetweenTwoWaypoints)
{
    for (const char* kind : {"3", "4"}) {
        Service service(2.0);
        service.Request("start_wayline", "[" + std::string(kind) + "]");
        EXPECT_EQ("[0, 0, 0, " + std::string(kind) + ", 0.0]", Status(service));
        service.Request("set_waypoint", "[0, 0.0, 0.0, 0.0, 0.0]");
        service.Advance(10.0);
        EXPECT_EQ(0u, Status(service).find("[0, 1, 0, " + std::string(kind) + ", 19."))
            << Status(service);

        EXPECT_EQ("1", service.Request("set_waypoint", "[1, 0.0, 20.0, 0.0, 0.0]"));

        const auto form = ListFrom(service.Request("get_wayline", "[]"));
        EXPECT_EQ(std::stoi(kind), form->GetInt(0));
        EXPECT_NEAR(20.0, form->GetDouble(form->Size() - 2), 0.5);
        EXPECT_EQ(form->GetInt(1) * 3 + 2, form->Size());
        EXPECT_GE(form->GetInt(1), 30);
        EXPECT_EQ(0u, Status(service).find("[1, 0, 0, " + std::string(kind))) << Status(service);
    }
}

TEST(WaylineOperations, KeepAPathToThemselvesAndReplayTheLastDrive)
{
    Service service(2.0);
    service.Request("start_wayline", "[5]");
    service.Request("set_waypoint", "[0, 0.0, 0.0, 0.0, 0.0]");
    service.Advance(10.0);
    EXPECT_EQ("1", service.Request("set_waypoint", "[1, 0.0, 20.0, 0.0, 0.0]"));
    EXPECT_EQ("[5]", service.Request("get_wayline", "[]"));
    EXPECT_EQ("1", service.Request("StartNavigation", "[1, 0]"));

    EXPECT_EQ("1", service.Request("set_wayline", "[6]"));
    EXPECT_EQ("[6]", service.Request("get_wayline", "[]"));
    EXPECT_EQ("1", service.Request("set_wayline", "[5]"));
    EXPECT_EQ("1", service.Request("start_wayline", "[6]"));
    EXPECT_EQ("[6]", service.Request("get_wayline", "[]"));
}

TEST(WaylineOperations, TellThePathFromTheLastDrive)
{
    Service service(2.0);
    for (const auto& [kind, seconds] : {std::pair{"[5]", 10.0}, std::pair{"[4]", 20.0}}) {
        service.Request("start_wayline", kind);
        service.Request("set_waypoint", "[0, 0.0, 0.0, 0.0, 0.0]");
        service.Advance(seconds);
        ASSERT_EQ("1", service.Request("set_waypoint", "[1, 0.0, 0.0, 0.0, 0.0]")) << kind;
    }

    EXPECT_EQ("1", service.Request("set_wayline", "[5]"));
    EXPECT_NEAR(20.0, service.World().LineLength(), 0.2);
    EXPECT_EQ("1", service.Request("set_wayline", "[6]"));
    EXPECT_NEAR(40.0, service.World().LineLength(), 0.2);
}

/// A sample of a machine that drives round to the right at 2 m/s, 25 m about a place.
std::string SampleOnArc(double radians)
{
    char text[400];
    std::snprintf(text, sizeof text,
                  "['1=%.10f;2=%.10f;3=0;4=%.6f;5=2;6=0;7=0;8=%.6f;9=0;10=0;11=0;12=0.01;13=0.01;"
                  "14=0.01;15=1;16=4;17=12;18=1;19=0;20=1;21=0']",
                  25.0 * std::sin(radians) / 110574.0, 25.0 * (1.0 - std::cos(radians)) / 111320.0,
                  radians, radians);
    return text;
}

TEST(WaylineOperations, DriveARecordedBendAgain)
{
    for (const char* kind : {"[5]", "[6]"}) {
        Service service(2.0);
        service.Notify("set_wayline_origin", "[0.0, 0.0, 0.0]");
        service.Notify("SetPositionData", SampleOnArc(0.0));
        service.Request("start_wayline", "[5]");
        service.Request("set_waypoint", "[0, 0.0, 0.0, 0.0, 0.0]");
        for (double radians = 0.0; radians < 1.57; radians += 0.2 / 25.0) {
            service.Notify("SetPositionData", SampleOnArc(radians));
            service.Advance(0.1);
        }
        ASSERT_EQ("1", service.Request("set_waypoint", "[1, 0.0, 0.0, 0.0, 0.0]"));
        // Without samples the machine is its own again, where the bend begins.
        service.Advance(5.1);
        ASSERT_EQ("1", service.Request("set_wayline", kind)) << service.Log();
        ASSERT_EQ("1", service.Request("StartNavigation", "[1, 1]"));
        ASSERT_EQ("1", service.Request("EngageSteering", "[1]")) << service.Log();

        service.Advance(15.0);

        const Point place = service.World().TruePose().position;
        EXPECT_EQ("1", service.Request("IsSteeringEngaged", "[]")) << service.Log();
        EXPECT_NEAR(25.0, std::hypot(place.x - 25.0, place.y), 0.1) << kind;
        EXPECT_GT(place.x, 10.0) << kind;
    }
}

TEST(WaylineOperations, RefuseToEndADriveThatIsTooShort)
{
    Service service(0.0);
    service.Request("start_wayline", "[4]");
    EXPECT_EQ("0", service.Request("set_waypoint", "[1, 0.0, 0.0, 0.0, 0.0]"));
    EXPECT_EQ("1", service.Request("set_waypoint", "[0, 0.0, 0.0, 0.0, 0.0]"));
    service.Advance(5.0);

    EXPECT_EQ("0", service.Request("set_waypoint", "[1, 0.0, 0.0, 0.0, 0.0]"));

    EXPECT_NE(std::string::npos, service.Log().find("allowed is 1 m at least")) << service.Log();
    EXPECT_EQ("[0, 1, 0, 4, 0.0]", Status(service));
}

TEST(WaylineOperations, CalculateTheHeadingOfEveryWayline)
{
    EXPECT_EQ("[0.0, 1.5708, nan, nan, nan]",
              Service().Request("calculate_headings",
                                "[[0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0], "
                                "[0, 0.0, 0.0, 0.0, 100.0, 0.0, 0.0], [5], [], ['x']]"));
    EXPECT_EQ("[]", Service().Request("calculate_headings", "[]"));
}

TEST(WaylineOperations, TellWhatBecomesOfTheWayline)
{
    Service service;
    EXPECT_EQ("[0, 0, 0, -1, 0.0]", Status(service));
    service.Request("set_wayline", kLineNorth);
    EXPECT_EQ("[1, 0, 0, 0, 0.0]", Status(service));
    service.Request("StartNavigation", "[1, 1]");
    EXPECT_EQ("[1, 0, 1, 0, 0.0]", Status(service));
    service.Request("start_wayline", "[2]");
    EXPECT_EQ("[0, 0, 0, 2, 0.0]", Status(service));
}

} // namespace
