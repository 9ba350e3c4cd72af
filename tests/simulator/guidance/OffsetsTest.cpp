// Passes and the offsets that move them.

#include <cmath>
#include <functional>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/simulator/guidance/Drives.h"

namespace {

SimulationOptions StandingAt(double east)
{
    SimulationOptions options;
    options.receiver = EReceiver::Ideal;
    options.startPose.position = {east, 0.0};
    return options;
}

const LineDefinition kLineNorth = StraightLine({0.0, 0.0}, {0.0, 100.0});

/// Standing `east` of a line to the north, passes 3 m apart, following the nearest.
CSimulation& FollowNearest(CSimulation& simulation)
{
    simulation.SetImplementWidth(3.0);
    simulation.SetLine(kLineNorth);
    simulation.StartNavigation(EFollow::NearestPass);
    return simulation;
}

TEST(Passes, TheNearestIsFollowed)
{
    struct Row
    {
        double east;
        int pass;
        double crossTrack;
    };
    for (const Row& row :
         {Row{0.4, 0, 0.4}, Row{1.4, 0, 1.4}, Row{1.6, 1, -1.4}, Row{-7.0, -2, -1.0}}) {
        CSimulation simulation(StandingAt(row.east));
        FollowNearest(simulation);
        EXPECT_EQ(row.pass, simulation.Status().pass) << row.east;
        EXPECT_NEAR(row.crossTrack, simulation.Status().crossTrackError, 1e-9) << row.east;
    }
}

TEST(Passes, TheLineItselfIsFollowedWhenAskedFor)
{
    CSimulation simulation(StandingAt(7.0));
    simulation.SetLine(kLineNorth);
    simulation.StartNavigation(EFollow::LineItself);

    EXPECT_EQ(0, simulation.Status().pass);
    EXPECT_NEAR(7.0, simulation.Status().crossTrackError, 1e-9);
}

TEST(Passes, TheNearestChangesAsTheMachineDrivesAcross)
{
    SimulationOptions options = StandingAt(0.0);
    options.startPose.heading = Radians(90.0);
    options.speed = 2.0;
    CSimulation simulation(options);
    FollowNearest(simulation);

    while (simulation.Time() < 3.1) {
        simulation.Step();
    }

    EXPECT_EQ(2, simulation.Status().pass);
}

TEST(Passes, OfACircleAreConcentric)
{
    CSimulation simulation(StandingAt(4.0));
    simulation.SetImplementWidth(3.0);
    simulation.SetLine(CircleLine({0.0, 0.0}, {20.0, 20.0}, {40.0, 0.0}));
    simulation.StartNavigation(EFollow::NearestPass);

    EXPECT_EQ(1, simulation.Status().pass);
    EXPECT_NEAR(1.0, simulation.Status().crossTrackError, 1e-9);
    for (const Point& point : simulation.FollowedPoints()) {
        EXPECT_NEAR(17.0, Distance(point, {20.0, 0.0}), 1e-9);
    }
}

TEST(Passes, OfACurveLieAsideEverywhere)
{
    CSimulation simulation(StandingAt(6.2));
    simulation.SetImplementWidth(6.0);
    simulation.SetLine(CurveLine(BendsPoints(1.0)));
    simulation.StartNavigation(EFollow::NearestPass);
    ASSERT_EQ(1, simulation.Status().pass);

    CSimulation base(StandingAt(0.0));
    base.SetLine(CurveLine(BendsPoints(1.0)));
    for (const Point& point : simulation.FollowedPoints()) {
        SimulationOptions there = StandingAt(point.x);
        there.startPose.position = point;
        CSimulation probe(there);
        probe.SetLine(CurveLine(BendsPoints(1.0)));
        EXPECT_NEAR(6.0, std::abs(probe.Status().crossTrackError), 0.02)
            << point.x << ", " << point.y;
    }
}

TEST(Passes, BelongToCurvesAndNotToRecordedDrives)
{
    const std::vector<Point> points{{0.0, -50.0}, {0.0, 0.0}, {0.0, 50.0}};
    for (const auto& [line, pass] : std::vector<std::pair<LineDefinition, int>>{
             {SplineLine(points), 2}, {CurveLine(points), 2}, {RecordedLine(points), 0}}) {
        CSimulation simulation(StandingAt(6.5));
        FollowNearest(simulation);

        simulation.SetLine(line);

        EXPECT_EQ(pass, simulation.Status().pass) << static_cast<int>(line.kind);
        EXPECT_NEAR(6.5 - 3.0 * pass, simulation.Status().crossTrackError, 1e-9);
    }
}

TEST(Offsets, AddUpToTheShiftOfTheLine)
{
    CSimulation simulation(StandingAt(0.0));
    FollowNearest(simulation);
    simulation.SetNudge(0.5);
    simulation.SetFieldOffset(0.25);
    simulation.SetImplementOffset(-0.1);

    EXPECT_NEAR(0.65, simulation.LineShift(), 1e-12);
    EXPECT_NEAR(-0.65, simulation.Status().crossTrackError, 1e-9);
}

TEST(Offsets, MoveASplineByTheImplementOnlyWhenItUsesIt)
{
    CSimulation simulation(StandingAt(0.0));
    simulation.SetLine(SplineLine({{0.0, -50.0}, {0.0, 0.0}, {0.0, 50.0}}));
    simulation.SetImplementOffset(0.4);
    EXPECT_NEAR(0.0, simulation.Status().crossTrackError, 1e-9);

    simulation.SetSplinesUseImplementOffset(true);
    EXPECT_NEAR(-0.4, simulation.Status().crossTrackError, 1e-9);
}

TEST(Offsets, OfMoreThanHalfAWidthKeepThePassWhileNotEngaged)
{
    SimulationOptions options = StandingAt(3.0);
    options.speed = 2.0;
    CSimulation simulation(options);
    FollowNearest(simulation);
    ASSERT_EQ(1, simulation.Status().pass);

    simulation.SetFieldOffset(1.8);
    for (int step = 0; step < 500; ++step) {
        simulation.Step();
    }

    EXPECT_EQ(1, simulation.Status().pass);
    EXPECT_NEAR(-1.8, simulation.Status().crossTrackError, 0.01);
}

TEST(Offsets, OfMoreThanHalfAWidthKeepThePassWhenTheyEndSteering)
{
    SimulationOptions options = StandingAt(3.0);
    options.speed = 2.0;
    CSimulation simulation(options);
    FollowNearest(simulation);
    ASSERT_TRUE(simulation.Engage());

    simulation.SetNudge(1.8);
    EXPECT_EQ(1, simulation.Status().pass);
    for (int step = 0; step < 10; ++step) {
        simulation.Step();
    }

    EXPECT_EQ(1, simulation.Status().pass);
    EXPECT_TRUE(simulation.DroppedByService());
}

TEST(Offsets, SteppedByLittleCarryTheEngagedMachineBeyondHalfAWidth)
{
    SimulationOptions options = StandingAt(3.0);
    options.speed = 2.0;
    CSimulation simulation(options);
    FollowNearest(simulation);
    ASSERT_TRUE(simulation.Engage());

    for (int nudge = 1; nudge <= 4; ++nudge) {
        simulation.SetNudge(0.6 * nudge);
        DrivenOn(simulation, 10.0);
    }

    EXPECT_TRUE(simulation.Engaged());
    EXPECT_EQ(1, simulation.Status().pass);
    EXPECT_NEAR(5.4, simulation.TruePose().position.x, 0.02);
}

TEST(Offsets, SteppedByLittleKeepThePassWhenTheOperatorTakesOver)
{
    SimulationOptions options = StandingAt(0.0);
    options.speed = 2.0;
    CSimulation simulation(options);
    FollowNearest(simulation);
    ASSERT_TRUE(simulation.Engage());
    for (int nudge = 1; nudge <= 3; ++nudge) {
        simulation.SetNudge(0.7 * nudge);
        DrivenOn(simulation, 15.0);
    }

    simulation.Disengage();

    for (int step = 0; step < 3 * CSimulation::kStepsPerControl; ++step) {
        simulation.Step();
        EXPECT_EQ(0, simulation.Status().pass) << step;
        EXPECT_NEAR(0.0, simulation.Status().crossTrackError, 0.02) << step;
        EXPECT_TRUE(simulation.WhyNotEngaged().empty()) << step;
    }
}

TEST(Offsets, OfMoreThanHalfAWidthEndWithTheNearestPassOnceTheMachineDrivesAcross)
{
    struct Row
    {
        double offset;
        std::vector<int> passes;
    };
    for (const Row& row : {Row{-2.0, {0, 1, 2}}, Row{2.0, {0, 1}}}) {
        SimulationOptions options = StandingAt(0.0);
        options.speed = 2.0;
        options.startPose.heading = Radians(90.0);
        CSimulation simulation(options);
        FollowNearest(simulation);
        simulation.SetFieldOffset(row.offset);
        std::vector<int> passes{simulation.Status().pass};

        while (simulation.TruePose().position.x < 4.0) {
            simulation.Step();
            if (simulation.Status().pass != passes.back()) {
                passes.push_back(simulation.Status().pass);
            }
        }

        EXPECT_EQ(row.passes, passes) << row.offset;
    }
}

TEST(Offsets, MoveTheLineAtOnceWhileEngaged)
{
    SimulationOptions options = StandingAt(0.0);
    options.speed = 2.0;
    CSimulation simulation(options);
    FollowNearest(simulation);
    ASSERT_TRUE(simulation.Engage());

    simulation.SetNudge(0.5);

    EXPECT_NEAR(-0.5, simulation.Status().crossTrackError, 1e-6);
    EXPECT_NEAR(0.5, simulation.FollowedPoints().front().x, 1e-9);
    EXPECT_TRUE(simulation.Engaged());
}

TEST(Offsets, OfTheImplementPutTheImplementOnThePass)
{
    DrivePlan plan = StraightDrive(1, 2.5, EGround::Firm);
    plan.options.receiver = EReceiver::Ideal;
    const std::unique_ptr<CSimulation> simulation = Engaged(plan);
    simulation->SetImplementOffset(0.4);

    DrivenOn(*simulation, 40.0);

    EXPECT_NEAR(0.4, simulation->TruePose().position.x, 0.01);
    EXPECT_NEAR(0.0, simulation->TrueImplementPoint().x, 0.01);
    EXPECT_NEAR(0.0, simulation->TrueImplementCrossTrackError(), 0.01);
}

/// Northward to 30 m, three quarters round to the right, and back westward across itself at 10 m.
std::vector<Point> CrossingItself()
{
    std::vector<Point> points;
    for (double y = -40.0; y < 30.0; y += 1.0) {
        points.push_back({0.0, y});
    }
    for (int degrees = 0; degrees < 270; degrees += 3) {
        points.push_back(Moved({20.0, 30.0}, Radians(degrees - 90.0), 20.0, 0.0));
    }
    for (double x = 20.0; x >= -40.0; x -= 1.0) {
        points.push_back({x, 10.0});
    }
    return points;
}

/// A setting that gives the line another shape or place.
struct Reshaping
{
    const char* name;
    std::function<COutcome(CSimulation&)> change;
};

TEST(Offsets, KeepTheEngagedMachineOnItsBranchWhereTheLineCrossesItself)
{
    for (const Reshaping& row : std::vector<Reshaping>{
             {"nudge", [](auto& simulation) { return simulation.SetNudge(0.4); }},
             {"field offset", [](auto& simulation) { return simulation.SetFieldOffset(0.4); }},
             {"implement offset",
              [](auto& simulation) { return simulation.SetImplementOffset(0.4); }},
             {"width", [](auto& simulation) { return simulation.SetImplementWidth(3.4); }},
             {"filter", [](auto& simulation) { return simulation.SetCurveFilterSize(7); }}}) {
        SimulationOptions options = StandingAt(3.0);
        options.speed = 2.0;
        CSimulation simulation(options);
        FollowNearest(simulation);
        ASSERT_TRUE(simulation.SetLine(CurveLine(CrossingItself())));
        ASSERT_EQ(1, simulation.Status().pass);
        ASSERT_TRUE(simulation.Engage());
        // The other branch's pass runs westward at 13 m.
        while (simulation.TruePose().position.y < 13.2) {
            simulation.Step();
        }

        EXPECT_TRUE(row.change(simulation)) << row.name;

        EXPECT_EQ(1, simulation.Status().pass) << row.name;
        EXPECT_NEAR(1.0, simulation.RightOfLine()->x, 0.01) << row.name;
        DrivenOn(simulation, 3.0);
        EXPECT_TRUE(simulation.Engaged()) << row.name << ": " << simulation.DropReason();
        EXPECT_NEAR(1.0, simulation.RightOfLine()->x, 0.01) << row.name;
    }
}

TEST(CurveFilter, ChangesASetCurveAndKeepsItsPass)
{
    std::vector<Point> wavy;
    for (int i = 0; i <= 100; ++i) {
        wavy.push_back({i % 2 == 0 ? 0.1 : -0.1, i - 50.0});
    }
    CSimulation simulation(StandingAt(3.0));
    simulation.SetCurveFilterSize(1);
    FollowNearest(simulation);
    simulation.SetLine(CurveLine(wavy));
    simulation.SetFieldOffset(1.8);
    ASSERT_EQ(1, simulation.Status().pass);
    const double length = simulation.LineLength();

    EXPECT_TRUE(simulation.SetCurveFilterSize(21));

    EXPECT_LT(simulation.LineLength(), length - 1.0);
    EXPECT_EQ(1, simulation.Status().pass);
    EXPECT_NEAR(-1.8, simulation.Status().crossTrackError, 0.05);
}

/// A drive to and fro that is not a curve any more once it is smoothed.
LineDefinition ToAndFro()
{
    std::vector<Point> points;
    for (int i = 0; i < 8; ++i) {
        points.push_back({i % 2 == 0 ? 0.3 : -0.3, 0.01 * i});
    }
    return CurveLine(points);
}

TEST(CurveFilter, IsNotChangedToWhatWouldLeaveNoLine)
{
    CSimulation simulation(StandingAt(0.0));
    simulation.SetCurveFilterSize(1);
    ASSERT_TRUE(simulation.SetLine(ToAndFro()));
    const double length = simulation.LineLength();

    const COutcome outcome = simulation.SetCurveFilterSize(21);

    EXPECT_FALSE(outcome);
    EXPECT_NE(std::string::npos, outcome.Reason().find("21 points")) << outcome.Reason();
    EXPECT_EQ(1, simulation.CurveFilterSize());
    EXPECT_EQ(length, simulation.LineLength());
}

TEST(CurveFilter, GoesBackToItsStartValueWhateverTheLine)
{
    CSimulation simulation(StandingAt(0.0));
    simulation.SetCurveFilterSize(1);
    ASSERT_TRUE(simulation.SetLine(ToAndFro()));
    const double length = simulation.LineLength();

    simulation.RestoreSettings();

    EXPECT_EQ(11, simulation.CurveFilterSize());
    EXPECT_EQ(length, simulation.LineLength());
}

TEST(Offsets, BeyondWhatIsPossibleChangeNothing)
{
    CSimulation simulation(StandingAt(0.0));
    simulation.SetNudge(0.5);
    for (const double offset : {1001.0, -1001.0, std::nan("")}) {
        const COutcome outcome = simulation.SetNudge(offset);
        EXPECT_FALSE(outcome) << offset;
        EXPECT_NE(std::string::npos, outcome.Reason().find("the offset")) << offset;
        EXPECT_EQ(0.5, simulation.Nudge()) << offset;
    }
}

} // namespace
