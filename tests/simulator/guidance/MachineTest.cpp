// The machine, its sensors and its ground.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/machine/Ground.h"
#include "simulator/machine/Machine.h"
#include "simulator/machine/Receiver.h"
#include "tests/simulator/guidance/Drives.h"

namespace {

double Deviation(const std::vector<double>& values)
{
    double squares = 0.0;
    for (const double value : values) {
        squares += value * value;
    }
    return std::sqrt(squares / static_cast<double>(values.size()));
}

TEST(Steering, ActsAfterTheDeadTimeWithItsLagAndRateLimit)
{
    CSteering steering(0.0, 0.0);
    for (int step = 0; step < 5; ++step) {
        steering.Step(Radians(2.0));
        EXPECT_EQ(0.0, steering.SensorAngle()) << step;
    }
    // After one lag 63 % of the small step are done.
    for (double time = 0.0; time < 0.249; time += kMachineStepSeconds) {
        steering.Step(Radians(2.0));
    }
    EXPECT_NEAR(0.63 * 2.0, Degrees(steering.SensorAngle()), 0.08);
}

TEST(Steering, NeitherOutrunsItsRateNorItsStops)
{
    CSteering steering(0.0, 0.0);
    double before = 0.0;
    double fastest = 0.0;
    for (int step = 0; step < 500; ++step) {
        steering.Step(Radians(80.0));
        fastest = std::max(fastest, Degrees(steering.SensorAngle() - before) / kMachineStepSeconds);
        before = steering.SensorAngle();
    }
    EXPECT_NEAR(20.0, fastest, 1e-6);
    EXPECT_NEAR(35.0, Degrees(before), 0.01);
}

TEST(Steering, TheWheelsStandAsideByBiasAndPlay)
{
    CSteering steering(Radians(1.0), Radians(0.5));
    for (int step = 0; step < 500; ++step) {
        steering.Step(Radians(10.0));
    }
    EXPECT_NEAR(10.75, Degrees(steering.WheelAngle()), 0.01);
    for (int step = 0; step < 500; ++step) {
        steering.Step(0.0);
    }
    EXPECT_NEAR(1.25, Degrees(steering.WheelAngle()), 0.01);
}

TEST(Machine, DrivesTheCircleOfItsWheelbaseAndSteeringAngle)
{
    CMachine machine({}, 2.0, CSteering(Radians(10.0), 0.0));
    const double radius = kWheelbase / std::tan(Radians(10.0));
    for (int step = 0; step < 2000; ++step) {
        machine.Step(0.0, 2.0, 0.0);
        EXPECT_NEAR(radius, Distance(machine.TruePose().position, {radius, 0.0}), 0.001);
    }
}

TEST(Machine, GainsSpeedWithItsAccelerationLimit)
{
    CMachine machine({}, 0.0, CSteering(0.0, 0.0));
    for (int step = 0; step < 50; ++step) {
        machine.Step(0.0, 3.0, 0.0);
    }
    EXPECT_NEAR(1.0, machine.Speed(), 1e-9);
    for (int step = 0; step < 200; ++step) {
        machine.Step(0.0, 3.0, 0.0);
    }
    EXPECT_NEAR(3.0, machine.Speed(), 1e-9);
}

/// The mean product of the values and those `steps` later.
double Covariance(const std::vector<double>& values, std::size_t steps)
{
    double sum = 0.0;
    for (std::size_t i = 0; i + steps < values.size(); ++i) {
        sum += values[i] * values[i + steps];
    }
    return sum / static_cast<double>(values.size() - steps);
}

/// A receiver and its errors: metres and degrees, one sigma.
struct ReceiverRow
{
    EReceiver receiver;
    double white;
    double drift;
    double heading;
};

TEST(Receiver, ErrsAsItsPresetSays)
{
    for (const ReceiverRow& row : {ReceiverRow{EReceiver::Rtk, 0.006, 0.008, 0.15},
                                   ReceiverRow{EReceiver::Sbas, 0.05, 0.25, 0.5}}) {
        CReceiver receiver(row.receiver, 7, 0.1);
        std::vector<double> east;
        std::vector<double> north;
        std::vector<double> heading;
        for (int i = 0; i < 2000000; ++i) {
            const Pose measured = receiver.Measure({});
            east.push_back(measured.position.x);
            north.push_back(measured.position.y);
            heading.push_back(Degrees(NormaliseTurn(measured.heading)));
        }
        EXPECT_NEAR(row.heading, Deviation(heading), 0.01 * row.heading);
        for (const std::vector<double>& errors : {east, north}) {
            const double driftVariance = row.drift * row.drift;
            // A step of 0.1 s apart the white noise has gone and a little of the drift, and after
            // 60 s the e-th part of that is left.
            const double gone = driftVariance * (1.0 - std::exp(-0.1 / 60.0));
            EXPECT_NEAR(row.white, std::sqrt(Covariance(errors, 0) - Covariance(errors, 1) - gone),
                        0.01 * row.white);
            EXPECT_NEAR(driftVariance, Covariance(errors, 1), 0.1 * driftVariance);
            EXPECT_NEAR(std::exp(-1.0), Covariance(errors, 600) / driftVariance, 0.1);
        }
    }
}

TEST(Receiver, AnIdealOneNeverErrs)
{
    CReceiver receiver(EReceiver::Ideal, 7, 0.1);
    const Pose measured = receiver.Measure({{1.0, 2.0}, 0.5});
    EXPECT_EQ(1.0, measured.position.x);
    EXPECT_EQ(2.0, measured.position.y);
    EXPECT_EQ(0.5, measured.heading);
}

TEST(Ground, OfAFieldSlipsAndFirmGroundDoesNot)
{
    CGround field(EGround::Field, 3);
    CGround firm(EGround::Firm, 3);
    std::vector<double> slips;
    for (int i = 0; i < 500000; ++i) {
        slips.push_back(field.NextSideSlip());
        EXPECT_EQ(0.0, firm.NextSideSlip());
    }
    EXPECT_NEAR(0.4, Degrees(Deviation(slips)), 0.03);
    EXPECT_NEAR(std::exp(-1.0), Covariance(slips, 100) / Covariance(slips, 0), 0.08);
}

/// Every value of a drive's samples, in order.
std::vector<double> Values(std::uint64_t seed)
{
    DrivePlan plan = StraightDrive(seed, 2.5, EGround::Field);
    plan.seconds = 60.0;
    std::vector<double> values;
    for (const DriveSample& sample : Driven(plan).samples) {
        values.insert(values.end(), {sample.way, sample.crossTrack, sample.headingError});
    }
    return values;
}

TEST(Simulation, OneSeedGivesOneDriveBitForBit)
{
    EXPECT_EQ(Values(5), Values(5));
    EXPECT_NE(Values(5), Values(6));
}

} // namespace
