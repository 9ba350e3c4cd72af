// The four tuning parameters: badly chosen, each makes the machine weave or crawl.

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "tests/simulator/guidance/Drives.h"

namespace {

/// From 3 m beside the line with one parameter changed.
CDrive TunedDrive(ETuning parameter, double value, double speed)
{
    DrivePlan plan = AcquisitionDrive(1, speed, 3.0, 0.0);
    plan.prepare = [=](CSimulation& simulation) { simulation.Tuning().Set(parameter, value); };
    return Driven(plan);
}

double Settled(ETuning parameter, double value, double speed)
{
    return TunedDrive(parameter, value, speed).WayToSettle(0.05);
}

TEST(Tuning, TooLittleSensitivityCrawls)
{
    EXPECT_GT(Settled(ETuning::Sensitivity, 0.2, 2.5),
              2.0 * Settled(ETuning::Sensitivity, 1.0, 2.5));
}

TEST(Tuning, TooMuchSensitivityWeaves)
{
    const CDrive well = TunedDrive(ETuning::Sensitivity, 1.0, 2.5);
    const CDrive badly = TunedDrive(ETuning::Sensitivity, 3.0, 2.5);

    EXPECT_EQ(0, well.Crossings(0.05));
    EXPECT_GE(badly.Crossings(0.05), 4);
}

TEST(Tuning, TooLittleAggressivenessCrawls)
{
    EXPECT_GT(Settled(ETuning::Aggressiveness, 0.2, 2.5),
              2.0 * Settled(ETuning::Aggressiveness, 1.0, 2.5));
}

TEST(Tuning, AggressivenessSetsTheAngleOfApproach)
{
    const CDrive calm = TunedDrive(ETuning::Aggressiveness, 0.2, 2.5);
    const CDrive normal = TunedDrive(ETuning::Aggressiveness, 1.0, 2.5);

    EXPECT_LT(Degrees(calm.GreatestHeadingError()), 7.0);
    EXPECT_GT(Degrees(normal.GreatestHeadingError()), 14.0);
}

TEST(Tuning, TooLittleDampingOvershoots)
{
    const CDrive well = TunedDrive(ETuning::Overshoot, 1.0, 2.5);
    const CDrive badly = TunedDrive(ETuning::Overshoot, 0.2, 2.5);

    EXPECT_LT(well.Overshoot(), 0.05);
    EXPECT_GT(badly.Overshoot(), 0.3);
    EXPECT_GT(badly.WayToSettle(0.05), 2.0 * well.WayToSettle(0.05));
}

TEST(Tuning, TooMuchSpeedAdjustmentCrawlsAtSpeed)
{
    EXPECT_GT(Settled(ETuning::SpeedAdjust, 3.0, 5.0),
              2.0 * Settled(ETuning::SpeedAdjust, 1.0, 5.0));
}

TEST(Tuning, NoSpeedAdjustmentOvershootsAtSpeed)
{
    EXPECT_LT(TunedDrive(ETuning::SpeedAdjust, 1.0, 5.0).Overshoot(), 0.05);
    EXPECT_GT(TunedDrive(ETuning::SpeedAdjust, 0.0, 5.0).Overshoot(), 0.1);
}

TEST(Tuning, ALongerLookAheadTimeIsSlowerToTheLine)
{
    DrivePlan plan = AcquisitionDrive(1, 2.5, 1.0, 0.0);
    const double usual = Driven(plan).WayToSettle(0.05);
    plan.prepare = [](CSimulation& simulation) { simulation.SetLookAheadTime(4.0); };

    EXPECT_GT(Driven(plan).WayToSettle(0.05), 1.5 * usual);
}

TEST(Tuning, ValuesAreClampedToTheirLimits)
{
    CTuning tuning;
    EXPECT_TRUE(tuning.Set(ETuning::Sensitivity, 99.0));
    EXPECT_EQ(3.0, tuning.Get(ETuning::Sensitivity));

    EXPECT_TRUE(tuning.SetLimits(ETuning::Sensitivity, {0.5, 1.0, 2.0}));
    EXPECT_EQ(2.0, tuning.Get(ETuning::Sensitivity));
}

TEST(Tuning, RefusesWhatIsNoLimitOrValue)
{
    CTuning tuning;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();

    EXPECT_NE(std::string::npos, tuning.Set(ETuning::Overshoot, nan).Reason().find("nan"));
    for (const TuningLimits& limits :
         {TuningLimits{2.0, 1.0, 3.0}, TuningLimits{1.0, 4.0, 3.0}, TuningLimits{-1.0, 1.0, 3.0},
          TuningLimits{0.0, nan, 3.0}, TuningLimits{0.0, 1.0, infinity}}) {
        EXPECT_FALSE(tuning.SetLimits(ETuning::Overshoot, limits))
            << limits.lowest << ' ' << limits.start;
        EXPECT_EQ(3.0, tuning.Limits(ETuning::Overshoot).highest);
        EXPECT_EQ(1.0, tuning.Get(ETuning::Overshoot));
    }
}

} // namespace
