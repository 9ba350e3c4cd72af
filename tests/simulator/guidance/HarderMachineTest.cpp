// The parts of a harder world by themselves, each against what can be written down in closed form.

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/machine/Antenna.h"
#include "simulator/machine/Corrections.h"
#include "simulator/machine/Machine.h"
#include "simulator/machine/Multipath.h"
#include "simulator/machine/SatelliteReceiver.h"
#include "simulator/machine/Steering.h"
#include "simulator/machine/Terrain.h"

namespace {

TEST(Terrain, IsFlatUnlessAskedFor)
{
    const Attitude lean = CTerrain({}, 1).At({{10.0, 20.0}, 0.7});
    EXPECT_EQ(0.0, lean.roll);
    EXPECT_EQ(0.0, lean.pitch);
}

TEST(Terrain, ASlopeLeansAMachineByItsHeading)
{
    const CTerrain terrain({ETerrain::Slope, Radians(8.0)}, 1);
    const struct
    {
        double heading;
        double roll;
        double pitch;
    } rows[] = {{0.0, 8.0, 0.0}, {90.0, 0.0, -8.0}, {180.0, -8.0, 0.0}, {270.0, 0.0, 8.0}};
    for (const auto& row : rows) {
        const Attitude lean = terrain.At({{100.0, -7.0}, Radians(row.heading)});
        EXPECT_NEAR(row.roll, Degrees(lean.roll), 1e-9) << row.heading;
        EXPECT_NEAR(row.pitch, Degrees(lean.pitch), 1e-9) << row.heading;
    }
}

TEST(Terrain, LeansTheUprightByTheWholeSlopeWhateverTheHeading)
{
    const CTerrain terrain({ETerrain::Slope, Radians(8.0)}, 1);
    for (double heading = 0.0; heading < 6.3; heading += 0.1) {
        const Attitude lean = terrain.At({{}, heading});
        EXPECT_NEAR(std::cos(Radians(8.0)), std::cos(lean.roll) * std::cos(lean.pitch), 1e-12);
    }
}

TEST(Terrain, RollsAsSteeplyAsItsWavesAndRepeatsBySeed)
{
    const CTerrain terrain({ETerrain::Rolling, 0.0}, 5);
    const CTerrain same({ETerrain::Rolling, 0.0}, 5);
    const CTerrain other({ETerrain::Rolling, 0.0}, 6);
    double sum = 0.0;
    int count = 0;
    double steepest = 0.0;
    bool differs = false;
    for (double x = 0.0; x < 1000.0; x += 3.7) {
        for (double y = 0.0; y < 1000.0; y += 4.1) {
            const Point gradient = terrain.Gradient({x, y});
            EXPECT_EQ(gradient.x, same.Gradient({x, y}).x);
            differs = differs || gradient.x != other.Gradient({x, y}).x;
            sum += gradient.x * gradient.x + gradient.y * gradient.y;
            steepest = std::max(steepest, std::hypot(gradient.x, gradient.y));
            ++count;
        }
    }
    EXPECT_TRUE(differs);
    double expected = 0.0;
    for (const double degrees : {3.0, 2.0, 1.0}) {
        expected += std::pow(std::tan(Radians(degrees)), 2) / 2.0; // the mean of a squared cosine
    }
    EXPECT_NEAR(std::sqrt(expected), std::sqrt(sum / count), 0.02 * std::sqrt(expected));
    EXPECT_LE(steepest, std::tan(Radians(3.0)) + std::tan(Radians(2.0)) + std::tan(Radians(1.0)));
}

TEST(Antenna, SwingsAsideByItsHeightTimesTheSineOfTheRoll)
{
    const Point aside = AntennaOffset({0.0, 0.0, 3.0}, {Radians(1.5), 0.0});
    EXPECT_NEAR(3.0 * std::sin(Radians(1.5)), aside.x, 1e-12);
    EXPECT_NEAR(0.0, aside.y, 1e-12);
    const Point back = AntennaOffset({0.0, 0.0, 3.0}, {0.0, Radians(5.0)});
    EXPECT_NEAR(-3.0 * std::sin(Radians(5.0)), back.y, 1e-12);
}

TEST(Antenna, KeepsItsLengthHoweverTheMachineLeans)
{
    // What is seen from above and what is not are the antenna's whole distance together: the part
    // upwards is that of the turned lever arms, too.
    const AntennaMount mount{1.2, -0.4, 2.9};
    const Attitude lean{Radians(7.0), Radians(-4.0)};
    const Point offset = AntennaOffset(mount, lean);
    const double up =
        mount.ahead * std::sin(lean.pitch) +
        (mount.up * std::cos(lean.roll) - mount.right * std::sin(lean.roll)) * std::cos(lean.pitch);
    EXPECT_NEAR(std::hypot(mount.ahead, mount.right, mount.up), std::hypot(offset.x, offset.y, up),
                1e-12);
}

TEST(Antenna, IsTakenBackToTheReferencePoint)
{
    const AntennaMount mount{1.2, -0.4, 2.9};
    const Attitude lean{Radians(7.0), Radians(-4.0)};
    const Pose pose{{10.0, 20.0}, 2.5};
    const Pose back = ReferenceOf(AntennaOf(pose, mount, lean), mount, lean);
    EXPECT_NEAR(0.0, Distance(pose.position, back.position), 1e-12);
    EXPECT_GT(Distance(pose.position, AntennaOf(pose, mount, lean).position), 1.0);
}

TEST(Inclinometer, ErrsAsItSays)
{
    CInclinometer sensor(3, 0.1);
    const Attitude truth{Radians(2.0), Radians(-1.0)};
    double squares = 0.0;
    constexpr int kSamples = 400000;
    for (int i = 0; i < kSamples; ++i) {
        squares += std::pow(Degrees(sensor.Measure(truth).roll - truth.roll), 2);
    }
    EXPECT_NEAR(std::hypot(0.1, 0.05), std::sqrt(squares / kSamples), 0.005);
}

/// How many steps the steering takes from the middle until it stands `degrees` to a side.
int StepsTo(double degrees, const ValveOptions& valve)
{
    CSteering steering(0.0, 0.0);
    steering.SetValve(valve);
    int steps = 0;
    while (std::abs(steering.SensorAngle()) < Radians(std::abs(degrees)) && steps < 1000) {
        steering.Step(degrees > 0.0 ? kSteeringStop : -kSteeringStop);
        ++steps;
    }
    return steps;
}

TEST(SteeringValve, TurnsAsFastAsEachSideMay)
{
    ValveOptions valve;
    valve.rateLeft = Radians(10.0);
    valve.rateRight = Radians(5.0);
    const int dead = static_cast<int>(kSteeringDeadSteps);
    EXPECT_NEAR(dead + 10.0 / 5.0 / kMachineStepSeconds, StepsTo(10.0, valve), 1.0);
    EXPECT_NEAR(dead + 10.0 / 10.0 / kMachineStepSeconds, StepsTo(-10.0, valve), 1.0);
}

TEST(SteeringValve, StopsAtTheEdgeOfItsDeadband)
{
    ValveOptions valve;
    valve.deadband = Radians(0.5);
    for (const double command : {3.0, -3.0}) {
        CSteering steering(0.0, 0.0);
        steering.SetValve(valve);
        for (int step = 0; step < 500; ++step) {
            steering.Step(Radians(command));
        }
        EXPECT_NEAR(command - std::copysign(0.5, command), Degrees(steering.SensorAngle()), 1e-6);
        const double before = steering.SensorAngle();
        for (int step = 0; step < 100; ++step) {
            steering.Step(before + Radians(0.49)); // within the deadband
        }
        EXPECT_EQ(before, steering.SensorAngle());
    }
}

TEST(SteeringValve, ApproachesByItsLag)
{
    // Exactly what the first-order law gives, a step at a time.
    const double angle = ValveAfterStep(0.0, Radians(2.0), {});
    EXPECT_DOUBLE_EQ(Radians(2.0) * kMachineStepSeconds / kSteeringLagSeconds, angle);
    EXPECT_EQ(angle, SteeringAfterStep(0.0, Radians(2.0)));
}

/// The yaw rate that a machine on tyres comes to.
double SteadyYawRate(double speed, double wheelAngle)
{
    CTyreChassis chassis({});
    Pose pose;
    for (int step = 0; step < 2000; ++step) {
        pose = chassis.After(pose, speed, wheelAngle, 0.0, kMachineStepSeconds);
    }
    return chassis.YawRate();
}

TEST(TyreChassis, TurnsAsSteadilyAsTheUndersteerGradientSays)
{
    const TyreOptions of;
    const double gradient =
        of.mass / kWheelbase * (of.toRear / of.frontStiffness - of.toFront / of.rearStiffness);
    const double angle = Radians(1.0);
    for (const double speed : {1.0, 2.5, 5.0, 8.0, 12.0}) {
        const double expected = speed * angle / (kWheelbase + gradient * speed * speed);
        EXPECT_NEAR(expected, SteadyYawRate(speed, angle), 1e-6 * expected) << speed;
    }
    EXPECT_DOUBLE_EQ(kWheelbase, of.toFront + of.toRear);
}

TEST(TyreChassis, DrivesTheCircleOfItsYawRate)
{
    // The centre stays where it is: pose and yaw rate belong together.
    CTyreChassis chassis({});
    Pose pose;
    for (int step = 0; step < 1000; ++step) {
        pose = chassis.After(pose, 5.0, Radians(5.0), 0.0, kMachineStepSeconds);
    }
    const double radius = 5.0 / chassis.YawRate();
    const Pose later = chassis.After(pose, 5.0, Radians(5.0), 0.0, kMachineStepSeconds);
    EXPECT_NEAR(5.0 * kMachineStepSeconds, Distance(pose.position, later.position), 1e-3);
    EXPECT_NEAR(kMachineStepSeconds * 5.0 / radius, NormaliseTurn(later.heading - pose.heading),
                1e-9);
}

TEST(TyreChassis, DoesNotDependOnHowFinelyItsTimeIsCut)
{
    CTyreChassis coarse({});
    CTyreChassis fine({});
    Pose one;
    Pose other;
    for (int step = 0; step < 100; ++step) {
        one = coarse.After(one, 10.0, Radians(3.0), 0.0, 0.02);
        for (int part = 0; part < 10; ++part) {
            other = fine.After(other, 10.0, Radians(3.0), 0.0, 0.002);
        }
    }
    EXPECT_NEAR(0.0, Distance(one.position, other.position), 1e-9);
}

TEST(TyreChassis, RollsAsItsWheelsPointWhileItIsSlow)
{
    CTyreChassis chassis({});
    const Pose start{{1.0, 2.0}, 0.3};
    for (const double speed : {-2.0, 0.0, 0.9}) {
        const Pose rolled = chassis.After(start, speed, Radians(10.0), 0.0, 0.02);
        const Pose expected = PoseAfter(start, speed, Radians(10.0), 0.0, 0.02);
        EXPECT_EQ(expected.position.x, rolled.position.x);
        EXPECT_EQ(expected.heading, rolled.heading);
    }
}

TEST(TyreChassis, ComesToAForceOverItsRelaxationLength)
{
    // So heavy and hard to turn that it neither slides nor turns: the force alone accelerates it,
    // by 1 - exp(-way/relaxation) of that of the slip, the integral of which is its yaw rate.
    TyreOptions heavy;
    heavy.mass = 1e12;
    heavy.yawInertia = 1e12;
    CTyreChassis chassis(heavy);
    const double speed = 2.0;
    const double angle = Radians(1.0);
    Pose pose;
    for (int step = 0; step < 50; ++step) {
        pose = chassis.After(pose, speed, angle, 0.0, kMachineStepSeconds);
    }
    const double way = speed * 50 * kMachineStepSeconds;
    const double grown = way - heavy.relaxation * (1.0 - std::exp(-way / heavy.relaxation));
    const double expected = heavy.toFront * heavy.frontStiffness * angle * grown / speed / 1e12;
    EXPECT_NEAR(1.0, chassis.YawRate() / expected, 1e-6);
}

TEST(Corrections, AgeAndTakeTheFixWithThem)
{
    CCorrections corrections;
    const auto pass = [&corrections](double seconds, bool come, bool covered) {
        for (int tenth = 0; tenth < std::lround(seconds * 10.0); ++tenth) {
            corrections.Step(0.1, come, covered);
        }
        return corrections.Fix();
    };
    EXPECT_EQ(EFix::Fixed, pass(1.0, true, false));
    EXPECT_EQ(EFix::Fixed, pass(18.9, false, false));
    EXPECT_NEAR(19.9, corrections.Age(), 1e-9);
    EXPECT_EQ(EFix::Float, pass(0.3, false, false));
    EXPECT_EQ(EFix::Float, pass(39.7, false, false));
    EXPECT_EQ(EFix::Single, pass(0.2, false, false));
    EXPECT_EQ(EFix::Float, pass(0.1, true, false));
    EXPECT_EQ(1.0, corrections.Age());
    EXPECT_EQ(EFix::Float, pass(7.7, true, false));
    EXPECT_EQ(EFix::Fixed, pass(0.3, true, false));
    EXPECT_EQ(EFix::None, pass(0.1, true, true));
    EXPECT_EQ(EFix::Float, pass(7.8, true, false));
    EXPECT_EQ(EFix::Fixed, pass(0.3, true, false));
}

TEST(Multipath, IsBesideForItsPartOfTheTimeAndForSoLong)
{
    CMultipath multipath(4, 0.1);
    constexpr int kSamples = 2000000;
    int beside = 0;
    int jumps = 0;
    double squares = 0.0;
    Point last;
    for (int i = 0; i < kSamples; ++i) {
        const Point jump = multipath.Next(0.3);
        const bool isBeside = jump.x != 0.0;
        beside += isBeside ? 1 : 0;
        if (isBeside && last.x == 0.0) {
            ++jumps;
            squares += jump.x * jump.x + jump.y * jump.y;
        }
        last = jump;
    }
    const double part =
        CMultipath::kSecondsBeside / (CMultipath::kSecondsBeside + CMultipath::kSecondsBetween);
    EXPECT_NEAR(part, beside / static_cast<double>(kSamples), 0.02);
    EXPECT_NEAR(CMultipath::kSecondsBeside, 0.1 * beside / jumps, 0.2);
    EXPECT_NEAR(0.3, std::sqrt(squares / jumps / 2.0), 0.01);
    EXPECT_EQ(0.0, multipath.Next(0.0).x);
}

/// What a receiver gives of a machine that moves 1 m to the north in each sample.
std::vector<std::optional<double>> Norths(const ReceiverOptions& options, int samples)
{
    CSatelliteReceiver receiver(options, 1, 0.1);
    std::vector<std::optional<double>> norths;
    for (int i = 0; i < samples; ++i) {
        const auto pose = receiver.Measure({{0.0, static_cast<double>(i)}, 0.0}, {}, {});
        norths.push_back(pose ? std::optional(pose->position.y) : std::nullopt);
    }
    return norths;
}

TEST(SatelliteReceiver, GivesWhatItMeasuredAsLateAsItsLatency)
{
    ReceiverOptions options;
    options.kind = EReceiver::Ideal;
    options.latency = 2;
    const std::vector<std::optional<double>> expected{std::nullopt, std::nullopt, 0.0, 1.0, 2.0};
    EXPECT_EQ(expected, Norths(options, 5));
}

TEST(SatelliteReceiver, MeasuresAsOftenAsItsRate)
{
    ReceiverOptions options;
    options.kind = EReceiver::Ideal;
    options.rate = 5;
    const std::vector<std::optional<double>> expected{0.0, std::nullopt, 2.0, std::nullopt, 4.0};
    EXPECT_EQ(expected, Norths(options, 5));
    options.latency = 1;
    const std::vector<std::optional<double>> later{std::nullopt, 0.0, std::nullopt, 2.0,
                                                   std::nullopt};
    EXPECT_EQ(later, Norths(options, 5));
}

TEST(SatelliteReceiver, ErrsByItsFixAndGoesOnAfterwardsAsIfNothingHadBeen)
{
    CSatelliteReceiver disturbed({}, 3, 0.1);
    CSatelliteReceiver usual({}, 3, 0.1);
    Reception single;
    single.bestFix = EFix::Single;
    double squares = 0.0;
    constexpr int kSamples = 300000;
    for (int i = 0; i < kSamples; ++i) {
        const auto pose = disturbed.Measure({}, {}, single);
        usual.Measure({}, {}, {});
        ASSERT_TRUE(pose);
        squares += pose->position.x * pose->position.x;
    }
    EXPECT_EQ(EFix::Single, disturbed.Report().fix);
    EXPECT_NEAR(std::hypot(0.3, 1.5), std::sqrt(squares / kSamples), 0.15);
    EXPECT_EQ(usual.Measure({}, {}, {})->position.x, disturbed.Measure({}, {}, {})->position.x);
}

TEST(SatelliteReceiver, HasNoPositionUnderCover)
{
    CSatelliteReceiver receiver({}, 3, 0.1);
    Reception covered;
    covered.isCovered = true;
    EXPECT_FALSE(receiver.Measure({}, {}, covered));
    EXPECT_EQ(EFix::None, receiver.Report().fix);
    EXPECT_TRUE(receiver.Report().isNew);
    EXPECT_TRUE(receiver.Measure({}, {}, {}));
    EXPECT_EQ(EFix::Float, receiver.Report().fix);
}

TEST(SatelliteReceiver, OfAMachineThatLeansIsAsideUnlessThatIsCompensated)
{
    const Attitude lean{Radians(1.5), 0.0};
    for (const bool compensates : {false, true}) {
        ReceiverOptions options;
        options.kind = EReceiver::Ideal;
        options.compensatesLean = compensates;
        CSatelliteReceiver receiver(options, 3, 0.1);
        double sum = 0.0;
        for (int i = 0; i < 20000; ++i) {
            sum += receiver.Measure({}, lean, {})->position.x;
        }
        EXPECT_NEAR(compensates ? 0.0 : 3.0 * std::sin(Radians(1.5)), sum / 20000, 0.001);
    }
}

} // namespace
