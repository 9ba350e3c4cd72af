// Time that clients move on: what comes before an advance, what waits for it, and what comes
// behind.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <future>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <asio/post.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/simulator/stepped/SteppedService.h"

using testing::HasSubstr;

namespace {

const char* const kLineNorth = "[0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]";
const std::vector<std::string> kEvents{"cb_engage_status",
                                       "cb_guidance_status",
                                       "cb_offsets",
                                       "cb_wayline_status",
                                       "cb_implement_width_changed",
                                       "cb_tuning_parameter_changed",
                                       "cb_relative_position",
                                       "cb_draw_points"};

/// A curve to the north, of so many points that it is built aside.
std::string LongCurve(double x = 0.0, int points = 3000)
{
    std::string list = "[4, " + std::to_string(points);
    for (int i = 0; i < points; ++i) {
        const double y = 0.5 * i;
        list += ", " + std::to_string(x + 20.0 * std::sin(y / 60.0)) + ", " + std::to_string(y) +
                ", 0.0";
    }
    return list + "]";
}

long CountOf(const std::vector<std::string>& events, const std::string& name)
{
    return std::count_if(events.begin(), events.end(), [&](const std::string& event) {
        return event.find("\"" + name + "\"") != std::string::npos;
    });
}

/// Begins an advance that is not through before `through` is called, since a line is being built.
class CSlowAdvance
{
public:
    CSlowAdvance(CCaller& builder, CCaller& caller, const std::string& seconds) : m_builder(builder)
    {
        constexpr int kMostPoints = 199'000; // take longer than a test's few calls
        builder.Send("set_wayline", LongCurve(0.0, kMostPoints));
        builder.BeReadBehind();
        caller.Send("simulator_advance", "[" + seconds + "]");
        caller.BeReadBehind();
    }
    std::string Built() { return m_builder.Reply(); }

private:
    CCaller& m_builder;
};

} // namespace

TEST(SteppedClock, StandsUntilItIsAdvanced)
{
    CSteppedService service;
    CCaller caller(service);
    EXPECT_EQ("0", caller.Call("simulator_time"));
    EXPECT_EQ("0.02", caller.Call("simulator_advance", "[0.02]"));
    EXPECT_EQ("10.02", caller.Call("simulator_advance", "[10]"));
    EXPECT_EQ("10.02", caller.Call("simulator_advance", "[0.0]"));
    EXPECT_EQ("10.02", caller.Call("simulator_time"));
}

TEST(SteppedClock, RefusesWithTheReasonAndGoesOn)
{
    CSteppedService service;
    CCaller caller(service);
    EXPECT_THAT(caller.Call("simulator_advance", "[0.03]"), HasSubstr("not a whole number"));
    EXPECT_THAT(caller.Call("simulator_advance", "[60.02]"), HasSubstr("at most 60 s"));
    EXPECT_THAT(caller.Call("simulator_advance", "[-1.0]"), HasSubstr("not a time"));
    EXPECT_THAT(caller.Call("simulator_advance", "[nan]"), HasSubstr("not a time"));
    EXPECT_THAT(caller.Call("simulator_advance", "['1']"), HasSubstr("wants [double]"));
    EXPECT_EQ("1", caller.Call("simulator_advance", "[1.0]"));
}

TEST(SteppedClock, AnswersBehindEveryEventOfTheSteps)
{
    CSteppedService service;
    CCaller caller(service);
    for (const std::string& event : kEvents) {
        caller.Subscribe(event);
    }
    caller.Call("simulator_time");
    caller.TakeEvents();
    for (const int seconds : {1, 7, 60}) {
        caller.Call("simulator_advance", "[" + std::to_string(seconds) + "]");
        const std::vector<std::string> events = caller.TakeEvents();
        EXPECT_EQ(10 * seconds, CountOf(events, "cb_relative_position"));
        EXPECT_EQ(10 * seconds, CountOf(events, "cb_guidance_status"));
        EXPECT_EQ(seconds, CountOf(events, "cb_draw_points"));
    }
}

TEST(SteppedClock, HasHandedTheEventsOfAllToTheSystemWhenItAnswers)
{
    CSteppedService service;
    CCaller caller(service);
    CCaller others[3] = {CCaller(service), CCaller(service), CCaller(service)};
    for (CCaller& other : others) {
        for (const std::string& event : kEvents) {
            other.Subscribe(event);
        }
        other.Call("simulator_time");
        other.TakeEvents();
    }
    EXPECT_EQ("60", caller.Call("simulator_advance", "[60.0]"));
    service.Stop();
    for (CCaller& other : others) {
        other.TakeWhatIsThere();
        const std::vector<std::string> events = other.TakeEvents();
        EXPECT_EQ(600, CountOf(events, "cb_relative_position"));
        EXPECT_EQ(600, CountOf(events, "cb_guidance_status"));
        EXPECT_EQ(60, CountOf(events, "cb_draw_points"));
    }
}

TEST(SteppedClock, AdvancesForEverybody)
{
    CSteppedService service;
    CCaller first(service);
    CCaller second(service);
    EXPECT_EQ("1", first.Call("simulator_advance", "[1.0]"));
    EXPECT_EQ("1", second.Call("simulator_time"));
    EXPECT_EQ("1.5", second.Call("simulator_advance", "[0.5]"));
    EXPECT_EQ("1.5", first.Call("simulator_time"));
}

TEST(SteppedClock, BuildsALineBeforeTheNextStep)
{
    CSteppedService service;
    CCaller builder(service);
    CCaller caller(service);
    caller.Subscribe("cb_wayline_status");
    caller.Subscribe("cb_relative_position");
    caller.Call("simulator_time");
    caller.TakeEvents();
    CSlowAdvance advance(builder, caller, "1.0");
    EXPECT_THAT(caller.Reply(), HasSubstr(": 1"));
    const std::vector<std::string> events = caller.TakeEvents();
    ASSERT_EQ(11U, events.size());
    EXPECT_THAT(events.front(), HasSubstr("cb_wayline_status"));
    EXPECT_THAT(advance.Built(), HasSubstr(": 1"));
}

TEST(SteppedClock, HasCallsOfEverybodyTakeEffectBehindAnAdvanceInTheOrderOfOpening)
{
    std::vector<std::size_t> order{0, 1, 2};
    do {
        CSteppedService service;
        CCaller builder(service);
        CCaller callers[3] = {CCaller(service), CCaller(service), CCaller(service)};
        CSlowAdvance advance(builder, callers[1], "2.0");
        for (const std::size_t number : order) {
            callers[number].Send("Nudge", "[1, 1, " + std::to_string(number + 1) + ".0]");
            callers[number].Send("get_nudge", "[1]");
            callers[number].Send("simulator_time");
            callers[number].BeReadBehind();
        }
        EXPECT_THAT(callers[1].Reply(), HasSubstr(": 2"));
        for (const char* const text : {"1", "3", "6"}) {
            const std::string sum = text;
            CCaller& caller = callers[sum == "1" ? 0 : sum == "3" ? 1 : 2];
            caller.Reply();
            EXPECT_THAT(caller.Reply(), testing::EndsWith(": " + sum));
            EXPECT_THAT(caller.Reply(), testing::EndsWith(": 2"));
        }
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(SteppedClock, HasCallsThatAShortAdvanceDidNotComeToReadTakeEffectInTheOrderOfOpeningToo)
{
    constexpr int kCalls = 20;
    CSteppedService service;
    CCaller callers[3] = {CCaller(service), CCaller(service), CCaller(service)};
    std::promise<void> isStepping;
    std::promise<void> haveSent;
    service.OnLoop([&](CServiceCore& core) {
        core.OnStep([&, isFirst = true](const CSimulation&, const auto&) mutable {
            if (isFirst) { // nothing is read meanwhile
                isFirst = false;
                isStepping.set_value();
                haveSent.get_future().wait();
            }
        });
    });
    callers[2].Send("simulator_advance", "[0.02]");
    isStepping.get_future().wait();
    for (int call = 0; call < kCalls; ++call) {
        for (const int number : {1, 0}) {
            callers[number].Send("Nudge", "[1, 1, 1.0]");
            callers[number].Send("get_nudge", "[1]");
        }
    }
    haveSent.set_value();
    EXPECT_THAT(callers[2].Reply(), testing::EndsWith(": 0.02"));
    int sum = 0;
    for (const int number : {0, 1}) {
        for (int call = 0; call < kCalls; ++call) {
            const std::string expected = ": " + std::to_string(++sum);
            callers[number].Reply();
            ASSERT_THAT(callers[number].Reply(), testing::EndsWith(expected)) << number;
        }
    }
}

TEST(SteppedClock, HasWhatWasAskedForBetweenTwoAdvancesTakeEffectThere)
{
    CSteppedService service;
    CCaller caller(service);
    caller.Send("simulator_advance", "[1.0]");
    caller.Send("Nudge", "[1, 0, 0.5]");
    caller.Send("simulator_time");
    caller.Send("simulator_advance", "[1.0]");
    caller.Send("simulator_time");
    EXPECT_THAT(caller.Reply(), testing::EndsWith(": 1"));
    caller.Reply();
    EXPECT_THAT(caller.Reply(), testing::EndsWith(": 1"));
    EXPECT_THAT(caller.Reply(), testing::EndsWith(": 2"));
    EXPECT_THAT(caller.Reply(), testing::EndsWith(": 2"));
}

TEST(SteppedClock, CountsANotificationBeforeAnAdvanceOnceALaterRequestWasAnswered)
{
    CSteppedService service;
    CCaller caller(service);
    CCaller other(service);
    caller.Subscribe("cb_offsets");
    caller.Subscribe("cb_relative_position");
    caller.Call("simulator_time");
    for (int round = 1; round <= 100; ++round) {
        caller.TakeEvents();
        other.Notify("set_nudge", "[1, " + std::to_string(round) + ".5]");
        other.Call("IsSteeringEngaged");
        caller.Call("simulator_advance", "[0.1]");
        const std::vector<std::string> events = caller.TakeEvents();
        ASSERT_EQ(2U, events.size()) << round;
        EXPECT_THAT(events.front(), HasSubstr("cb_offsets")) << round;
    }
}

TEST(SteppedClock, LetsTheOperatorsHandInAtAStepsBorder)
{
    CSteppedService service;
    CCaller caller(service);
    CCaller operators(service);
    caller.Call("set_wayline", kLineNorth);
    caller.Call("StartNavigation", "[1, 1]");
    EXPECT_EQ("1", caller.Call("EngageSteering", "[1]"));
    CCaller builder(service);
    CSlowAdvance advance(builder, caller, "60.0");
    // The reply comes at once, behind no step.
    EXPECT_EQ("1", operators.Call("DisengageSteering", "[1]"));
    operators.Send("simulator_time");
    EXPECT_THAT(caller.Reply(), testing::EndsWith(": 60"));
    EXPECT_THAT(operators.Reply(), testing::EndsWith(": 60"));
    EXPECT_EQ("0", caller.Call("IsSteeringEngaged"));
}

TEST(SteppedClock, RefusesToEngageBehindAnAdvanceInWhichTheOperatorTookOver)
{
    CSteppedService service;
    CCaller caller(service);
    CCaller operators(service);
    CCaller builder(service);
    caller.Call("set_wayline", kLineNorth);
    caller.Call("StartNavigation", "[1, 1]");
    CSlowAdvance advance(builder, caller, "0.2");
    caller.Send("EngageSteering", "[1]");
    caller.BeReadBehind();
    EXPECT_EQ("1", operators.Call("DisengageSteering", "[1]"));
    EXPECT_THAT(caller.Reply(), testing::EndsWith(": 0.2"));
    EXPECT_THAT(caller.Reply(), testing::EndsWith(": 0"));
    EXPECT_EQ("0", caller.Call("IsSteeringEngaged"));
}

TEST(SteppedClock, LeavesAWholeNumberOfStepsWhenWhoAskedGoes)
{
    std::mt19937 random(7);
    CSteppedService service;
    CCaller other(service);
    double before = 0.0;
    for (int round = 0; round < 20; ++round) {
        auto leaver = std::make_optional<CCaller>(service);
        for (auto pause = random() % 40; pause > 0; --pause) {
            other.Call("IsSteeringEngaged");
        }
        leaver->Send("simulator_advance", "[60.0]");
        if (round % 2 == 0) {
            leaver->BeReadBehind();
        }
        leaver.reset();
        other.Call("simulator_advance", "[0.02]");
        double time = 0.0;
        service.OnLoop([&](CServiceCore& core) { time = core.World().Time(); });
        const double steps = (time - before) / CSimulation::kStepSeconds;
        EXPECT_NEAR(steps, std::round(steps), 1e-6) << round;
        EXPECT_GE(steps, 1.0 - 1e-6);
        EXPECT_LE(steps, 3001.0 + 1e-6);
        before = time;
    }
}

TEST(SteppedClock, LetsTheLoopGoOnWhileItAdvances)
{
    CSteppedService service;
    CCaller caller(service);
    for (const std::string& event : kEvents) {
        caller.Subscribe(event);
    }
    caller.Call("simulator_time");
    std::atomic<bool> ends{false};
    std::atomic<int> turns{0};
    std::function<void()> turn = [&] {
        ++turns;
        if (!ends) {
            asio::post(service.Loop(), turn);
        }
    };
    asio::post(service.Loop(), turn);
    // Several, since one may be through within a piece.
    for (int count = 0; count < 20; ++count) {
        caller.Send("simulator_advance", "[60.0]");
    }
    std::optional<int> begun;
    for (int count = 0; count < 20; ++count) {
        caller.Reply();
        begun = begun.value_or(turns.load());
    }
    EXPECT_GT(turns - *begun, 19 * 2);
    ends = true;
    service.OnLoop([](CServiceCore&) {});
}

TEST(SteppedClock, GivesTheSameDriveAcrossThePassesOfALongCurveEachTime)
{
    const auto drive = [] {
        CSteppedService service;
        CCaller caller(service);
        CCaller other(service);
        for (const std::string& event : kEvents) {
            caller.Subscribe(event);
        }
        caller.Call("set_wayline", LongCurve(7.0));
        caller.Call("StartNavigation", "[1, 1]");
        caller.Call("SetImplementWidth", "[1, 1.0]");
        for (int round = 0; round < 60; ++round) {
            caller.Call("simulator_advance", "[1.0]");
            other.Call("Nudge", "[1, 1, 0.01]");
        }
        return caller.TakeEvents();
    };
    const std::vector<std::string> first = drive();
    for (int run = 0; run < 3; ++run) {
        EXPECT_EQ(first, drive()) << run;
    }
}
