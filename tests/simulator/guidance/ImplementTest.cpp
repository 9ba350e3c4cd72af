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

const LineDefinition kNorth = StraightLine({0.0, 0.0}, {0.0, 100.0});

void StepFor(CSimulation& simulation, double seconds)
{
    for (int step = 0; step < std::lround(seconds / CSimulation::kStepSeconds); ++step)
        simulation.Step();
}

TEST(ImplementOffset, PutsTheImplementOnTheLineOnTheWayOutAndOnTheWayBack)
{
    for (const double heading : {0.0, 180.0}) {
        for (const double offset : {0.5, -0.3}) {
            CSimulation simulation(Ideal(heading));
            simulation.SetImplementOffset(offset);
            simulation.SetLine(kNorth);
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
    simulation.SetLine(kNorth);
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

    simulation.SetLine(kNorth);
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

/// Turns a machine on the spot, by positions from outside.
void Look(CSimulation& simulation, double degrees)
{
    FedPosition sample;
    sample.valid = true;
    sample.heading = Radians(degrees);
    simulation.Feed(sample);
}

TEST(ImplementOffset, ChangesSidesOnlyWhenTheMachineHasClearlyTurned)
{
    CSimulation simulation(Ideal(0.0, 0.0));
    simulation.SetImplementOffset(0.5);
    simulation.SetLine(kNorth);
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
    simulation.SetLine(kNorth);
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

} // namespace
