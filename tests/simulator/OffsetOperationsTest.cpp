#include "simulator/operations/OffsetOperations.h"

#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "tests/simulator/Service.h"
#include "tests/simulator/Values.h"

namespace {

const char* const kLineEast = "[0, 0.0, 0.0, 0.0, 100.0, 0.0, 0.0]";

TEST(OffsetOperations, NudgeAddsOrSets)
{
    Service service;
    service.NavigateNorth();

    EXPECT_EQ("[1, 0.5, 0.0, 0.0]", service.Request("Nudge", "[1, 1, 0.5]"));
    EXPECT_EQ("[1, 0.75, 0.0, 0.0]", service.Request("Nudge", "[1, 1, 0.25]"));
    EXPECT_EQ("[1, -0.25, 0.0, 0.0]", service.Request("Nudge", "[1, 0, -0.25]"));
    EXPECT_EQ("-0.25", service.Request("get_nudge", "[1]"));
}

TEST(OffsetOperations, TheNudgeVectorPointsToTheRightOfTheLine)
{
    Service service;
    service.Request("set_wayline", kLineEast);

    service.Notify("set_nudge", "[1, 0.5]");

    EXPECT_EQ("[0.0, -0.5, 0.0]", service.Request("get_nudge_vector", "[]"));
}

TEST(OffsetOperations, TheNudgeVectorIsZeroWithoutALine)
{
    Service service;

    EXPECT_EQ("[1, 0.0, 0.0, 0.0]", service.Request("Nudge", "[1, 1, 0.5]"));

    EXPECT_EQ("0.5", service.Request("get_nudge", "[1]"));
}

TEST(OffsetOperations, AutoSetNudgePutsTheLineUnderTheMachine)
{
    SimulationOptions world = IdealWorld(0.0);
    world.startPose.position = {0.75, 10.0};
    Service service(world);
    service.NavigateNorth();
    service.Advance(0.2);

    EXPECT_EQ("[1, 0.75, 0.0, 0.0]", service.Request("AutoSetNudge", "[1]"));

    service.Advance(0.2);
    EXPECT_NEAR(0.0, service.World().Status().crossTrackError, 1e-6);
}

TEST(OffsetOperations, AutoSetFieldOffsetPutsTheLineUnderTheMachine)
{
    SimulationOptions world = IdealWorld(0.0);
    world.startPose.position = {-0.75, 10.0};
    Service service(world);
    service.NavigateNorth();
    service.Advance(0.2);

    EXPECT_EQ("1", service.Request("AutoSetFieldOffset", "[1]"));

    EXPECT_EQ("-0.75", service.Request("GetFieldOffset", "[1]"));
    EXPECT_EQ("0.0", service.Request("get_nudge", "[1]"));
}

/// Where the machine stands when an offset is chosen, and what is set already.
struct AutoSet
{
    double east;
    const char* nudge;
    const char* fieldOffset;
    const char* flag; ///< of StartNavigation
    int pass;
    const char* newNudge;
    const char* newFieldOffset;
};

TEST(OffsetOperations, AutoSetTakesInWhatIsSetAlready)
{
    for (const AutoSet& row : std::vector<AutoSet>{{0.75, "0.5", "0.0", "0", 0, "0.75", "0.25"},
                                                   {0.75, "0.5", "-0.25", "0", 0, "1.0", "0.25"},
                                                   {-1.25, "-0.5", "0.25", "0", 0, "-1.5", "-0.75"},
                                                   {3.75, "0.0", "0.0", "1", 1, "0.75", "0.75"},
                                                   {-6.5, "0.25", "0.0", "1", -2, "-0.5", "-0.75"},
                                                   {7.0, "0.0", "0.0", "0", 0, "7.0", "7.0"}}) {
        SimulationOptions world = IdealWorld(0.0);
        world.startPose.position = {row.east, 10.0};
        for (const bool nudges : {true, false}) {
            Service service(world);
            service.Notify("set_nudge", "[1, " + std::string(row.nudge) + "]");
            service.Request("SetFieldOffset", "[1, " + std::string(row.fieldOffset) + "]");
            service.Request("set_wayline", "[0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]");
            service.Request("StartNavigation", "[1, " + std::string(row.flag) + "]");
            ASSERT_EQ(row.pass, service.World().Status().pass) << row.east;

            service.Request(nudges ? "AutoSetNudge" : "AutoSetFieldOffset", "[1]");

            EXPECT_EQ(nudges ? row.newNudge : row.nudge, service.Request("get_nudge", "[1]"))
                << row.east;
            EXPECT_EQ(nudges ? row.fieldOffset : row.newFieldOffset,
                      service.Request("GetFieldOffset", "[1]"))
                << row.east;
            EXPECT_EQ(row.pass, service.World().Status().pass) << row.east;
            EXPECT_NEAR(0.0, service.World().Status().crossTrackError, 1e-9) << row.east;
        }
    }
}

TEST(OffsetOperations, TheNudgeVectorHasNoZeroWithAMinusSign)
{
    for (const char* operation : {"Nudge", "AutoSetNudge"}) {
        for (const char* line :
             {"[0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]", "[1, 0.0, 0.0, 0.0, 0.0]"}) {
            Service service(0.0);
            service.Request("set_wayline", line);
            const auto arguments =
                ListFrom(operation == std::string("Nudge") ? "[1, 0, -0.0]" : "[1]");

            const Answer answer = service.Core().Request(operation, *arguments);

            const auto& list = dynamic_cast<BListC&>(*answer.value);
            for (int component = 1; component <= 3; ++component) {
                EXPECT_FALSE(std::signbit(list.GetDouble(component))) << operation << component;
            }
        }
    }
}

TEST(OffsetOperations, AutoSetIsRefusedWithoutAWayline)
{
    Service service;

    EXPECT_EQ("[0, 0.0, 0.0, 0.0]", service.Request("AutoSetNudge", "[1]"));
    EXPECT_EQ("0", service.Request("AutoSetFieldOffset", "[1]"));

    EXPECT_EQ("AutoSetNudge refused: there is no wayline\n"
              "AutoSetFieldOffset refused: there is no wayline\n",
              service.Log());
}

/// A value that a setter cannot take, and how it stands in the log.
struct ImpossibleOffset
{
    const char* setter;
    const char* arguments;
    const char* reply;
    const char* getter;
    const char* logged;
};

TEST(OffsetOperations, LeaveThePresentValueForAnImpossibleOne)
{
    for (const ImpossibleOffset& row : std::vector<ImpossibleOffset>{
             {"SetImplementWidth", "[1, 0.0]", "0", "GetImplementWidth", "0"},
             {"SetImplementWidth", "[1, -3.0]", "0", "GetImplementWidth", "-3"},
             {"SetImplementWidth", "[1, nan]", "0", "GetImplementWidth", "nan"},
             {"SetImplementWidth", "[1, inf]", "0", "GetImplementWidth", "inf"},
             {"SetImplementOffset", "[1, nan]", "0", "GetImplementOffset", "nan"},
             {"SetFieldOffset", "[1, -inf]", "0", "GetFieldOffset", "-inf"},
             {"Nudge", "[1, 1, nan]", "[0, 0.0, 0.0, 0.0]", "get_nudge", "nan"},
             {"set_nudge", "[1, inf]", "nil", "get_nudge", "inf"}}) {
        Service service;
        const std::string before = service.Request(row.getter, "[1]");

        EXPECT_EQ(row.reply, service.Request(row.setter, row.arguments)) << row.arguments;

        EXPECT_EQ(before, service.Request(row.getter, "[1]")) << row.setter << row.arguments;
        EXPECT_EQ(0u, service.Log().find(std::string(row.setter) + " refused: ")) << service.Log();
        EXPECT_NE(std::string::npos, service.Log().find(row.logged)) << service.Log();
    }
}

TEST(OffsetOperations, SumUpToTheShiftOfTheLine)
{
    Service service;
    service.NavigateNorth();

    service.Notify("set_nudge", "[1, 0.5]");
    service.Request("SetFieldOffset", "[1, 0.25]");
    service.Request("SetImplementOffset", "[1, 0.125]");

    EXPECT_EQ("cb_offsets [0.875]", service.Subscribe("cb_offsets")[0]);
}

TEST(OffsetOperations, ShiftASplineByTheImplementOffsetOnlyWhenItUsesIt)
{
    Service service;
    service.Request("set_wayline", "[3, 3, 0.0, 0.0, 0.0, 5.0, 50.0, 0.0, 0.0, 100.0, 0.0]");
    service.Notify("SetSplinesUseImplementOffset", "[0]");
    service.Request("SetImplementOffset", "[1, 0.125]");
    EXPECT_EQ("cb_offsets [0.0]", service.Subscribe("cb_offsets")[0]);

    service.Notify("SetSplinesUseImplementOffset", "[1]");

    EXPECT_EQ("cb_offsets [0.125]", service.Subscribe("cb_offsets")[0]);
}

} // namespace
