#include "simulator/service/Pacer.h"

#include <chrono>

#include <gtest/gtest.h>

#include "tests/simulator/Service.h"

namespace {

using Clock = std::chrono::steady_clock;

/// Runs a paced world until its clock shows `until`.
/// @return the real seconds that it took; fails after 60.
double RealSecondsUntil(double until, double speedFactor)
{
    Service service;
    asio::io_context loop;
    CPacer pacer(loop, service.Core(), speedFactor);
    const auto start = Clock::now();
    pacer.Start();
    while (service.World().Time() < until && Clock::now() - start < std::chrono::seconds(60)) {
        loop.run_one();
    }
    EXPECT_GE(service.World().Time(), until) << "factor " << speedFactor;
    return std::chrono::duration<double>(Clock::now() - start).count();
}

TEST(Pacer, MovesTheWorldNoFasterThanTheFactorSays)
{
    for (const double factor : {0.5, 1.0, 20.0, 1000.0}) {
        EXPECT_GE(RealSecondsUntil(0.1 * factor, factor), 0.1 * 0.99) << factor;
    }
}

TEST(Pacer, DoesNotCatchUpAfterBeingHeldUp)
{
    Service service;
    asio::io_context loop;
    CPacer pacer(loop, service.Core(), 1.0);
    pacer.Start();
    const auto start = Clock::now();
    while (Clock::now() - start < std::chrono::milliseconds(600)) {
        // The loop gets no turn.
    }

    loop.run_one();

    EXPECT_GT(service.World().Time(), 0.2);
    EXPECT_LE(service.World().Time(), 0.26);
}

} // namespace
