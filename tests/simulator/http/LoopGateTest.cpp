// What waits for the service at the page's gate.

#include <cstddef>
#include <vector>

#include <asio/io_context.hpp>
#include <gtest/gtest.h>

#include "simulator/http/LoopGate.h"

namespace {

using EOutcome = LoopGateC::EOutcome;

/// A gate whose loops run when a test lets them.
struct GateUnderTest
{
    /// Hands over work with a number, which is kept in `begun` and its outcome in `outcomes`.
    void Run(std::size_t number, LoopGateC::EOrder order = LoopGateC::EOrder::InTurn)
    {
        outcomes.resize(number + 1);
        gate.Run(
            [this, number](const LoopGateC::Done& done) {
                begun.push_back(number);
                done();
            },
            [this, number](EOutcome outcome) { outcomes[number].push_back(outcome); }, order);
    }
    void RunBoth()
    {
        while (service.poll() + own.poll() > 0) {
            service.restart();
            own.restart();
        }
    }

    asio::io_context service;
    asio::io_context own;
    std::vector<std::size_t> begun;
    std::vector<std::vector<EOutcome>> outcomes;
    LoopGateC gate{service, own, std::chrono::hours(1)};
};

TEST(LoopGate, GivesUpTheOldestWhenTooMuchWaits)
{
    GateUnderTest test;
    const std::size_t most = LoopGateC::kMostUnderWay + LoopGateC::kMostWaiting;
    for (std::size_t number = 0; number < most; ++number)
        test.Run(number);
    test.Run(most);
    test.Run(most + 1);
    test.Run(most + 2, LoopGateC::EOrder::AtOnce);

    const std::vector<EOutcome> givenUp{EOutcome::NotDone};
    EXPECT_TRUE(test.outcomes[LoopGateC::kMostUnderWay - 1].empty());
    EXPECT_EQ(givenUp, test.outcomes[LoopGateC::kMostUnderWay]);
    EXPECT_EQ(givenUp, test.outcomes[LoopGateC::kMostUnderWay + 1]);
    EXPECT_TRUE(test.outcomes[LoopGateC::kMostUnderWay + 2].empty());
    test.RunBoth();

    EXPECT_EQ(most + 1, test.begun.size());
    EXPECT_EQ(std::vector<EOutcome>{EOutcome::Done}, test.outcomes[most + 2]);
    for (std::size_t number = 0; number < most + 3; ++number)
        EXPECT_EQ(1U, test.outcomes[number].size()) << number;
}

} // namespace
