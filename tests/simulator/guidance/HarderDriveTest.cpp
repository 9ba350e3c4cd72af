// Drives in a harder world, and that the usual one has stayed as it was.

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "tests/simulator/guidance/Drives.h"

namespace {

/// A usual drive in a world that is changed.
CDrive DrivenIn(std::uint64_t seed, const std::function<void(SimulationOptions&)>& change)
{
    DrivePlan plan = StraightDrive(seed, 2.5, EGround::Firm);
    plan.seconds = 300.0;
    change(plan.options);
    return Driven(plan);
}

/// The mean of the 95 % errors of the seeds, metres; fails where steering was dropped.
double MeanError95(const std::function<void(SimulationOptions&)>& change)
{
    double sum = 0.0;
    constexpr int kSeeds = 5;
    for (int seed = 1; seed <= kSeeds; ++seed) {
        const CDrive drive = DrivenIn(static_cast<std::uint64_t>(seed), change);
        EXPECT_TRUE(drive.engagedToTheEnd) << seed;
        sum += drive.Error95();
    }
    return sum / kSeeds;
}

TEST(HarderDrive, DrivesInTheUsualWorldRepeat)
{
    // Where drives of 200 s end in which nothing has been made harder.
    const struct
    {
        EReceiver receiver;
        EGround ground;
        Pose end;
    } rows[] = {{EReceiver::Ideal, EGround::Firm, {{0.0, 499.957889237}, 0.0}},
                {EReceiver::Ideal, EGround::Field, {{-0.008061967, 499.945029253}, 0.002404842}},
                {EReceiver::Rtk, EGround::Firm, {{0.017484432, 499.957112494}, 0.001343544}},
                {EReceiver::Rtk, EGround::Field, {{0.012746470, 499.945089004}, 0.004569943}}};
    for (const auto& row : rows) {
        SimulationOptions options;
        options.receiver = row.receiver;
        options.ground = row.ground;
        options.seed = 7;
        options.speed = 2.5;
        options.startPose.position = {0.8, 0.0};
        options.centreBias = options.backlash = row.ground == EGround::Field ? 0.01 : 0.0;
        CSimulation simulation(options);
        ASSERT_TRUE(simulation.SetLine(StraightLine({0.0, 0.0}, {0.0, 100.0})));
        ASSERT_TRUE(simulation.StartNavigation(EFollow::LineItself));
        ASSERT_TRUE(simulation.Engage());
        for (int step = 0; step < 10000; ++step) {
            simulation.Step();
        }
        EXPECT_NEAR(row.end.position.x, simulation.TruePose().position.x, 1e-7);
        EXPECT_NEAR(row.end.position.y, simulation.TruePose().position.y, 1e-7);
        EXPECT_NEAR(row.end.heading, simulation.TruePose().heading, 1e-7);
    }
}

TEST(HarderDrive, ASlopePutsAMachineAsideUnlessItsRollIsCompensated)
{
    const auto leaning = [](bool compensates) {
        return [compensates](SimulationOptions& options) {
            options.terrain = {ETerrain::Slope, Radians(1.5)};
            options.mounting.compensatesLean = compensates;
        };
    };
    const double flat = MeanError95([](SimulationOptions&) {});
    const double compensated = MeanError95(leaning(true));
    const double uncompensated = MeanError95(leaning(false));
    // The antenna is 7.9 cm aside, and the receiver errs on top of that.
    EXPECT_NEAR(3.0 * std::sin(Radians(1.5)) + flat, uncompensated, 0.012);
    EXPECT_LE(compensated, flat + 0.01);
}

TEST(HarderDrive, RollingGroundIsCompensatedToo)
{
    const auto rolling = [](bool compensates) {
        return [compensates](SimulationOptions& options) {
            options.terrain.kind = ETerrain::Rolling;
            options.mounting.compensatesLean = compensates;
        };
    };
    const double compensated = MeanError95(rolling(true));
    EXPECT_LE(compensated, MeanError95([](SimulationOptions&) {}) + 0.015);
    EXPECT_GT(MeanError95(rolling(false)), 4.0 * compensated);
}

TEST(HarderDrive, LeverArmsAreTakenOff)
{
    const double there = MeanError95([](SimulationOptions& options) {
        options.mounting.antenna = {1.5, -0.8, 2.5};
    });
    EXPECT_LE(there, MeanError95([](SimulationOptions&) {}) + 0.005);
}

TEST(HarderDrive, GoesOnWithASlowerReceiver)
{
    for (const int rate : {1, 2, 5}) {
        EXPECT_LE(MeanError95([rate](SimulationOptions& options) { options.mounting.rate = rate; }),
                  0.04)
            << rate;
    }
}

/// What comes of a time without positions on the line.
struct Outage
{
    double greatestError = 0.0; ///< metres, true, until it ends
    double drivenOn = 0.0;      ///< seconds, steered
    std::string reason;         ///< for which steering was dropped
};

Outage DriveThrough(std::uint64_t seed, double seconds, EGround ground)
{
    DrivePlan plan = StraightDrive(seed, 2.5, ground);
    const auto simulation = Engaged(plan);
    Advance(*simulation, 30.0);
    WorldConditions conditions = simulation->Conditions();
    conditions.reception.isCovered = true;
    simulation->SetConditions(conditions);
    Outage outage;
    const double start = simulation->Time();
    while (simulation->Engaged() && simulation->Time() < start + seconds) {
        simulation->Step();
        outage.greatestError =
            std::max(outage.greatestError, std::abs(simulation->TrueCrossTrackError()));
    }
    outage.drivenOn = simulation->Time() - start;
    outage.reason = simulation->DropReason();
    return outage;
}

TEST(HarderDrive, ReckonsOnForFiveSecondsWithoutAPosition)
{
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        const Outage firm = DriveThrough(seed, 5.0, EGround::Firm);
        EXPECT_EQ("", firm.reason);
        EXPECT_LT(firm.greatestError, 0.06) << seed;
        const Outage field = DriveThrough(seed, 5.0, EGround::Field);
        EXPECT_EQ("", field.reason);
        EXPECT_LT(field.greatestError, 0.30) << seed;
    }
}

TEST(HarderDrive, DropsSteeringWhenNoPositionComesForLonger)
{
    const Outage outage = DriveThrough(1, 60.0, EGround::Firm);
    EXPECT_NEAR(5.1, outage.drivenOn, 0.11);
    EXPECT_EQ("the receiver has had no usable position for 5.00 s", outage.reason);
}

TEST(HarderDrive, TakesPositionsUpAgainAndCanBeEngaged)
{
    const auto simulation = Engaged(StraightDrive(3, 2.5, EGround::Firm));
    Advance(*simulation, 20.0);
    WorldConditions covered = simulation->Conditions();
    covered.reception.isCovered = true;
    const WorldConditions usual = simulation->Conditions();
    simulation->SetConditions(covered);
    Advance(*simulation, 30.0);
    EXPECT_FALSE(simulation->Engaged());
    EXPECT_FALSE(simulation->Engage());
    simulation->SetConditions(usual);
    Advance(*simulation, 15.0);
    EXPECT_TRUE(simulation->Engage());
    Advance(*simulation, 20.0);
    EXPECT_LT(std::abs(simulation->TrueCrossTrackError()), 0.05);
}

TEST(HarderDrive, SteersNotByPositionsOfSatellitesAlone)
{
    const auto simulation = Engaged(StraightDrive(3, 2.5, EGround::Firm));
    Advance(*simulation, 20.0);
    WorldConditions single = simulation->Conditions();
    single.reception.bestFix = EFix::Single;
    simulation->SetConditions(single);
    Advance(*simulation, 4.5);
    EXPECT_TRUE(simulation->Engaged());
    EXPECT_LT(std::abs(simulation->TrueCrossTrackError()), 0.06);
    Advance(*simulation, 1.5);
    EXPECT_FALSE(simulation->Engaged());
    // It is better than nothing for all else.
    Advance(*simulation, 100.0);
    EXPECT_LT(Distance(simulation->EstimatedPose().position, simulation->TruePose().position), 6.0);
}

TEST(HarderDrive, TurnsByHandToAHeadingAndByACurvature)
{
    SimulationOptions options;
    options.receiver = EReceiver::Ideal;
    options.speed = 2.0;
    CSimulation simulation(options);
    WorldConditions conditions;
    conditions.manualHeading = Radians(-100.0);
    simulation.SetConditions(conditions);
    Advance(simulation, 30.0);
    EXPECT_NEAR(260.0, Degrees(simulation.TruePose().heading), 0.1);

    conditions.manualHeading.reset();
    conditions.manualCurvature = -0.1; // a circle of 10 m to the left
    simulation.SetConditions(conditions);
    Advance(simulation, 5.0);
    const double before = simulation.TruePose().heading;
    Advance(simulation, 1.0);
    EXPECT_NEAR(-0.2, NormaliseTurn(simulation.TruePose().heading - before), 1e-3);

    conditions.manualCurvature.reset();
    simulation.SetConditions(conditions);
    Advance(simulation, 5.0);
    EXPECT_NEAR(0.0, simulation.SteeringAngle(), 1e-6);
}

TEST(HarderDrive, GuidanceSteersInPlaceOfTheHand)
{
    const auto simulation = Engaged(StraightDrive(3, 2.5, EGround::Firm));
    WorldConditions conditions;
    conditions.manualCurvature = 0.2;
    simulation->SetConditions(conditions);
    Advance(*simulation, 20.0);
    EXPECT_TRUE(simulation->Engaged());
    EXPECT_LT(std::abs(simulation->TrueCrossTrackError()), 0.05);
}

} // namespace
