// How well a machine is guided that guidance knows from samples alone.

#include <cmath>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/guidance/SteeringResponse.h"
#include "simulator/machine/Steering.h"
#include "tests/simulator/guidance/ExternalMachine.h"

namespace {

TEST(FedGuidance, LeavesNoStandingError)
{
    for (const bool atOnce : {false, true}) {
        std::vector<ExternalPlan> plans(4);
        plans[0].sideSlip = Radians(1.0);
        plans[1].yawOff = Radians(1.0);
        plans[2].tyres = true;
        plans[2].sideSlope = Radians(8.0);
        plans[3].centreBias = Radians(2.0);
        for (ExternalPlan& plan : plans) {
            plan.steersAtOnce = atOnce;
            const ExternalDrive drive = DrivenOutside(plan);
            EXPECT_TRUE(drive.engagedToTheEnd) << &plan - plans.data();
            EXPECT_LT(std::abs(drive.standingError), 0.01) << &plan - plans.data();
            EXPECT_LT(drive.error95, 0.01) << &plan - plans.data();
        }
    }
}

TEST(FedGuidance, KeepsToACircleBySamplesOnceASecond)
{
    ExternalPlan plan;
    plan.line = CircleLine({0.0, 0.0}, {20.0, 20.0}, {40.0, 0.0});
    plan.samplesPerSecond = 1.0;

    const ExternalDrive drive = DrivenOutside(plan);

    EXPECT_TRUE(drive.engagedToTheEnd);
    EXPECT_LT(drive.error95, 0.02);
}

TEST(FedGuidance, KeepsToACircleWithoutAMeasuredYawRate)
{
    ExternalPlan plan;
    plan.line = CircleLine({0.0, 0.0}, {20.0, 20.0}, {40.0, 0.0});
    plan.knowsYawRate = false;

    EXPECT_LT(DrivenOutside(plan).error95, 0.02);
}

/// By the speed, whether the machine has tyres and whether it steers at once.
class AgedSamples : public testing::TestWithParam<std::tuple<double, bool, bool>>
{
};

TEST_P(AgedSamples, AreSteeredByAsWellAsNewOnes)
{
    ExternalPlan plan;
    std::tie(plan.speed, plan.tyres, plan.steersAtOnce) = GetParam();
    plan.start.position.x = 0.3;
    plan.noise = 0.006;
    plan.seconds = 45.0;
    for (const double latency : {0.0, 0.04, 0.08, 0.2, 0.3}) {
        for (const double rate : {5.0, 10.0, 20.0}) {
            for (const double jitter : {0.0, 0.03}) {
                plan.latency = latency;
                plan.samplesPerSecond = rate;
                plan.jitter = jitter;
                ++plan.seed;
                const ExternalDrive drive = DrivenOutside(plan);
                EXPECT_TRUE(drive.engagedToTheEnd) << latency << ", " << rate << ", " << jitter;
                EXPECT_LT(drive.error95, 0.028) << latency << ", " << rate << ", " << jitter;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Machines, AgedSamples,
                         testing::Combine(testing::Values(5.0, 8.0), testing::Bool(),
                                          testing::Bool()));

/// What a machine of a dead time and a lag makes of commands: another curvature every second.
TEST(SteeringResponse, IsLearnedFromTheYawRate)
{
    for (const double lag : {0.0, 0.1, 0.25, 0.45}) {
        for (const std::size_t dead : {0u, 5u, 10u}) {
            CSteeringResponse response;
            double angle = 0.0;
            double lastRate = 0.0;
            std::vector<double> commands(dead + 1, 0.0);
            for (int step = 0; step < 1000; ++step) {
                commands.push_back(step / 50 % 2 == 0 ? 0.05 : -0.05);
                const double arriving = commands[commands.size() - 1 - dead];
                angle =
                    lag > 0.0 ? arriving + (angle - arriving) * std::exp(-0.02 / lag) : arriving;
                response.Step(commands.back());
                if (step % 5 == 0) {
                    response.Learn(0.1, 0.0, 3.0, 3.0 * angle - lastRate);
                    lastRate = 3.0 * angle;
                }
            }
            EXPECT_EQ(lag, response.Lag());
            EXPECT_DOUBLE_EQ(0.02 * static_cast<double>(dead), response.DeadTime());
            EXPECT_NEAR(angle, response.CurvatureAgo(0.0), 1e-9);
        }
    }
}

TEST(SteeringResponse, IsThatOfTheOwnMachineUntilItIsKnown)
{
    CSteeringResponse response;
    EXPECT_DOUBLE_EQ(kSteeringLagSeconds, response.Lag());
    EXPECT_DOUBLE_EQ(0.02 * kSteeringDeadSteps, response.DeadTime());
    // A step's answer after one lag behind the dead time.
    for (int step = 0; step < 5; ++step) {
        response.Step(1.0);
    }
    EXPECT_NEAR(0.0, response.CurvatureAgo(0.0), 1e-12);
    EXPECT_NEAR(1.0 - std::exp(-0.24 / kSteeringLagSeconds), response.CurvatureAgo(-0.24), 1e-9);
}

} // namespace
