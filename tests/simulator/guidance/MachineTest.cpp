// The machine, its sensors and its ground.

#include <cmath>
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
    for (const double value : values)
        squares += value * value;
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
    for (double time = 0.0; time < 0.249; time += kMachineStepSeconds)
        steering.Step(Radians(2.0));
    EXPECT_NEAR(0.63 * 2.0, Degrees(steering.SensorAngle()), 0.08);
}

TEST(Steering, NeitherOutrunsItsRateNorItsStops)
{
    CSteering steering(0.0, 0.0);
    double before = 0.0;
    for (int step = 0; step < 500; ++step) {
        steering.Step(Radians(80.0));
        EXPECT_LE(Degrees(steering.SensorAngle() - before), 20.0 * kMachineStepSeconds + 1e-9);
        before = steering.SensorAngle();
    }
    EXPECT_NEAR(35.0, Degrees(before), 0.01);
}

TEST(Steering, TheWheelsStandAsideByBiasAndPlay)
{
    CSteering steering(Radians(1.0), Radians(0.5));
    for (int step = 0; step < 500; ++step)
        steering.Step(Radians(10.0));
    EXPECT_NEAR(10.75, Degrees(steering.WheelAngle()), 0.01);
    for (int step = 0; step < 500; ++step)
        steering.Step(0.0);
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
    for (int step = 0; step < 50; ++step)
        machine.Step(0.0, 3.0, 0.0);
    EXPECT_NEAR(1.0, machine.Speed(), 1e-9);
    for (int step = 0; step < 200; ++step)
        machine.Step(0.0, 3.0, 0.0);
    EXPECT_NEAR(3.0, machine.Speed(), 1e-9);
}

TEST(Receiver, ErrsAsItsPresetSays)
{
    CReceiver receiver(EReceiver::Rtk, 7, 0.1);
    std::vector<double> east;
    std::vector<double> heading;
    std::vector<double> change;
    for (int i = 0; i < 100000; ++i) {
        const Pose measured = receiver.Measure({});
        if (!east.empty())
            change.push_back(measured.position.x - east.back());
        east.push_back(measured.position.x);
        heading.push_back(NormaliseTurn(measured.heading));
    }
    EXPECT_NEAR(0.010, Deviation(east), 0.001);
    EXPECT_NEAR(0.006 * std::sqrt(2.0), Deviation(change), 0.0002);
    EXPECT_NEAR(0.15, Degrees(Deviation(heading)), 0.005);
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
    double product = 0.0;
    for (std::size_t i = 0; i + 100 < slips.size(); ++i)
        product += slips[i] * slips[i + 100];
    const double variance = Deviation(slips) * Deviation(slips);
    EXPECT_NEAR(std::exp(-1.0), product / static_cast<double>(slips.size()) / variance, 0.08);
}

/// Every value of a drive's samples, in order.
std::vector<double> Values(std::uint64_t seed)
{
    DrivePlan plan = StraightDrive(seed, 2.5, EGround::Field);
    plan.seconds = 60.0;
    std::vector<double> values;
    for (const DriveSample& sample : Driven(plan).samples)
        values.insert(values.end(), {sample.way, sample.crossTrack, sample.headingError});
    return values;
}

TEST(Simulation, OneSeedGivesOneDriveBitForBit)
{
    EXPECT_EQ(Values(5), Values(5));
    EXPECT_NE(Values(5), Values(6));
}

} // namespace
