// When steering can be engaged, and what ends it.

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "tests/simulator/guidance/Drives.h"

namespace {

const LineDefinition kNorth = StraightLine({0.0, 0.0}, {0.0, 100.0});

/// On the line, at speed, ready to be engaged unless the options say otherwise.
SimulationOptions OnTheLine()
{
    SimulationOptions options;
    options.receiver = EReceiver::Ideal;
    options.speed = 2.0;
    return options;
}

struct RefusalRow
{
    const char* what;
    std::function<void(SimulationOptions&)> options;
    std::string reason;
};

TEST(Engaging, IsRefusedForAReasonThatNamesTheFigures)
{
    const RefusalRow rows[] = {
        {"beside", [](auto& o) { o.startPose.position.x = 1.6; },
         "the machine is 1.60 m from the line, more than half the implement width of 3.00 m"},
        {"askew", [](auto& o) { o.startPose.heading = Radians(61.0); },
         "the machine's heading is 61.00 degrees from the line's, more than 60.00 degrees"},
        {"slow", [](auto& o) { o.speed = 0.2; },
         "the machine moves at 0.20 m/s, slower than 0.30 m/s, and engaging at low speed is not "
         "allowed"},
        {"backwards", [](auto& o) { o.speed = -1.0; },
         "the machine moves backwards and engaging in reverse is not enabled; the machine moves "
         "backwards and engaging in reverse is not allowed"},
    };
    for (const RefusalRow& row : rows) {
        SimulationOptions options = OnTheLine();
        row.options(options);
        CSimulation simulation(options);
        simulation.SetLine(kNorth);
        simulation.StartNavigation(EFollow::LineItself);
        EXPECT_EQ(row.reason, simulation.Engage().Reason()) << row.what;
        EXPECT_FALSE(simulation.Engaged()) << row.what;
        EXPECT_FALSE(simulation.DroppedByService()) << row.what;
    }
}

TEST(Engaging, IsRefusedWithoutNavigation)
{
    CSimulation simulation(OnTheLine());
    EXPECT_EQ("there is no complete line",
              simulation.StartNavigation(EFollow::LineItself).Reason());
    simulation.SetLine(kNorth);

    EXPECT_EQ("navigation is not active", simulation.Engage().Reason());
    EXPECT_EQ(std::vector<std::string>{"navigation is not active"}, simulation.WhyNotEngaged());
}

TEST(Engaging, IsRefusedWhereNothingIsLeftOfThePass)
{
    CSimulation simulation(OnTheLine());
    simulation.SetLine(CircleLine({0.0, 0.0}, {5.0, 5.0}, {10.0, 0.0}));
    simulation.StartNavigation(EFollow::LineItself);

    simulation.SetFieldOffset(4.5);

    EXPECT_EQ("nothing is left of the pass so far inside of the bend",
              simulation.Engage().Reason());
    EXPECT_TRUE(simulation.FollowedPoints().empty());
    EXPECT_FALSE(simulation.AimPoint());
}

struct LimitRow
{
    const char* what;
    std::function<void(SimulationOptions&)> options;
    bool engages;
};

TEST(Engaging, TurnsOnAndOffAtItsLimits)
{
    const LimitRow rows[] = {
        {"1.49 m beside", [](auto& o) { o.startPose.position.x = 1.49; }, true},
        {"1.51 m beside", [](auto& o) { o.startPose.position.x = -1.51; }, false},
        {"59 degrees", [](auto& o) { o.startPose.heading = Radians(-59.0); }, true},
        {"61 degrees", [](auto& o) { o.startPose.heading = Radians(-61.0); }, false},
        {"against the line", [](auto& o) { o.startPose.heading = Radians(180.0); }, true},
        {"61 degrees off against", [](auto& o) { o.startPose.heading = Radians(119.0); }, false},
        {"0.31 m/s", [](auto& o) { o.speed = 0.31; }, true},
        {"0.29 m/s", [](auto& o) { o.speed = 0.29; }, false},
    };
    for (const LimitRow& row : rows) {
        SimulationOptions options = OnTheLine();
        row.options(options);
        CSimulation simulation(options);
        simulation.SetLine(kNorth);
        simulation.StartNavigation(EFollow::LineItself);
        EXPECT_EQ(row.engages, static_cast<bool>(simulation.Engage())) << row.what;
        EXPECT_EQ(row.engages, simulation.WhyNotEngaged().empty()) << row.what;
    }
}

TEST(Engaging, BackwardsNeedsBothToBeEnabledAndAllowed)
{
    for (const bool enabled : {false, true}) {
        for (const bool allowed : {false, true}) {
            SimulationOptions options = OnTheLine();
            options.speed = -1.0;
            CSimulation simulation(options);
            simulation.SetLine(kNorth);
            simulation.StartNavigation(EFollow::LineItself);
            simulation.SetReverseEngageEnabled(enabled);
            simulation.SetReverseEngageAllowed(allowed);
            EXPECT_EQ(enabled && allowed, static_cast<bool>(simulation.Engage()))
                << enabled << ' ' << allowed;
        }
    }
}

TEST(Steering, SurvivesAShortStopButNotALongOne)
{
    CSimulation simulation(OnTheLine());
    simulation.SetLine(kNorth);
    simulation.StartNavigation(EFollow::LineItself);
    simulation.SetLowSpeedTimeout(2.0);
    ASSERT_TRUE(simulation.Engage());

    simulation.SetSpeedSetPoint(0.0);
    Advance(simulation, 1.7 + 1.9);
    EXPECT_TRUE(simulation.Engaged());
    Advance(simulation, 0.5);

    EXPECT_FALSE(simulation.Engaged());
    EXPECT_TRUE(simulation.DroppedByService());
    EXPECT_NE(std::string::npos, simulation.DropReason().find("slower than 0.30 m/s"));
}

TEST(Steering, GoesOnAtLowSpeedWhereThatIsAllowed)
{
    CSimulation simulation(OnTheLine());
    simulation.SetLine(kNorth);
    simulation.StartNavigation(EFollow::LineItself);
    simulation.SetLowSpeedEngageAllowed(true);
    ASSERT_TRUE(simulation.Engage());

    simulation.SetSpeedSetPoint(0.1);
    Advance(simulation, 60.0);

    EXPECT_TRUE(simulation.Engaged());
}

TEST(Steering, EndsWhenTheMachineTurnsBack)
{
    CSimulation simulation(OnTheLine());
    simulation.SetLine(kNorth);
    simulation.StartNavigation(EFollow::LineItself);
    ASSERT_TRUE(simulation.Engage());

    simulation.SetSpeedSetPoint(-1.0);
    Advance(simulation, 4.0);

    EXPECT_TRUE(simulation.DroppedByService());
    EXPECT_NE(std::string::npos, simulation.DropReason().find("backwards"));
}

TEST(Steering, EndsHalfAWidthBehindTheEndOfASpline)
{
    CSimulation simulation(OnTheLine());
    simulation.SetLine(SplineLine({{0.0, -5.0}, {0.0, 5.0}, {0.0, 15.0}}));
    simulation.StartNavigation(EFollow::LineItself);
    ASSERT_TRUE(simulation.Engage());

    Advance(simulation, 8.2);
    EXPECT_TRUE(simulation.Engaged());
    Advance(simulation, 0.5);

    EXPECT_TRUE(simulation.DroppedByService());
}

TEST(Steering, ByTheOperatorIsNotDropped)
{
    CSimulation simulation(OnTheLine());
    simulation.SetLine(kNorth);
    simulation.StartNavigation(EFollow::LineItself);
    const std::function<void()> ways[] = {[&] { simulation.Disengage(); },
                                          [&] { simulation.StopNavigation(); },
                                          [&] { simulation.ClearLine(); }};
    for (const auto& end : ways) {
        simulation.SetLine(kNorth);
        simulation.StartNavigation(EFollow::LineItself);
        ASSERT_TRUE(simulation.Engage());
        end();
        EXPECT_FALSE(simulation.Engaged());
        EXPECT_FALSE(simulation.DroppedByService());
    }
}

TEST(Steering, GoesOnAlongANewLine)
{
    CSimulation simulation(OnTheLine());
    simulation.SetLine(kNorth);
    simulation.StartNavigation(EFollow::LineItself);
    ASSERT_TRUE(simulation.Engage());
    Advance(simulation, 5.0);

    EXPECT_TRUE(simulation.SetLine(HeadingLine({0.2, 0.0}, Radians(5.0))));
    Advance(simulation, 30.0);

    EXPECT_TRUE(simulation.Engaged());
    EXPECT_NEAR(0.0, simulation.TrueCrossTrackError(), 0.01);
    EXPECT_NEAR(5.0, Degrees(simulation.TruePose().heading), 0.2);
}

} // namespace
