// What waits for the service at the page's gate.

#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <gtest/gtest.h>

#include "simulator/http/LoopGate.h"

namespace {

using EOutcome = CLoopGate::EOutcome;

/// A gate whose loops run when a test lets them.
struct GateUnderTest
{
    /// Hands over work with a number, which is kept in `begun` and its outcome in `outcomes`.
    void Run(std::size_t number, CLoopGate::EOrder order = CLoopGate::EOrder::InTurn)
    {
        outcomes.resize(number + 1);
        gate.Run(
            [this, number](const CLoopGate::Done& done) {
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
    CLoopGate gate{service, own, std::chrono::hours(1)};
};

TEST(LoopGate, HasWhatIsUrgentBegunBeforeWhatHasBeenHandedOver)
{
    GateUnderTest test;
    for (std::size_t number = 0; number < 3; ++number) {
        test.Run(number);
    }
    test.Run(3, CLoopGate::EOrder::AtOnce);

    test.RunBoth();

    EXPECT_EQ((std::vector<std::size_t>{3, 0, 1, 2}), test.begun);
}

TEST(LoopGate, LetsTheServiceDoItsOtherWorkBetweenPiecesThatTakeLong)
{
    GateUnderTest test;
    std::vector<std::string> done;
    const auto spin = [] {
        const std::clock_t start = std::clock();
        while (std::clock() - start < CLOCKS_PER_SEC / 500) {
        }
    };
    for (const char* const name : {"first", "second"}) {
        test.gate.Run(
            [&, name](const CLoopGate::Done& finished) {
                done.emplace_back(name);
                asio::post(test.service, [&] { done.emplace_back("the service's"); });
                spin(); // for more than a turn
                finished();
            },
            [](EOutcome) {});
    }

    test.RunBoth();

    const std::vector<std::string> expected{"first", "the service's", "second", "the service's"};
    EXPECT_EQ(expected, done);
}

TEST(LoopGate, GivesUpTheOldestWhenTooMuchWaits)
{
    GateUnderTest test;
    const std::size_t most = CLoopGate::kMostUnderWay + CLoopGate::kMostWaiting;
    for (std::size_t number = 0; number < most; ++number) {
        test.Run(number);
    }
    test.Run(most);
    test.Run(most + 1);
    test.Run(most + 2, CLoopGate::EOrder::AtOnce);

    const std::vector<EOutcome> givenUp{EOutcome::NotDone};
    EXPECT_TRUE(test.outcomes[CLoopGate::kMostUnderWay - 1].empty());
    EXPECT_EQ(givenUp, test.outcomes[CLoopGate::kMostUnderWay]);
    EXPECT_EQ(givenUp, test.outcomes[CLoopGate::kMostUnderWay + 1]);
    EXPECT_TRUE(test.outcomes[CLoopGate::kMostUnderWay + 2].empty());
    test.RunBoth();

    EXPECT_EQ(most + 1, test.begun.size());
    EXPECT_EQ(std::vector<EOutcome>{EOutcome::Done}, test.outcomes[most + 2]);
    for (std::size_t number = 0; number < most + 3; ++number) {
        EXPECT_EQ(1U, test.outcomes[number].size()) << number;
    }
}

} // namespace
