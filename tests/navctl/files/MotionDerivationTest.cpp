#include "tools/navctl/feed/MotionDerivation.h"

#include <gtest/gtest.h>

#include "tools/navctl/files/Angle.h"
#include "tools/navctl/files/LocalFrame.h"

namespace {

/// A sample at a place of a plane.
PositionSample At(double x, double y, double time)
{
    static const CLocalFrame frame({48.0, 11.0, 0.0});
    const GeodeticPlace place = frame.ToGeodetic({x, y, 0.0});
    PositionSample sample;
    sample.latitude = place.latitude;
    sample.longitude = place.longitude;
    sample.time = time;
    return sample;
}

/// The last of a few samples, with what was derived.
PositionSample LastOf(std::vector<PositionSample> samples)
{
    CMotionDerivation motion;
    for (PositionSample& sample : samples) {
        motion.Complete(sample);
    }
    return samples.back();
}

} // namespace

TEST(MotionDerivation, DerivesSpeedAndCourseFromTheWay)
{
    const struct
    {
        double x, y, course;
    } rows[] = {{0, 3, 0.0}, {3, 0, kPi / 2.0}, {0, -3, kPi}, {-3, 0, 1.5 * kPi}};
    for (const auto& row : rows) {
        const PositionSample sample = LastOf({At(0, 0, 10.0), At(row.x, row.y, 11.5)});
        EXPECT_NEAR(2.0, *sample.speed, 1e-6);
        EXPECT_NEAR(0.0, SmallestTurn(row.course, *sample.course), 1e-6) << row.x << "," << row.y;
        EXPECT_FALSE(*sample.reversing);
    }
}

TEST(MotionDerivation, KeepsWhatTheReceiverGives)
{
    PositionSample given = At(0, 3, 1.0);
    given.course = 1.0;
    given.speed = 7.0;
    given.yawRate = 0.25;
    const PositionSample sample = LastOf({At(0, 0, 0.0), given});
    EXPECT_EQ(1.0, sample.course);
    EXPECT_EQ(7.0, sample.speed);
    EXPECT_EQ(0.25, sample.yawRate);
}

TEST(MotionDerivation, HasZerosForWhatServicesNeedOfTheFirstSampleAndDoesNotMakeUpTheRest)
{
    const PositionSample sample = LastOf({At(0, 0, 0.0)});
    for (const auto& value : {sample.course, sample.speed, sample.yaw, sample.yawRate}) {
        EXPECT_EQ(0.0, value);
    }
    for (const auto& value : {sample.roll, sample.pitch, sample.rollRate, sample.pitchRate}) {
        EXPECT_FALSE(value.has_value());
    }
}

TEST(MotionDerivation, KeepsTheCourseWhileTheMachineStands)
{
    const PositionSample sample =
        LastOf({At(0, 0, 0.0), At(3, 0, 1.0), At(3.01, 0.02, 2.0), At(3.0, -0.03, 3.0)});
    EXPECT_NEAR(kPi / 2.0, *sample.course, 1e-6);
    EXPECT_EQ(0.0, sample.yawRate);
}

TEST(MotionDerivation, TellsReverseWhereTheCourseIsAgainstTheHeading)
{
    PositionSample backwards = At(0, -3, 1.0);
    backwards.yaw = 0.0;
    EXPECT_TRUE(*LastOf({At(0, 0, 0.0), backwards}).reversing);
    PositionSample forwards = At(0, 3, 1.0);
    forwards.yaw = 0.0;
    EXPECT_FALSE(*LastOf({At(0, 0, 0.0), forwards}).reversing);
    PositionSample creeping = At(0, -0.2, 1.0);
    creeping.yaw = 0.0;
    EXPECT_FALSE(*LastOf({At(0, 0, 0.0), creeping}).reversing) << "below 0.3 m/s";
}

TEST(MotionDerivation, KnowsNoRateOfRollAndPitchBeforeTheSecondSample)
{
    PositionSample first = At(0.0, 0.0, 0.0);
    first.roll = first.pitch = 0.1;
    EXPECT_FALSE(LastOf({first}).rollRate);
    EXPECT_FALSE(LastOf({first}).pitchRate);
    PositionSample second = At(1.0, 0.0, 1.0);
    second.roll = second.pitch = 0.3;
    EXPECT_NEAR(0.2, LastOf({first, second}).rollRate.value(), 1e-12);
    EXPECT_NEAR(0.2, LastOf({first, second}).pitchRate.value(), 1e-12);
}

TEST(MotionDerivation, TakesTheYawRateFromTheHeadingOverNorth)
{
    PositionSample first = At(0, 0, 0.0);
    first.yaw = Radians(359.0);
    PositionSample second = At(0, 1, 0.5);
    second.yaw = Radians(2.0);
    EXPECT_NEAR(Radians(6.0), *LastOf({first, second}).yawRate, 1e-12);
}

TEST(MotionDerivation, TakesTheYawRateFromTheCourseWithoutAHeading)
{
    const PositionSample sample = LastOf({At(0, 0, 0.0), At(0, 2, 1.0), At(2, 2, 2.0)});
    EXPECT_NEAR(kPi / 2.0, *sample.yawRate, 1e-6);
    EXPECT_EQ(sample.course, sample.yaw);
}

TEST(MotionDerivation, DoesNotCountAPositionThatIsNotValid)
{
    PositionSample wild = At(500, 500, 1.0);
    wild.positionValid = false;
    const PositionSample sample = LastOf({At(0, 0, 0.0), wild, At(0, 4, 2.0)});
    EXPECT_NEAR(2.0, *sample.speed, 1e-6);
    EXPECT_NEAR(0.0, SmallestTurn(0.0, *sample.course), 1e-6);
}

TEST(MotionDerivation, DerivesNothingFromSamplesThatArriveInABurst)
{
    std::vector<PositionSample> burst;
    for (int number = 0; number < 10; ++number) {
        burst.push_back(At(0, number, 100.0 + number * 30e-6));
        burst.back().yaw = number * 0.1;
        burst.back().timeIsOfArrival = true;
    }
    const PositionSample sample = LastOf(burst);
    EXPECT_EQ(0.0, sample.speed);
    EXPECT_EQ(0.0, sample.yawRate);
    EXPECT_NEAR(0.0, SmallestTurn(0.0, *sample.course), 1e-6) << "the way has a direction";
    burst.push_back(At(0, 11, 101.0));
    burst.back().timeIsOfArrival = true;
    EXPECT_NEAR(2.0, *LastOf(burst).speed, 0.01) << "over the pause behind the burst";
}

TEST(MotionDerivation, DerivesOverSeveralSamplesThatAreVeryClose)
{
    std::vector<PositionSample> samples;
    for (int number = 0; number <= 500; ++number) {
        samples.push_back(At(0, number * 0.002, number * 0.001));
    }
    EXPECT_NEAR(2.0, *LastOf(samples).speed, 1e-3);
}

TEST(MotionDerivation, DerivesNothingOverANewStartOfTime)
{
    PositionSample sample = At(500, 0, 5.0);
    sample.startsAnew = true;
    sample = LastOf({At(0, 0, 900.0), At(0, 2, 901.0), sample});
    // It may be another recording: nothing of the one before is kept, either.
    for (const auto& value : {sample.speed, sample.course, sample.yaw, sample.yawRate}) {
        EXPECT_EQ(0.0, value);
    }
}
