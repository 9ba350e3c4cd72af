#include "simulator/operations/Events.h"

#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/simulator/Service.h"
#include "tests/simulator/Values.h"

namespace {

using Texts = std::vector<std::string>;

TEST(ServiceEvents, TellASubscriberThePresentState)
{
    Service service;

    EXPECT_EQ(Texts{"cb_engage_status [0, 0, 0, 0, 0]"}, service.Subscribe("cb_engage_status"));
    EXPECT_EQ(Texts{"cb_guidance_status [0, 0.0, 0.0, 0.0]"},
              service.Subscribe("cb_guidance_status"));
    EXPECT_EQ(Texts{"cb_offsets [0.0]"}, service.Subscribe("cb_offsets"));
    EXPECT_EQ(Texts{"cb_wayline_status [0, 0, 0, -1, 0.0]"},
              service.Subscribe("cb_wayline_status"));
    EXPECT_EQ(Texts{"cb_relative_position [0.0, 0.0, 0.0]"},
              service.Subscribe("cb_relative_position"));
    EXPECT_EQ(Texts{"cb_draw_points [0]"}, service.Subscribe("cb_draw_points"));
    EXPECT_EQ(Texts{}, service.Subscribe("cb_no_event"));
    EXPECT_EQ("subscribe: there is no event \"cb_no_event\"\n", service.Log());
}

TEST(ServiceEvents, TellASubscriberOfTuningEveryParameter)
{
    Service service;
    service.Notify("set_tuning_parameter", "[2, 0.75, 0]");

    const Texts told = service.Subscribe("cb_tuning_parameter_changed");

    ASSERT_EQ(4u, told.size());
    for (int parameter = 0; parameter < 4; ++parameter) {
        const std::string value =
            service.Request("get_tuning_parameter", "[" + std::to_string(parameter) + "]");
        EXPECT_EQ("cb_tuning_parameter_changed [" + std::to_string(parameter) + ", " + value + "]",
                  told[static_cast<std::size_t>(parameter)]);
    }
}

/// A call that changes a value, and the one event that reports it.
struct Change
{
    const char* operation;
    const char* arguments;
    const char* event;
    const char* payload;
};

const std::vector<Change> kChanges{
    {"SetImplementWidth", "[1, 7.5]", "cb_implement_width_changed", "[7.5]"},
    {"set_nudge", "[1, 0.5]", "cb_offsets", "[0.5]"},
    {"SetFieldOffset", "[1, 0.25]", "cb_offsets", "[0.25]"},
    {"SetImplementOffset", "[1, -0.25]", "cb_offsets", "[-0.25]"},
    {"set_tuning_parameter", "[2, 0.75, 0]", "cb_tuning_parameter_changed", "[2, 0.75]"},
    {"StopNavigation", "[1]", "cb_engage_status", "[0, 0, 0, 0, 0]"},
    {"StopNavigation", "[1]", "cb_wayline_status", "[1, 0, 0, 0, 0.0]"},
    {"EngageSteering", "[1]", "cb_engage_status", "[1, 1, 1, 0, 0]"},
    {"clear_wayline", "[]", "cb_wayline_status", "[0, 0, 0, -1, 0.0]"},
    {"start_wayline", "[1]", "cb_wayline_status", "[0, 0, 0, 1, 0.0]"},
};

TEST(ServiceEvents, TellAChangeOnceAndAtOnce)
{
    for (const Change& row : kChanges) {
        Service service;
        service.NavigateNorth();
        service.Advance(0.2);
        service.Forget();
        service.Notify(row.operation, row.arguments);

        EXPECT_EQ(Texts{row.payload}, service.Told(row.event)) << row.operation;

        service.Advance(0.2);
        service.Forget();
        service.Notify(row.operation, row.arguments);
        EXPECT_EQ(Texts{}, service.Told(row.event)) << row.operation << " again";
    }
}

/// Calls that change a value when they alternate, and the event that reports it.
struct Alternation
{
    const char* event;
    const char* operation;
    const char* first;
    const char* second;
};

const std::vector<Alternation> kAlternations{
    {"cb_offsets", "set_nudge", "[1, 0.1]", "[1, 0.2]"},
    {"cb_draw_points", "set_nudge", "[1, 0.1]", "[1, 0.2]"},
    {"cb_draw_points", "StartNavigation", "[1, 0]", "[1, 1]"},
    {"cb_implement_width_changed", "SetImplementWidth", "[1, 5.0]", "[1, 6.0]"},
    {"cb_tuning_parameter_changed", "set_tuning_parameter", "[1, 0.5, 0]", "[1, 0.6, 0]"},
    {"cb_tuning_parameter_changed", "SetTuningLimits", "[1, 0.1, 0.2, 0.3]", "[1, 2.0, 2.1, 2.2]"},
    {"cb_wayline_status", "start_wayline", "[1]", "[2]"},
    {"cb_wayline_status", "set_wayline", "[1, 0.0, 0.0, 0.0, 0.0]",
     "[2, 0.0, 20.0, 0.0, 20.0, 0.0, 0.0, 0.0, -20.0, 0.0]"},
    {"cb_engage_status", "set_wayline", "[1, 0.0, 0.0, 0.0, 0.0]", "[1, 99.0, 0.0, 0.0, 0.0]"},
};

TEST(ServiceEvents, TellWhatChangesWithoutEndTenTimesASecond)
{
    for (const Alternation& row : kAlternations) {
        Service service;
        service.NavigateNorth();
        service.Advance(0.1);
        service.Forget();

        service.Request(row.operation, row.first);
        service.Request(row.operation, row.second);
        EXPECT_GE(1u, service.Told(row.event).size()) << row.event << ' ' << row.operation;

        std::size_t told = 0;
        for (int period = 0; period < 20; ++period) {
            for (int call = 0; call < 50; ++call) {
                service.Request(row.operation, (period + call) % 2 == 0 ? row.first : row.second);
            }
            service.Advance(0.1);
            told += service.Told(row.event).size();
        }
        EXPECT_GE(20u, told) << row.event << ' ' << row.operation;
    }
}

TEST(ServiceEvents, TellTheLastOfManyValuesWhenGuidanceRunsNext)
{
    Service service;
    service.NavigateNorth();
    service.Advance(0.1);
    service.Forget();

    for (const char* nudge : {"[1, 0.1]", "[1, 0.2]", "[1, 0.3]"}) {
        service.Notify("set_nudge", nudge);
    }
    EXPECT_EQ(Texts{"[0.1]"}, service.Told("cb_offsets"));

    service.Advance(0.08);
    EXPECT_EQ(Texts{}, service.Told("cb_offsets"));
    service.Advance(0.02);
    EXPECT_EQ(Texts{"[0.3]"}, service.Told("cb_offsets"));

    service.Advance(1.0);
    EXPECT_EQ(Texts{}, service.Told("cb_offsets"));
    service.Notify("set_nudge", "[1, 0.4]");
    EXPECT_EQ(Texts{"[0.4]"}, service.Told("cb_offsets"));
}

TEST(ServiceEvents, TellTheShiftAnewWhenTheLineIsDrivenTheOtherWay)
{
    Service service;
    service.NavigateNorth();
    service.Request("set_nudge", "[1, 0.125]");
    service.Request("SetImplementOffset", "[1, 0.5]");
    service.Advance(0.2);
    service.Forget();

    service.Request("set_wayline", "[0, 0.0, 100.0, 0.0, 0.0, 0.0, 0.0]");

    EXPECT_EQ(Texts{"[-0.375]"}, service.Told("cb_offsets"));
}

TEST(ServiceEvents, TellNothingOfAValueThatIsAgainWhatWasTold)
{
    Service service;
    for (const char* nudge : {"[1, 0.1]", "[1, 0.2]", "[1, 0.1]"}) {
        service.Notify("set_nudge", nudge);
    }
    service.Advance(0.5);

    EXPECT_EQ(Texts{"[0.1]"}, service.Told("cb_offsets"));
}

TEST(ServiceEvents, TellEachTuningParameterForItself)
{
    Service service;
    for (const char* value : {"[0, 0.5, 0]", "[1, 0.5, 0]", "[2, 0.5, 0]", "[0, 0.6, 0]"}) {
        service.Notify("set_tuning_parameter", value);
    }
    EXPECT_EQ((Texts{"[0, 0.5]", "[1, 0.5]", "[2, 0.5]"}),
              service.Told("cb_tuning_parameter_changed"));

    service.Advance(0.1);
    EXPECT_EQ(Texts{"[0, 0.6]"}, service.Told("cb_tuning_parameter_changed"));
}

TEST(ServiceEvents, TellThatSteeringWasDroppedHoweverOftenItWasEngagedBefore)
{
    Service service;
    service.NavigateNorth();
    service.Notify("set_low_speed_engage_timeout", "[0.0, 0]");
    service.Notify("SetVelocitySetPoint", "[0.0]");
    int drops = 0;
    for (int step = 0; step < 200 && drops == 0; ++step) {
        service.Request("DisengageSteering", "[1]");
        service.Request("EngageSteering", "[1]");
        service.Forget();
        service.Advance(0.02);
        if (service.World().DroppedByService()) {
            ++drops;
            EXPECT_EQ(Texts{"[0, 0, 1, 0, 1]"}, service.Told("cb_engage_status"));
        }
    }
    EXPECT_EQ(1, drops);
}

TEST(ServiceEvents, TellASubscriberThePresentStateAlsoWhileAChangeWaits)
{
    Service service;
    service.Notify("set_nudge", "[1, 0.1]");
    service.Notify("set_nudge", "[1, 0.2]");

    EXPECT_EQ(Texts{"cb_offsets [0.2]"}, service.Subscribe("cb_offsets"));
}

/// The events whose values clients change, each with what it said last.
using LastTold = std::map<std::string, Texts>;

LastTold PresentValues(const Service& service)
{
    LastTold present;
    for (const char* event : {"cb_engage_status", "cb_offsets", "cb_wayline_status",
                              "cb_implement_width_changed", "cb_tuning_parameter_changed"}) {
        present[event] = service.Subscribe(event);
    }
    return present;
}

/// Takes what has been sent into `last`, as a subscriber does.
void TakeTold(Service& service, LastTold& last)
{
    for (auto& [event, texts] : last) {
        for (const std::string& payload : service.Told(event, Service::EKeep::Others)) {
            const std::string text = event + (" " + payload);
            // Of the tuning parameters each has a line, which begins with its number.
            const std::size_t place =
                texts.size() > 1 ? static_cast<std::size_t>(ListFrom(payload)->GetInt(0)) : 0;
            texts.at(place) = text;
        }
    }
    service.Forget();
}

TEST(ServiceEvents, LeaveASubscriberWithThePresentStateWhateverClientsDo)
{
    std::mt19937 random(5);
    Service service;
    service.NavigateNorth();
    service.Advance(0.1);
    service.Forget();
    LastTold last = PresentValues(service);
    const auto below = [&random](std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    };
    int looks = 0;
    for (int i = 0; i < 3000; ++i) {
        const Alternation& row = kAlternations[below(kAlternations.size())];
        if (below(4) == 0) {
            service.Advance(0.02 * static_cast<double>(below(12)));
        } else if (below(3) == 0) {
            service.Request(below(2) == 0 ? "EngageSteering" : "DisengageSteering", "[1]");
        } else {
            service.Request(row.operation, below(2) == 0 ? row.first : row.second);
        }
        TakeTold(service, last);
        if (below(10) == 0) {
            service.Advance(0.1);
            TakeTold(service, last);
            if (service.World().ControlRan()) {
                ++looks;
                ASSERT_EQ(PresentValues(service), last) << i;
            }
        }
    }
    EXPECT_LT(20, looks);
}

TEST(ServiceEvents, TellAValueThatWasClamped)
{
    Service service;
    const double highest = ListFrom(service.Request("GetTuningLimits", "[0]"))->GetDouble(2);
    service.Forget();

    service.Notify("set_tuning_parameter", "[0, 1000.0, 0]");

    BListC expected(nullptr);
    expected.AddInt(0);
    expected.AddDouble(highest);
    EXPECT_EQ(Texts{TextOf(&expected)}, service.Told("cb_tuning_parameter_changed"));
}

TEST(ServiceEvents, TellAValueThatNewLimitsMove)
{
    Service service;

    service.Notify("SetTuningLimits", "[3, 0.125, 0.25, 0.375]");

    EXPECT_EQ(Texts{"[3, 0.375]"}, service.Told("cb_tuning_parameter_changed"));
}

TEST(ServiceEvents, TellNothingWhenAValueWasRefused)
{
    Service service;

    service.Request("SetImplementWidth", "[1, 0.0]");
    service.Notify("set_tuning_parameter", "[0, nan, 0]");
    service.Notify("set_nudge", "[1, nan]");

    for (const char* event : {"cb_implement_width_changed", "cb_offsets"}) {
        EXPECT_EQ(Texts{}, service.Told(event)) << event;
    }
}

TEST(ServiceEvents, TellGuidanceAndPositionTenTimesASecond)
{
    for (const char* event : {"cb_guidance_status", "cb_relative_position"}) {
        Service service;
        service.NavigateNorth();

        service.Advance(10.0);

        EXPECT_EQ(100u, service.Told(event).size()) << event;
    }
}

TEST(ServiceEvents, TellTheDrawPointsOnceASecond)
{
    Service service;
    service.NavigateNorth();

    service.Advance(10.0);

    const Texts told = service.Told("cb_draw_points");
    EXPECT_EQ(10u, told.size());
    const auto payload = ListFrom(told.back());
    EXPECT_EQ(1 + 2 * payload->GetInt(0), payload->Size());
    EXPECT_NEAR(20.0 - 50.0, payload->GetDouble(2), 3.0);
    EXPECT_NEAR(20.0 + 150.0, payload->GetDouble(payload->Size() - 1), 3.0);
}

TEST(ServiceEvents, TellTheDrawPointsAtOnceWhenThePassChanges)
{
    Service service(0.0);
    service.NavigateNorth();
    const double width = service.World().ImplementWidth();
    // The line moves by one width to the right, so that the pass at its left lies here.
    BListC offset(nullptr);
    offset.AddInt(1);
    offset.AddDouble(width);
    service.Core().Request("SetFieldOffset", offset);
    service.Advance(1.1);
    service.Told("cb_draw_points");

    service.Request("StartNavigation", "[1, 1]");
    service.Advance(0.1);

    EXPECT_EQ(1u, service.Told("cb_draw_points").size());
    EXPECT_EQ(-1, service.World().Status().pass);
}

TEST(ServiceEvents, TellTheDrawPointsAtOnceWhenTheFollowedPassIsElsewhere)
{
    for (const auto& [operation, arguments] : std::vector<std::pair<const char*, const char*>>{
             {"Nudge", "[1, 1, 0.25]"},
             {"SetFieldOffset", "[1, 0.25]"},
             {"SetImplementOffset", "[1, 0.25]"},
             {"set_wayline", "[1, 0.25, 0.0, 0.0, 0.0]"},
             {"clear_wayline", "[]"}}) {
        Service service(0.0);
        service.NavigateNorth();
        service.Advance(1.1);
        service.Forget();

        service.Request(operation, arguments);

        EXPECT_EQ(service.Subscribe("cb_draw_points"),
                  Texts{"cb_draw_points " + service.Told("cb_draw_points").at(0)})
            << operation;
        service.Request("Nudge", "[1, 1, 0.0]");
        EXPECT_EQ(Texts{}, service.Told("cb_draw_points")) << operation;
    }
}

TEST(ServiceEvents, TellThatSteeringWasDroppedByTheService)
{
    Service service;
    service.NavigateNorth();
    service.Notify("set_low_speed_engage_timeout", "[0.5, 0]");
    service.Request("EngageSteering", "[1]");
    service.Notify("SetVelocitySetPoint", "[0.0]");
    service.Forget();

    ASSERT_TRUE(service.AdvanceUntil("IsSteeringEngaged", "[]", "0", 20.0));

    EXPECT_EQ("[0, 0, 1, 0, 1]", service.Told("cb_engage_status").back());
}

TEST(ServiceEvents, TellThatTheMachineMovesInReverse)
{
    Service service(-1.0);
    service.NavigateNorth();

    service.Advance(0.5);

    EXPECT_EQ(Texts{"cb_engage_status [0, 0, 1, 1, 0]"}, service.Subscribe("cb_engage_status"));
}

TEST(ServiceEvents, AreTheSameForTheSameSeed)
{
    const auto drive = [](std::uint64_t seed) {
        SimulationOptions world;
        world.speed = 2.0;
        world.seed = seed;
        world.ground = EGround::Field;
        Service service(world);
        service.NavigateNorth();
        service.Request("EngageSteering", "[1]");
        service.Advance(20.0);
        return service.Told("cb_guidance_status");
    };

    EXPECT_EQ(drive(7), drive(7));
    EXPECT_NE(drive(7), drive(8));
}

/// A service core whose events are wanted by name, and what has been sent.
struct WantedEvents
{
    WantedEvents()
    {
        ServiceCoreOptions options;
        options.simulation.receiver = EReceiver::Ideal;
        options.simulation.speed = 2.0;
        options.wanted = [this](const std::string& event) { return wanted.count(event) != 0; };
        options.publish = [this](const std::string& event, const BListC& payload) {
            told.push_back(event + " " + TextOf(&payload));
        };
        core = std::make_unique<CServiceCore>(std::move(options));
    }
    void Want(const std::string& event)
    {
        wanted.insert(event);
        core->TellPresentState(event, [this](const std::string& name, const BListC& payload) {
            told.push_back(name + " " + TextOf(&payload));
        });
    }
    void Nudge(const std::string& metres)
    {
        core->Request("Nudge", *ListFrom("[1, 0, " + metres + "]"));
    }

    std::set<std::string> wanted;
    Texts told;
    std::unique_ptr<CServiceCore> core;
};

TEST(ServiceEvents, AreToldOfNothingThatNobodyWants)
{
    WantedEvents service;
    service.core->Advance(2.0);
    service.Nudge("0.5");
    EXPECT_EQ(Texts{}, service.told);
    service.wanted.insert("cb_relative_position");
    service.core->Advance(0.2);
    EXPECT_EQ(2u, service.told.size());
}

TEST(ServiceEvents, CountChangesFromWhatALateSubscriberWasTold)
{
    WantedEvents service;
    service.Nudge("0.5");
    service.core->Advance(1.0);
    service.Want("cb_offsets");
    service.core->Advance(1.0);
    EXPECT_EQ(Texts{"cb_offsets [0.5]"}, service.told);
    service.Nudge("0.75");
    EXPECT_EQ((Texts{"cb_offsets [0.5]", "cb_offsets [0.75]"}), service.told);

    // Wanted by nobody for a while, in which the value goes and comes back.
    service.wanted.clear();
    service.Nudge("0.25");
    service.core->Advance(1.0);
    service.told.clear();
    service.Want("cb_offsets");
    service.Nudge("0.75");
    service.core->Advance(1.0);
    EXPECT_EQ((Texts{"cb_offsets [0.25]", "cb_offsets [0.75]"}), service.told);
}

} // namespace
