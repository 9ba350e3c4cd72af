// The implement: on which side of the line it is, and how well it keeps to its own.

#include <cmath>
#include <memory>

#include <gtest/gtest.h>

#include "tests/simulator/guidance/Drives.h"

namespace {

SimulationOptions Ideal(double headingDegrees, double speed = 2.0)
{
    SimulationOptions options;
    options.receiver = EReceiver::Ideal;
    options.startPose.heading = Radians(headingDegrees);
    options.speed = speed;
    return options;
}

const LineDefinition kNorthwards = StraightLine({0.0, 0.0}, {0.0, 100.0});

void StepFor(CSimulation& simulation, double seconds)
{
    for (int step = 0; step < std::lround(seconds / CSimulation::kStepSeconds); ++step) {
        simulation.Step();
    }
}

TEST(ImplementOffset, PutsTheImplementOnTheLineOnTheWayOutAndOnTheWayBack)
{
    for (const double heading : {0.0, 180.0}) {
        for (const double offset : {0.5, -0.3}) {
            CSimulation simulation(Ideal(heading));
            simulation.SetImplementOffset(offset);
            simulation.SetLine(kNorthwards);
            simulation.StartNavigation(EFollow::LineItself);
            ASSERT_TRUE(simulation.Engage());

            StepFor(simulation, 40.0);

            const double right = heading == 0.0 ? offset : -offset;
            EXPECT_NEAR(right, simulation.TruePose().position.x, 0.001) << heading;
            EXPECT_NEAR(0.0, simulation.TrueImplementPoint().x, 0.001) << heading;
            EXPECT_NEAR(0.0, simulation.TrueImplementCrossTrackError(), 0.001) << heading;
            EXPECT_NEAR(right, simulation.LineShift(), 1e-12) << heading;
        }
    }
}

TEST(ImplementOffset, CountsWhereTheMachineLooksAlsoWhileItMovesBackwards)
{
    CSimulation simulation(Ideal(0.0, -2.0));
    simulation.SetReverseEngageEnabled(true);
    simulation.SetReverseEngageAllowed(true);
    simulation.SetImplementOffset(0.5);
    simulation.SetLine(kNorthwards);
    simulation.StartNavigation(EFollow::LineItself);
    ASSERT_TRUE(simulation.Engage());

    StepFor(simulation, 40.0);

    EXPECT_NEAR(0.0, simulation.TrueImplementPoint().x, 0.005);
}

TEST(ImplementOffset, ChangesSidesWithTheMachineWhileNudgeAndFieldOffsetStay)
{
    CSimulation simulation(Ideal(0.0));
    simulation.SetNudge(0.2);
    simulation.SetFieldOffset(0.1);
    simulation.SetImplementOffset(0.5);
    EXPECT_NEAR(0.8, simulation.LineShift(), 1e-12);

    simulation.SetLine(kNorthwards);
    EXPECT_NEAR(0.8, simulation.LineShift(), 1e-12);
    simulation.SetLine(StraightLine({0.0, 100.0}, {0.0, 0.0}));
    EXPECT_NEAR(-0.2, simulation.LineShift(), 1e-12);
    EXPECT_NEAR(0.2, simulation.Status().crossTrackError, 1e-9);
    simulation.SetImplementOffset(0.6);
    EXPECT_NEAR(-0.3, simulation.LineShift(), 1e-12);

    simulation.ClearLine();
    EXPECT_NEAR(0.9, simulation.LineShift(), 1e-12);
}

TEST(ImplementOffset, LeavesASplineThatDoesNotUseItWhereItIs)
{
    CSimulation simulation(Ideal(180.0));
    simulation.SetImplementOffset(0.5);
    simulation.SetLine(SplineLine({{0.0, -100.0}, {0.0, 0.0}, {0.0, 100.0}}));
    EXPECT_EQ(0.0, simulation.LineShift());

    simulation.SetSplinesUseImplementOffset(true);

    EXPECT_NEAR(-0.5, simulation.LineShift(), 1e-12);
    EXPECT_NEAR(0.5, simulation.Status().crossTrackError, 1e-9);
}

/// Turns a machine on the spot, by positions from outside that come so seldom that each counts.
void Look(CSimulation& simulation, double degrees)
{
    StepFor(simulation, 2.0);
    FedPosition sample;
    sample.valid = true;
    sample.heading = Radians(degrees);
    simulation.Feed(sample);
}

TEST(ImplementOffset, ChangesSidesOnlyWhenTheMachineHasClearlyTurned)
{
    CSimulation simulation(Ideal(0.0, 0.0));
    simulation.SetImplementOffset(0.5);
    simulation.SetLine(kNorthwards);
    struct Row
    {
        double degrees;
        double shift;
    };
    for (const Row& row : {Row{0.0, 0.5}, Row{89.0, 0.5}, Row{92.0, 0.5}, Row{94.5, 0.5},
                           Row{95.5, -0.5}, Row{91.0, -0.5}, Row{85.5, -0.5}, Row{84.5, 0.5},
                           Row{-94.0, 0.5}, Row{-96.0, -0.5}, Row{180.0, -0.5}}) {
        Look(simulation, row.degrees);
        EXPECT_NEAR(row.shift, simulation.LineShift(), 1e-12) << row.degrees;
    }
}

TEST(ImplementOffset, TakesTheNearestPassOnceTheMachineHasTurned)
{
    CSimulation simulation(Ideal(0.0, 0.0));
    simulation.SetImplementWidth(3.0);
    simulation.SetImplementOffset(1.2);
    simulation.SetLine(kNorthwards);
    simulation.StartNavigation(EFollow::NearestPass);
    EXPECT_EQ(0, simulation.Status().pass);
    FedPosition sample;
    sample.valid = true;
    sample.position = {1.2, 0.0};
    sample.heading = 0.0;
    simulation.Feed(sample);
    ASSERT_NEAR(0.0, simulation.Status().crossTrackError, 1e-9);

    // Pass 0 is now followed 1.2 m left of the line, pass 1 at 3 m less 1.2 m.
    sample.heading = kPi;
    simulation.Feed(sample);

    EXPECT_EQ(1, simulation.Status().pass);
    EXPECT_NEAR(-0.6, simulation.Status().crossTrackError, 1e-9);
}

/// A circle of 20 m about (20, 0), from the origin northward, clockwise.
const LineDefinition kCircle = CircleLine({0.0, 0.0}, {20.0, 20.0}, {40.0, 0.0});

/// A machine whose implement is guided, engaged on a line, after so many seconds.
std::unique_ptr<CSimulation> Guided(const LineDefinition& line, const SimulationOptions& options,
                                    double offset, double seconds)
{
    auto simulation = std::make_unique<CSimulation>(options);
    simulation->SetGuide(EGuide::Implement);
    simulation->SetImplementOffset(offset);
    simulation->SetImplementWidth(12.0);
    simulation->SetLine(line);
    simulation->StartNavigation(EFollow::LineItself);
    simulation->Engage();
    StepFor(*simulation, seconds);
    return simulation;
}

/// The radius on which a rear axle drives whose implement is on a circle, worked out by Pythagoras
/// twice: hitch and axle are `behind` apart along the axle's tangent, hitch and middle `drawbar`
/// apart along the middle's.
double AxleRadius(double radius, const ImplementGeometry& implement)
{
    return std::sqrt(radius * radius + implement.drawbar * implement.drawbar -
                     implement.behind * implement.behind);
}

TEST(GuidedImplement, IsOnACircleWhileTheAxleDrivesWhereGeometryPutsIt)
{
    for (const ImplementGeometry& implement :
         {ImplementGeometry{2.0, 0.0}, ImplementGeometry{0.0, 0.0}, ImplementGeometry{5.0, 0.0},
          ImplementGeometry{1.0, 4.0}, ImplementGeometry{0.0, 6.0}}) {
        for (const double heading : {0.0, 180.0}) {
            for (const double offset : {0.0, 1.0}) {
                SimulationOptions options = Ideal(heading);
                options.implement = implement;
                const auto simulation = Guided(kCircle, options, offset, 120.0);
                ASSERT_TRUE(simulation->Engaged()) << simulation->DropReason();
                const Point centre{20.0, 0.0};
                // The implement's line is that of a circle; its hanger goes round beside it.
                const double hangers = 20.0 + (heading == 0.0 ? -offset : offset);
                const double expected =
                    implement.drawbar > 0.0
                        ? AxleRadius(hangers, implement)
                        : AxleRadius(20.0, implement) - (heading == 0.0 ? offset : -offset);
                EXPECT_NEAR(20.0, Distance(centre, simulation->TrueImplementPoint()), 0.006)
                    << implement.behind << ", " << implement.drawbar << ", " << offset;
                EXPECT_NEAR(expected, Distance(centre, simulation->TruePose().position), 0.006)
                    << implement.behind << ", " << implement.drawbar << ", " << offset;
                EXPECT_NEAR(0.0, simulation->TrueImplementCrossTrackError(), 0.006);
            }
        }
    }
}

TEST(GuidedImplement, IsBesideACircleByWhatGeometrySaysWhileTheMachineIsGuided)
{
    for (const ImplementGeometry& implement :
         {ImplementGeometry{2.0, 0.0}, ImplementGeometry{1.0, 4.0}}) {
        SimulationOptions options = Ideal(0.0);
        options.implement = implement;
        const auto simulation = Guided(kCircle, options, 0.0, 1.0);
        simulation->SetGuide(EGuide::Machine);
        StepFor(*simulation, 120.0);

        const double radius = std::sqrt(400.0 + implement.behind * implement.behind -
                                        implement.drawbar * implement.drawbar);
        EXPECT_NEAR(20.0, Distance({20.0, 0.0}, simulation->TruePose().position), 0.002);
        // Outside a clockwise circle is its left.
        EXPECT_NEAR(20.0 - radius, simulation->TrueImplementCrossTrackError(), 0.002);
    }
}

TEST(GuidedImplement, StaysOnItsLineWhileTheMachineMovesBackwards)
{
    SimulationOptions options = Ideal(0.0, -1.5);
    CSimulation simulation(options);
    simulation.SetReverseEngageEnabled(true);
    simulation.SetReverseEngageAllowed(true);
    simulation.SetGuide(EGuide::Implement);
    simulation.SetLine(kCircle);
    simulation.StartNavigation(EFollow::LineItself);
    ASSERT_TRUE(simulation.Engage());

    StepFor(simulation, 120.0);

    ASSERT_TRUE(simulation.Engaged()) << simulation.DropReason();
    EXPECT_NEAR(0.0, simulation.TrueImplementCrossTrackError(), 0.005);
}

/// The 95 % of the implement's true error on a drive, metres.
double Implement95(DrivePlan plan, EGuide guide)
{
    plan.options.guide = guide;
    return Driven(plan).ImplementError95(20.0);
}

TEST(GuidedImplement, KeepsToBendsThatItLeavesByDecimetresOtherwise)
{
    DrivePlan bends = BendsDrive(1, ELineKind::Spline);
    EXPECT_GT(Implement95(bends, EGuide::Machine), 0.10);
    EXPECT_LT(Implement95(bends, EGuide::Implement), 0.03);
    EXPECT_LT(Implement95(CircleDrive(1, true), EGuide::Implement), 0.025);
    EXPECT_LT(Implement95(CircleDrive(1, false), EGuide::Implement), 0.025);

    bends.options.implement = {1.0, 4.0};
    EXPECT_GT(Implement95(bends, EGuide::Machine), 0.40);
    EXPECT_LT(Implement95(bends, EGuide::Implement), 0.06);
}

TEST(GuidedImplement, IsMeasuredWhereItIsByThePageToo)
{
    SimulationOptions options = Ideal(0.0);
    options.implement = {1.0, 4.0};
    const auto simulation = Guided(kCircle, options, 0.5, 30.0);

    EXPECT_NEAR(0.0, Distance(simulation->TrueImplementPoint(), simulation->ImplementPoint()),
                0.01);
    EXPECT_NEAR(simulation->TrueImplementCrossTrackError(), simulation->ImplementCrossTrackError(),
                0.01);
}

TEST(ReceiverDrift, IsWhatIsWrongWithAMachineThatIsOnItsLineByAllThatItMeasures)
{
    DrivePlan plan = StraightDrive(3, 2.5, EGround::Firm);
    plan.options.receiver = EReceiver::Sbas;
    const std::unique_ptr<CSimulation> simulation = Engaged(plan);
    double drift = 0.0;
    double guidance = 0.0;
    int samples = 0;
    for (int step = 0; step < 30000 && simulation->Engaged(); ++step) {
        simulation->Step();
        drift += std::abs(simulation->ReceiverDriftError());
        guidance += std::abs(simulation->TrueCrossTrackError() - simulation->ReceiverDriftError());
        ++samples;
    }

    ASSERT_EQ(30000, samples);
    EXPECT_GT(drift / samples, 0.10);
    EXPECT_LT(guidance, 0.25 * drift);
}

TEST(Tractrix, IsThatOfItsSolution)
{
    // Towed square to the bar by one length, tan(a / 2) falls from 1 to 1 / e.
    EXPECT_NEAR(2.0 * std::atan(std::exp(-1.0)), BarAfter(kPi / 2.0, 0.0, 3.0, 3.0), 1e-12);
    // In many steps as in one.
    double direction = Radians(70.0);
    for (int step = 0; step < 1000; ++step) {
        direction = BarAfter(direction, 0.2, 0.01, 4.0);
    }
    EXPECT_NEAR(BarAfter(Radians(70.0), 0.2, 10.0, 4.0), direction, 1e-9);
}

} // namespace
