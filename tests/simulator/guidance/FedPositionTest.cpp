// Positions from outside take the machine's place.

#include <cmath>

#include <gtest/gtest.h>

#include "simulator/world/Simulation.h"
#include "tests/simulator/guidance/Drives.h"

namespace {

FedPosition SampleAt(double x, double y)
{
    FedPosition sample;
    sample.valid = true;
    sample.position = {x, y};
    sample.heading = 0.0;
    sample.speed = 2.0;
    return sample;
}

/// Feeds a machine that drives north at 2 m/s, `east` of the line, ten times a second.
void FeedFor(CSimulation& simulation, double seconds, double east)
{
    const double start = simulation.Time();
    while (simulation.Time() < start + seconds - 1e-9) {
        simulation.Feed(SampleAt(east, 2.0 * simulation.Time()));
        for (int step = 0; step < CSimulation::kStepsPerControl; ++step) {
            simulation.Step();
        }
    }
}

TEST(FedMode, TheMachineIsWhereTheSamplesSay)
{
    CSimulation simulation(SimulationOptions{});
    simulation.SetLine(StraightLine({0.0, 0.0}, {0.0, 100.0}));
    simulation.StartNavigation(EFollow::LineItself);

    FeedFor(simulation, 2.0, 0.75);

    EXPECT_TRUE(simulation.FedMode());
    EXPECT_NEAR(0.75, simulation.Status().crossTrackError, 1e-9);
    EXPECT_EQ(2.0, simulation.Speed());
    EXPECT_TRUE(simulation.Engage());
    FeedFor(simulation, 1.0, 0.75);
    EXPECT_LT(simulation.Status().commandedCurvature, 0.0);
}

TEST(FedMode, SteeringEndsASecondAfterTheLastSample)
{
    CSimulation simulation(SimulationOptions{});
    simulation.SetLine(StraightLine({0.0, 0.0}, {0.0, 100.0}));
    simulation.StartNavigation(EFollow::LineItself);
    FeedFor(simulation, 2.0, 0.2);
    ASSERT_TRUE(simulation.Engage());

    Advance(simulation, 0.8);
    EXPECT_TRUE(simulation.Engaged());
    Advance(simulation, 0.4);

    EXPECT_TRUE(simulation.DroppedByService());
    EXPECT_EQ("no fresh position has come for 1 s", simulation.DropReason());
}

TEST(FedMode, EndsFiveSecondsAfterTheLastSampleWhereItsOwnMachineStood)
{
    SimulationOptions options;
    options.receiver = EReceiver::Ideal;
    options.startPose.position = {10.0, 20.0};
    CSimulation simulation(options);
    FeedFor(simulation, 1.0, 0.0);

    Advance(simulation, 4.8);
    EXPECT_TRUE(simulation.FedMode());
    Advance(simulation, 0.4);

    EXPECT_FALSE(simulation.FedMode());
    EXPECT_NEAR(10.0, simulation.EstimatedPose().position.x, 0.001);
    EXPECT_NEAR(20.0, simulation.EstimatedPose().position.y, 0.001);
}

TEST(FedMode, TheCourseStandsInForAMissingHeading)
{
    CSimulation simulation(SimulationOptions{});
    FedPosition sample = SampleAt(0.0, 0.0);
    sample.heading.reset();
    sample.course = 1.25;
    simulation.Feed(sample);
    EXPECT_NEAR(1.25, simulation.EstimatedPose().heading, 1e-12);

    sample.reverse = true;
    simulation.Feed(sample);
    EXPECT_NEAR(1.25 + kPi, simulation.EstimatedPose().heading, 1e-12);
    EXPECT_EQ(-2.0, simulation.Speed());
    EXPECT_TRUE(simulation.MovingInReverse());
}

TEST(FedMode, BadSamplesArePassedOver)
{
    CSimulation simulation(SimulationOptions{});
    FedPosition sample = SampleAt(0.0, 0.0);
    sample.valid = false;
    EXPECT_EQ("the position is marked as not valid", simulation.Feed(sample).Reason());

    sample = SampleAt(std::nan(""), 0.0);
    EXPECT_EQ("the east coordinate nan is not a finite number", simulation.Feed(sample).Reason());
    EXPECT_FALSE(simulation.FedMode());
}

} // namespace
