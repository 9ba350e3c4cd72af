#include "simulator/operations/SampleClock.h"

#include <gtest/gtest.h>

namespace {

constexpr double kThen = 1.7e9;

TEST(SampleClock, IsTheSystemsWithinASecondOfIt)
{
    double now = kThen;
    CSampleClock clock([&now] { return now; });
    EXPECT_NEAR(0.25, clock.Age(kThen - 0.25, 0.0), 1e-6);
    EXPECT_NEAR(0.9, clock.Age(kThen - 0.9, 0.0), 1e-6);
    // A clock that is a little fast.
    EXPECT_EQ(0.0, clock.Age(kThen + 0.5, 0.0));
    EXPECT_FALSE(clock.HasLearned());
}

TEST(SampleClock, IsLearnedFromTheLeastDelayWhenItIsAnother)
{
    double now = kThen;
    CSampleClock clock([&now] { return now + 3600.0; });
    for (const double delay : {0.2, 0.1, 0.2, 0.15, 0.1}) {
        now += 0.1;
        clock.Age(now - delay, 0.0);
    }
    EXPECT_TRUE(clock.HasLearned());
    now += 0.1;
    // A latency of 0.1 s that all have is not seen.
    EXPECT_NEAR(0.2, clock.Age(now - 0.3, 0.0), 0.005);
}

TEST(SampleClock, IsLearnedByThePresentWhereThereIsNoSystemsClock)
{
    CSampleClock clock({});
    EXPECT_NEAR(0.0, clock.Age(kThen, 10.0), 1e-6);
    EXPECT_NEAR(0.1, clock.Age(kThen + 0.1, 10.2), 0.005);
    EXPECT_FALSE(clock.HasLearned());
}

TEST(SampleClock, SaysNothingOfSamplesWhoseTimeDoesNotGoOn)
{
    for (const double time : {kThen, 0.0, -5.0}) {
        CSampleClock clock({});
        for (double present = 0.0; present < 5.0; present += 0.1) {
            EXPECT_EQ(0.0, clock.Age(time, present)) << time;
        }
    }
}

TEST(SampleClock, BeginsAnewWhenItIsSet)
{
    CSampleClock clock({});
    clock.Age(kThen, 10.0);
    EXPECT_NEAR(0.0, clock.Age(kThen - 50.0, 10.1), 1e-6);
    EXPECT_NEAR(0.0, clock.Age(kThen + 50.0, 10.2), 1e-6);
}

} // namespace
