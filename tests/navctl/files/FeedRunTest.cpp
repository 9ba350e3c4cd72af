#include "tools/navctl/feed/FeedRun.h"

#include <map>
#include <vector>

#include <gtest/gtest.h>

namespace {

/// Gives samples with these times.
class CTimes : public CSampleReader
{
public:
    explicit CTimes(std::vector<double> times) : m_times(std::move(times)) {}

    ESample Next(PositionSample& sample, int) override
    {
        if (m_next == m_times.size()) {
            return ESample::End;
        }
        sample = {};
        sample.time = m_times[m_next++];
        sample.yawRate = yawRate;
        sample.startsAnew = *sample.time < m_last;
        m_last = *sample.time;
        return ESample::Sample;
    }

    std::optional<double> yawRate;

private:
    std::vector<double> m_times;
    std::size_t m_next = 0;
    double m_last = -1e300;
};

/// Time that passes when it is waited for.
class CFakeClock : public CFeedClock
{
public:
    double Now() override { return now; }
    void WaitTowards(double time) override { now = std::min(time, now + 0.1); }
    bool IsInterrupted() override { return now >= interruptedFrom; }

    double now = 1000.0;
    double interruptedFrom = 1e9;
};

/// Notes when samples come; fails the attempts that it is asked to.
class CFakeSink : public CPositionSink
{
public:
    explicit CFakeSink(CFakeClock& clock) : m_clock(clock) {}

    LinkErrorC Send(const PositionSample&, bool, int number) override
    {
        const auto failure = failures.find(++m_attempts);
        if (failure != failures.end()) {
            return {failure->second, "told to fail"};
        }
        sentAt.push_back(m_clock.now - 1000.0);
        numbers.push_back(number);
        return {};
    }
    LinkErrorC Confirm() override
    {
        const bool fails = confirmation != ELinkError::None && ++m_confirmations >= failsFrom;
        return fails ? LinkErrorC{confirmation, "told to fail"} : LinkErrorC{};
    }

    std::optional<std::string> Refusal() override
    {
        const auto place = m_looks++;
        return place < refusals.size() ? std::optional<std::string>(refusals[place]) : std::nullopt;
    }

    std::map<int, ELinkError> failures;
    std::vector<std::string> refusals; ///< look by look
    ELinkError confirmation = ELinkError::None;
    int failsFrom = 1; ///< the number of the first confirmation that fails
    std::vector<double> sentAt;
    std::vector<int> numbers;

private:
    CFakeClock& m_clock;
    int m_attempts = 0;
    int m_confirmations = 0;
    std::size_t m_looks = 0;
};

/// A feed with all that it stands on.
struct Feed
{
    explicit Feed(std::vector<double> times) : reader(std::move(times)), sink(clock) {}

    FeedResult Run(std::optional<double> rate)
    {
        const auto tell = [this](const std::string& text) { told.push_back(text); };
        return CFeedRun({reader, sink, clock, [](const FeedResult&) {}, tell}, rate, 1.0).Run();
    }

    CTimes reader;
    CFakeClock clock;
    CFakeSink sink;
    std::vector<std::string> told;
};

void ExpectTimes(const std::vector<double>& expected, const std::vector<double>& actual)
{
    ASSERT_EQ(expected.size(), actual.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(expected[i], actual[i], 1e-6) << "sample " << i;
    }
}

} // namespace

TEST(FeedRun, SendsInTheTimeOfTheFile)
{
    Feed feed({500.0, 500.5, 502.0});
    EXPECT_EQ(3U, feed.Run(1.0).sent);
    ExpectTimes({0.0, 0.5, 2.0}, feed.sink.sentAt);
    EXPECT_EQ((std::vector<int>{1, 2, 3}), feed.sink.numbers);
}

TEST(FeedRun, EndsAsInterruptedWhenItsInputIsInterruptedToo)
{
    class CInterruptedInput : public CSampleReader
    {
    public:
        CInterruptedInput(CFakeClock& clock, ESample end) : m_clock(clock), m_end(end) {}
        ESample Next(PositionSample&, int) override
        {
            m_clock.interruptedFrom = m_clock.now;
            return m_end;
        }

    private:
        CFakeClock& m_clock;
        ESample m_end;
    };
    for (const ESample end : {ESample::End, ESample::Failed}) {
        CFakeClock clock;
        CFakeSink sink(clock);
        CInterruptedInput input(clock, end);
        const FeedResult result =
            CFeedRun({input, sink, clock, [](const FeedResult&) {}, [](const std::string&) {}},
                     std::nullopt, 1.0)
                .Run();
        EXPECT_EQ(EFeedEnd::Interrupted, result.end);
    }
}

TEST(FeedRun, SendsFasterOrAsItComes)
{
    Feed fast({500.0, 502.0, 510.0});
    fast.Run(4.0);
    ExpectTimes({0.0, 0.5, 2.5}, fast.sink.sentAt);
    Feed atOnce({500.0, 502.0, 510.0});
    atOnce.Run(std::nullopt);
    ExpectTimes({0.0, 0.0, 0.0}, atOnce.sink.sentAt);
}

TEST(FeedRun, TellsOfGapsAndWaitsForNoneOfOverAnHour)
{
    Feed feed({0.0, 90.0, 3690.0, 1e9, 1e9 + 1.0});
    EXPECT_EQ(5U, feed.Run(1.0).sent);
    ExpectTimes({0.0, 90.0, 3690.0, 3690.0, 3691.0}, feed.sink.sentAt);
    EXPECT_EQ((std::vector<std::string>{"the next sample is due in 90 s",
                                        "the next sample is due in 3600 s",
                                        "passing over a gap of 999996310 s in the file's time"}),
              feed.told);
    Feed atOnce({0.0, 1e9});
    atOnce.Run(std::nullopt);
    EXPECT_EQ(0U, atOnce.told.size()) << "where nothing is waited for, there is no gap";
}

TEST(FeedRun, GoesOnAtOnceWhenTheTimeStartsAnew)
{
    Feed feed({500.0, 501.0, 100.0, 102.0});
    feed.Run(1.0);
    ExpectTimes({0.0, 1.0, 1.0, 3.0}, feed.sink.sentAt);
    ASSERT_EQ(1U, feed.told.size());
    EXPECT_EQ("the file's time starts anew, -401 s from the last sample's", feed.told[0]);
}

TEST(FeedRun, SendsASampleAgainWhenTheLinkIsBackAndKeepsTheDistances)
{
    Feed feed({0.0, 1.0, 2.0});
    feed.sink.failures = {{2, ELinkError::Closed}, {3, ELinkError::Refused}};
    const FeedResult result = feed.Run(1.0);
    EXPECT_EQ(EFeedEnd::Done, result.end);
    EXPECT_EQ(2U, result.sent);
    EXPECT_EQ(1U, result.lost) << "the one before the loss";
    EXPECT_EQ(1U, result.reconnections);
    ExpectTimes({0.0, 1.4, 2.4}, feed.sink.sentAt);
}

TEST(FeedRun, GivesUpWhenTheLinkDoesNotComeBack)
{
    Feed feed({0.0, 1.0, 2.0});
    for (int attempt = 2; attempt < 100; ++attempt) {
        feed.sink.failures[attempt] = ELinkError::Refused;
    }
    const FeedResult result = feed.Run(1.0);
    EXPECT_EQ(EFeedEnd::LinkFailed, result.end);
    EXPECT_EQ(ELinkError::Refused, result.linkError.code);
    EXPECT_EQ(0U, result.sent);
    EXPECT_EQ(1U, result.lost);
    EXPECT_NEAR(1002.0, feed.clock.now, 0.3) << "a second behind the loss";
}

TEST(FeedRun, DoesNotTryAServiceAgainThatTakesNothing)
{
    Feed feed({0.0, 1.0, 2.0});
    feed.sink.failures = {{2, ELinkError::TimedOut}};
    const FeedResult result = feed.Run(1.0);
    EXPECT_EQ(EFeedEnd::LinkFailed, result.end);
    EXPECT_EQ(ELinkError::TimedOut, result.linkError.code);
    EXPECT_EQ(0U, result.sent);
    EXPECT_EQ(1U, result.lost);
}

TEST(FeedRun, FailsWhenTheServiceDoesNotConfirm)
{
    Feed feed({0.0, 1.0});
    feed.sink.confirmation = ELinkError::TimedOut;
    const FeedResult result = feed.Run(1.0);
    EXPECT_EQ(EFeedEnd::LinkFailed, result.end);
    EXPECT_EQ(2U, result.handedOver);
    EXPECT_EQ(0U, result.sent) << "nothing says that they were read";
    EXPECT_EQ(2U, result.lost);
}

TEST(FeedRun, CountsAsLostWhatNothingHasConfirmed)
{
    std::vector<double> times;
    for (int i = 0; i < 710; ++i) {
        times.push_back(i);
    }
    Feed feed(times);
    feed.sink.confirmation = ELinkError::TimedOut;
    feed.sink.failsFrom = 7;
    const FeedResult result = feed.Run(std::nullopt);
    EXPECT_EQ(EFeedEnd::LinkFailed, result.end);
    EXPECT_EQ(300U, result.sent);
    EXPECT_EQ(50U, result.lost);
    EXPECT_EQ(300U, result.sourcesSent);
    EXPECT_EQ(50U, result.sourcesLost);
}

TEST(FeedRun, GoesOnWhenAConfirmationShowsThatTheLinkIsLost)
{
    std::vector<double> times;
    for (int i = 0; i < 60; ++i) {
        times.push_back(i);
    }
    Feed feed(times);
    feed.sink.confirmation = ELinkError::Closed;
    const FeedResult first = feed.Run(std::nullopt);
    EXPECT_EQ(1U, first.reconnections);
    EXPECT_EQ(60U, first.handedOver);
    EXPECT_EQ(60U, first.lost);
    EXPECT_EQ(EFeedEnd::LinkFailed, first.end) << "the last confirmation fails, too";
}

TEST(FeedRun, TellsOnceThatTheServiceRefusesAndCountsTheLooks)
{
    Feed feed({0.0, 1.0, 2.0, 3.0, 4.0});
    feed.sink.refusals = {"too fast", "far too fast", "", "late"};
    const FeedResult result = feed.Run(1.0);
    EXPECT_EQ(EFeedEnd::Done, result.end);
    EXPECT_EQ(3U, result.refusedLooks);
    EXPECT_EQ(4U, result.looks);
    EXPECT_EQ(0U, Feed({0.0, 1.0, 2.0}).Run(1.0).looks) << "of a service that does not say";
    EXPECT_EQ("late", result.refusal);
    EXPECT_EQ((std::vector<std::string>{"the service does not take the samples: too fast",
                                        "the service does not take the samples: late"}),
              feed.told);
}

TEST(FeedRun, IsInterruptedRatherThanFailedWhereTheServiceSaysNothingThen)
{
    Feed feed({0.0, 1.0, 2.0});
    feed.sink.confirmation = ELinkError::TimedOut;
    feed.clock.interruptedFrom = 1000.5;
    const FeedResult result = feed.Run(1.0);
    EXPECT_EQ(EFeedEnd::Interrupted, result.end);
    EXPECT_EQ(1U, result.lost);
    EXPECT_EQ(0U, result.sent);
}

TEST(FeedRun, CountsTheValuesThatNobodyHasTold)
{
    Feed feed({0.0, 1.0});
    const FeedResult result = feed.Run(std::nullopt);
    EXPECT_EQ(2U, result.notTold.at("height"));
    EXPECT_EQ(2U, result.notTold.at("heading"));
    for (const char* const rate : {"yaw_rate", "roll_rate", "pitch_rate"}) {
        EXPECT_EQ(2U, result.notTold.at(rate)) << rate;
    }
    Feed told({0.0});
    told.reader.yawRate = 0.1;
    EXPECT_EQ(0U, told.Run(std::nullopt).notTold.count("yaw_rate"));
}

TEST(FeedRun, EndsWhenTheUserWantsItTo)
{
    Feed feed({0.0, 1.0, 3600.0});
    feed.clock.interruptedFrom = 1005.0;
    const FeedResult result = feed.Run(1.0);
    EXPECT_EQ(EFeedEnd::Interrupted, result.end);
    EXPECT_EQ(2U, result.sent);
}
