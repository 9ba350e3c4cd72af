// How well the machine keeps to its line: the worst of the seeds 1 to 20 counts.

#include <cmath>
#include <cstdint>
#include <memory>
#include <ostream>
#include <vector>

#include <gtest/gtest.h>

#include "tests/simulator/guidance/Drives.h"

namespace {

constexpr std::uint64_t kSeeds = 20;

/// How well a straight line is kept at a speed.
struct StraightRow
{
    double speed;
    double firmError95;
    double fieldError95;
};

void PrintTo(const StraightRow& row, std::ostream* out)
{
    *out << row.speed << " m/s";
}

class StraightLine : public testing::TestWithParam<StraightRow>
{
};

TEST_P(StraightLine, IsKeptOnFirmGroundForTenMinutes)
{
    for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const CDrive drive = Driven(StraightDrive(seed, GetParam().speed, EGround::Firm));
        EXPECT_TRUE(drive.engagedToTheEnd);
        EXPECT_LE(drive.Error95(), GetParam().firmError95);
        EXPECT_LT(drive.MeanError(), 0.012);
        // Noise of the receiver is not steered after.
        EXPECT_LT(Degrees(drive.steeringRate), 1.5);
    }
}

TEST_P(StraightLine, IsKeptOnAFieldOnTheAverageOfTheSeeds)
{
    double sum = 0.0;
    for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
        const CDrive drive = Driven(StraightDrive(seed, GetParam().speed, EGround::Field));
        EXPECT_TRUE(drive.engagedToTheEnd) << "seed " << seed;
        sum += drive.Error95();
    }
    EXPECT_LE(sum / kSeeds, GetParam().fieldError95);
}

INSTANTIATE_TEST_SUITE_P(Speeds, StraightLine,
                         testing::Values(StraightRow{1.0, 0.028, 0.04},
                                         StraightRow{2.5, 0.028, 0.05},
                                         StraightRow{5.0, 0.028, 0.07}));

TEST(Acquisition, FromAMetreBesideIsSwiftWithoutOvershoot)
{
    for (const double side : {1.0, -1.0}) {
        for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
            SCOPED_TRACE(testing::Message() << side << " m beside, seed " << seed);
            const CDrive drive = Driven(AcquisitionDrive(seed, 2.5, side, 0.0));
            EXPECT_GE(drive.WayToSettle(0.05), 8.0);
            EXPECT_LE(drive.WayToSettle(0.05), 20.0);
            EXPECT_LE(drive.Overshoot(), 0.05);
        }
    }
}

TEST(Acquisition, FromFarAndAskewNeverWeaves)
{
    for (const double side : {3.0, -3.0}) {
        for (const double degrees : {45.0, -45.0}) {
            for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
                SCOPED_TRACE(testing::Message()
                             << side << " m, " << degrees << " degrees, seed " << seed);
                const CDrive drive = Driven(AcquisitionDrive(seed, 2.5, side, degrees));
                EXPECT_TRUE(drive.engagedToTheEnd);
                EXPECT_LE(drive.WayToSettle(0.05), 40.0);
                EXPECT_LE(drive.Crossings(0.05), 1);
                EXPECT_LE(Degrees(drive.GreatestHeadingError()), 60.0);
            }
        }
    }
}

TEST(Acquisition, AgainstTheDirectionOfTheLineIsTheSame)
{
    const CDrive along = Driven(AcquisitionDrive(1, 2.5, 1.0, 0.0));
    const CDrive against = Driven(AcquisitionDrive(1, 2.5, -1.0, 180.0));

    EXPECT_TRUE(against.engagedToTheEnd);
    EXPECT_NEAR(along.WayToSettle(0.05), against.WayToSettle(0.05), 3.0);
    EXPECT_LE(against.Overshoot(), 0.05);
}

/// Where the machine is on its way along or against a line to the north, and what is reported of
/// it.
struct SignRow
{
    double east;
    double heading; ///< degrees
    double headingError;
    double curvatureSign;
};

TEST(Acquisition, TellsHeadingErrorAndCurvaturePositiveToTheRight)
{
    for (const SignRow& row : {SignRow{0.0, 10.0, 10.0, -1.0}, SignRow{0.0, 350.0, -10.0, 1.0},
                               SignRow{0.0, 190.0, 10.0, -1.0}, SignRow{0.0, 170.0, -10.0, 1.0},
                               SignRow{-1.0, 0.0, 0.0, 1.0}, SignRow{1.0, 0.0, 0.0, -1.0},
                               SignRow{-1.0, 180.0, 0.0, -1.0}, SignRow{1.0, 180.0, 0.0, 1.0}}) {
        DrivePlan plan;
        plan.options.receiver = EReceiver::Ideal;
        plan.options.speed = 2.0;
        plan.options.startPose = {{row.east, 0.0}, Radians(row.heading)};
        plan.leadSeconds = 0.0;
        const std::unique_ptr<CSimulation> simulation = Engaged(plan);
        EXPECT_NEAR(row.headingError, Degrees(simulation->Status().headingError), 1e-6)
            << row.east << " m, " << row.heading << " degrees";

        DrivenOn(*simulation, 0.1);

        EXPECT_GT(row.curvatureSign * simulation->Status().commandedCurvature, 0.01)
            << row.east << " m, " << row.heading << " degrees";
    }
}

TEST(Acquisition, BackwardsReachesTheLineToo)
{
    DrivePlan plan = AcquisitionDrive(1, 2.5, 1.0, 0.0);
    plan.options.startPose.position = {1.0, 200.0};
    plan.options.speed = -1.5;
    plan.prepare = [](CSimulation& simulation) {
        simulation.SetReverseEngageEnabled(true);
        simulation.SetReverseEngageAllowed(true);
    };

    const CDrive drive = Driven(plan);

    EXPECT_TRUE(drive.engagedToTheEnd);
    EXPECT_LE(drive.WayToSettle(0.05), 20.0);
    EXPECT_LE(drive.Overshoot(), 0.05);
}

TEST(Circle, IsKeptInBothDirections)
{
    for (const bool clockwise : {true, false}) {
        for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
            SCOPED_TRACE(testing::Message()
                         << (clockwise ? "clockwise" : "the other way") << ", seed " << seed);
            const CDrive drive = Driven(CircleDrive(seed, clockwise));
            EXPECT_TRUE(drive.engagedToTheEnd);
            EXPECT_LE(drive.Error95(), 0.05);
        }
    }
}

TEST(Bends, OfFifteenMetresAreKept)
{
    for (const ELineKind kind : {ELineKind::Curve, ELineKind::Spline, ELineKind::Recorded}) {
        for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
            SCOPED_TRACE(testing::Message()
                         << "kind " << static_cast<int>(kind) << ", seed " << seed);
            const CDrive drive = Driven(BendsDrive(seed, kind));
            EXPECT_TRUE(drive.engagedToTheEnd);
            EXPECT_LE(drive.Error95(), 0.08);
        }
    }
}

TEST(SteeringCentre, AWrongOneLeavesNoStandingError)
{
    for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
        const CDrive drive = Driven(BiasedDrive(seed, EReceiver::Rtk));
        EXPECT_LT(std::abs(drive.StandingError(60.0)), 0.01) << "seed " << seed;
    }
}

TEST(SteeringCentre, AWrongOneIsLearntWithinSixtyMetres)
{
    const CDrive drive = Driven(BiasedDrive(1, EReceiver::Ideal));

    EXPECT_GT(drive.Error95(), 0.0);
    EXPECT_LT(drive.Error95(60.0), 0.01);
}

TEST(SteeringCentre, AWrongOneDoesNotSpoilTheWayToTheLine)
{
    for (const double side : {3.0, -3.0}) {
        DrivePlan plan = AcquisitionDrive(1, 2.5, side, 0.0);
        plan.options.receiver = EReceiver::Ideal;
        // Engaged at once, so that nothing is known of the centre.
        plan.options.startPose = {{side, 0.0}, 0.0};
        plan.leadSeconds = 0.0;
        const CDrive right = Driven(plan);
        plan.options.centreBias = Radians(1.0);
        const CDrive wrong = Driven(plan);

        // An integral over the whole way to the line would carry the machine far past it.
        EXPECT_LT(right.Overshoot(), 0.02) << side;
        EXPECT_LT(wrong.Overshoot(), 0.05) << side;
        EXPECT_LT(wrong.WayToSettle(0.05), right.WayToSettle(0.05) + 5.0) << side;
    }
}

TEST(SteeringCentre, ResettingTheIntegralForgetsWhatWasLearnt)
{
    const std::unique_ptr<CSimulation> simulation = Engaged(BiasedDrive(1, EReceiver::Ideal));
    DrivenOn(*simulation, 60.0);

    simulation->ResetIntegral();
    const CDrive after = DrivenOn(*simulation, 60.0);

    double greatest = 0.0;
    for (const DriveSample& sample : after.samples) {
        greatest = std::max(greatest, std::abs(sample.crossTrack));
    }
    EXPECT_GT(greatest, 0.01);
    EXPECT_LT(after.Error95(60.0), 0.005);
}

TEST(Nudge, OfHalfAMetreIsTakenSwiftlyWithoutOvershoot)
{
    for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const CDrive drive = NudgedDrive(seed);
        EXPECT_TRUE(drive.engagedToTheEnd);
        EXPECT_NEAR(drive.samples.front().crossTrack, -0.5, 0.05);
        EXPECT_LE(drive.WayToSettle(0.05), 20.0);
        EXPECT_LE(drive.Overshoot(), 0.05);
    }
}

TEST(SteeringPlay, IsFoundAsASteeringCentreThatStrays)
{
    struct Row
    {
        double speed;
        double error95;
    };
    for (const Row& row : {Row{2.5, 0.04}, Row{12.0, 0.20}}) {
        DrivePlan plan = StraightDrive(1, row.speed, EGround::Firm);
        plan.options.backlash = Radians(2.0);
        plan.options.centreBias = Radians(2.0);
        plan.leadSeconds = 0.0;
        plan.seconds = 120.0;
        const CDrive drive = Driven(plan);
        EXPECT_TRUE(drive.engagedToTheEnd);
        EXPECT_LT(drive.Error95(20.0 * row.speed), row.error95) << row.speed;
    }
}

/// How far a curve recorded on 100 m of straight way is beside that way another 100 m on, root mean
/// square of the seeds, metres.
double BesideAfterTheEnd(bool steered)
{
    double squares = 0.0;
    for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
        const std::unique_ptr<CSimulation> simulation =
            Engaged(StraightDrive(seed, 2.0, EGround::Firm));
        if (!steered) {
            simulation->Disengage();
        }
        Advance(*simulation, 20.0);
        std::vector<Point> driven;
        for (int point = 0; point <= 200; ++point) {
            driven.push_back(simulation->EstimatedPose().position);
            Advance(*simulation, 0.25);
        }
        const double east = steered ? 0.0 : simulation->TruePose().position.x;
        const double north = driven.back().y;
        simulation->Disengage();
        EXPECT_TRUE(simulation->SetLine(CurveLine(driven)));
        const double aside = simulation->Layout().line->Project({east, north + 100.0}).crossTrack;
        squares += aside * aside / static_cast<double>(kSeeds);
    }
    return std::sqrt(squares);
}

TEST(Curve, GoesOnBeyondItsEndInTheDirectionDriven)
{
    EXPECT_LT(BesideAfterTheEnd(true), 0.03);
    EXPECT_LT(BesideAfterTheEnd(false), 0.03);
}

TEST(Curve, ThatEndsInABendGoesOnAlongItsTangent)
{
    std::vector<Point> points;
    for (int degrees = 0; degrees <= 90; ++degrees) {
        points.push_back(Moved({0.0, 0.0}, Radians(degrees), 40.0, 0.0));
    }
    CSimulation simulation(SimulationOptions{});
    ASSERT_TRUE(simulation.SetLine(CurveLine(points)));

    // Southward at 40 m east.
    EXPECT_NEAR(0.0, simulation.Layout().line->Project({40.0, -30.0}).crossTrack, 0.6);
}

} // namespace
