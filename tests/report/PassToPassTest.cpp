#include "report/PassToPass.h"

#include <cmath>
#include <functional>
#include <vector>

#include <gtest/gtest.h>

namespace {

using EInterval = CPassToPass::EInterval;

constexpr double kWidth = 3.0;

/// A straight run of 100 m along a pass.
struct TestRun
{
    int pass = 0;
    double start = 0.0;                                               ///< seconds
    std::function<double(double)> error = [](double) { return 0.0; }; ///< over metres north
    double speed = 2.5;
    bool isNorthward = true;
    double metres = 100.0;
};

void Drive(CPassToPass& passes, const TestRun& run)
{
    const int count = static_cast<int>(run.metres / run.speed / 0.1 + 0.5);
    for (int i = 0; i <= count; ++i) {
        DriveSample sample;
        const double way = i * 0.1 * run.speed;
        sample.y = run.isNorthward ? way : run.metres - way;
        sample.error = run.error(sample.y);
        sample.implementError = 2.0 * sample.error;
        sample.x = run.pass * kWidth + sample.error;
        sample.time = run.start + i * 0.1;
        sample.speed = run.speed;
        sample.pass = run.pass;
        sample.isEngaged = true;
        passes.Add(sample, true);
    }
    DriveSample free;
    free.time = run.start + (count + 1) * 0.1;
    passes.Add(free, false);
}

CPassToPass Driven(const std::vector<TestRun>& runs)
{
    CPassToPass passes;
    for (const TestRun& run : runs) {
        Drive(passes, run);
    }
    passes.Finish();
    return passes;
}

std::function<double(double)> Always(double error)
{
    return [error](double) { return error; };
}

} // namespace

TEST(PassToPass, IsByHowMuchTheDistanceBetweenTwoPassesIsAnotherThanPlanned)
{
    const CPassToPass passes = Driven({{0, 0.0, Always(-0.01)}, {1, 100.0, Always(0.02)}});
    const PassToPassGroup& group = passes.All(EInterval::Short);
    EXPECT_EQ(2U, passes.Runs());
    EXPECT_EQ(1U, group.pairs);
    EXPECT_NEAR(0.03, group.machine.Summary().mean, 1e-12);
    EXPECT_NEAR(0.03, group.machine.Summary().rms, 1e-12);
    EXPECT_NEAR(0.06, group.implement.Summary().mean, 1e-12);
    EXPECT_NEAR(100.0, group.shortest, 0.1);
    EXPECT_EQ(0U, passes.All(EInterval::Long).machine.Count());
}

TEST(PassToPass, ComparesWithTheNearestPlaceInterpolatedBetweenPositions)
{
    // The later run has its positions elsewhere along the way: what is between the earlier ones.
    const auto slope = [](double y) { return 0.001 * y; };
    const CPassToPass passes = Driven({{0, 0.0, slope}, {0, 200.0, Always(0.05), 2.3}});
    const ErrorSummary summary = passes.All(EInterval::Short).machine.Summary();
    ASSERT_GT(summary.count, 100U);
    // The later run counts from 20 m to 100 m, where the mean of the slope is 0.06.
    EXPECT_NEAR(0.05 - 0.06, summary.mean, 2e-4);
    EXPECT_NEAR(0.05, summary.worst, 5e-4);
}

TEST(PassToPass, TakesRunsInBothDirections)
{
    const auto slope = [](double y) { return 0.001 * y; };
    const CPassToPass passes = Driven({{0, 0.0, slope}, {1, 100.0, slope, 2.5, false}});
    const ErrorSummary summary = passes.All(EInterval::Short).machine.Summary();
    ASSERT_GT(summary.count, 100U);
    // The passes lean to the right: the nearest place is 3 m * 0.001 farther back.
    EXPECT_LT(summary.worst, 1e-5);
}

TEST(PassToPass, DividesAt15MinutesAndEndsAtAnHour)
{
    const CPassToPass passes = Driven({{0, 0.0, Always(0.0)},
                                       {1, 890.0, Always(0.01)},
                                       {0, 1000.0, Always(0.04)},
                                       {0, 4700.0, Always(0.5)}});
    const PassToPassGroup& soon = passes.All(EInterval::Short);
    const PassToPassGroup& late = passes.All(EInterval::Long);
    EXPECT_EQ(2U, soon.pairs); // 890 s and, from the second to the third, 110 s
    EXPECT_EQ(1U, late.pairs); // 1000 s from the first to the third; the last is too late for all
    EXPECT_NEAR(0.04, late.machine.Summary().mean, 1e-12);
    EXPECT_LE(soon.longest, 900.0);
    EXPECT_GT(late.shortest, 900.0);
}

TEST(PassToPass, ComparesNeitherFartherPassesNorOtherSpeeds)
{
    EXPECT_EQ(0U,
              Driven({{0, 0.0, Always(0.0)}, {2, 100.0, Always(0.1)}}).All(EInterval::Short).pairs);
    EXPECT_EQ(
        0U,
        Driven({{0, 0.0, Always(0.0)}, {1, 100.0, Always(0.1), 4.0}}).All(EInterval::Short).pairs);
    EXPECT_EQ(
        1U,
        Driven({{0, 0.0, Always(0.0)}, {1, 100.0, Always(0.1), 2.6}}).All(EInterval::Short).pairs);
}

TEST(PassToPass, GroupsBySpeed)
{
    const CPassToPass passes = Driven({{0, 0.0, Always(0.0), 1.0},
                                       {1, 200.0, Always(0.01), 1.0},
                                       {2, 400.0, Always(0.0), 5.0},
                                       {3, 500.0, Always(0.03), 5.0}});
    ASSERT_EQ(2U, passes.BySpeed().size());
    EXPECT_NEAR(0.01, passes.BySpeed().at({EInterval::Short, 2}).machine.Summary().mean, 1e-12);
    EXPECT_NEAR(0.03, passes.BySpeed().at({EInterval::Short, 10}).machine.Summary().mean, 1e-12);
}

TEST(PassToPass, LeavesOutTheWayToTheLineAndShortRuns)
{
    const auto approach = [](double y) { return y < 19.0 ? 1.0 : 0.0; };
    const CPassToPass passes = Driven({{0, 0.0, approach}, {1, 100.0, Always(0.0)}});
    EXPECT_EQ(0.0, passes.All(EInterval::Short).machine.Summary().worst);
    EXPECT_EQ(0U, Driven({{0, 0.0, Always(0.0), 2.5, true, 39.0}}).Runs());
    EXPECT_EQ(1U, Driven({{0, 0.0, Always(0.0), 2.5, true, 41.0}}).Runs());
}

TEST(PassToPass, IsNotComparedBeyondTheEndsOfTheEarlierRun)
{
    // The earlier run goes from 0 to 60 m, of which it counts from 20 m on.
    const CPassToPass passes = Driven({{0, 0.0, Always(0.0), 2.5, true, 60.0},
                                       {1, 100.0, [](double y) { return y > 61.0 ? 1.0 : 0.0; }}});
    EXPECT_EQ(0.0, passes.All(EInterval::Short).machine.Summary().worst);
    EXPECT_NEAR(160.0, static_cast<double>(passes.All(EInterval::Short).machine.Count()), 2.0);
}

TEST(PassToPass, FindsTheNearestPlaceOfACurve)
{
    CRunPath circle(0);
    for (int i = 0; i < 1000; ++i) {
        const double angle = i * 0.006;
        circle.Add({20.0 * std::cos(angle), 20.0 * std::sin(angle), i * 0.1, angle, 0.0}, 1.2);
    }
    circle.Finish();
    for (double angle = 0.05; angle < 5.9; angle += 0.013) {
        std::size_t anywhere = 500;
        const auto nearest =
            circle.Nearest(23.0 * std::cos(angle), 23.0 * std::sin(angle), anywhere);
        ASSERT_TRUE(nearest) << angle;
        EXPECT_NEAR(angle, nearest->error, 4e-4); // the chord of 12 cm
        EXPECT_NEAR(20.0, std::hypot(nearest->x, nearest->y), 1e-4);
    }
    std::size_t hint = 0;
    EXPECT_FALSE(CRunPath(0).Nearest(0.0, 0.0, hint));
    EXPECT_FALSE(circle.Nearest(20.0, -1.0, hint)); // behind its begin
}

TEST(PassToPass, StaysBoundedOverManyRuns)
{
    CPassToPass passes;
    for (int run = 0; run < 60; ++run) {
        Drive(passes, {run, run * 300.0, Always(0.01 * (run % 2)), 2.5, run % 2 == 0, 700.0});
    }
    passes.Finish();
    EXPECT_EQ(60U, passes.Runs());
    EXPECT_EQ(59U, passes.All(EInterval::Short).pairs);
    EXPECT_NEAR(0.01, passes.All(EInterval::Short).machine.Summary().rms, 1e-12);
}
