#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <poll.h>

#include <gtest/gtest.h>

#include "testing/ScriptedService.h"
#include "tests/integration/EventClient.h"

using Core::Functors::Functor1;
using Core::Functors::MakeFunctor;
using Kestrove::Testing::CAnswer;
using Kestrove::Testing::CScriptedService;
using Kestrove::Testing::EListen;

namespace {

using Lines = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

// Every event, once; the wayline status has two setters and one event.
const char* const kEvents[] = {
    "cb_engage_status",
    "cb_guidance_status",
    "cb_offsets",
    "cb_wayline_status",
    "cb_implement_width_changed",
    "cb_tuning_parameter_changed",
    "cb_relative_position",
    "cb_draw_points",
};

/// Replaces itself by a functor that notes what it gets. It touches nothing of its own afterwards,
/// since it has been deleted by then.
class CSelfReplacingFunctor : public Functor1<void, double>
{
public:
    CSelfReplacingFunctor(CNavigationAPI& navigation, std::vector<double>& offsets, bool& isDeleted)
        : m_navigation(navigation), m_offsets(offsets), m_isDeleted(isDeleted)
    {
    }
    ~CSelfReplacingFunctor() override { m_isDeleted = true; }
    void operator()(double offset) override
    {
        m_offsets.push_back(-offset);
        m_navigation.SetOffsetCallback(
            MakeFunctor([&offsets = m_offsets](double later) { offsets.push_back(later); }));
    }

private:
    CNavigationAPI& m_navigation;
    std::vector<double>& m_offsets;
    bool& m_isDeleted;
};

} // namespace

TEST(Event, ThatArrivesWhileACallWaitsComesLaterAndInOrder)
{
    CScriptedService service;
    service.Answer("EngageSteering", CAnswer(1).Held());
    CEventClient client;
    client.TakeOffsets();
    client.TakeRelativePosition();
    client.SetTimeout(100);
    EXPECT_EQ(-1, client.EngageSteering()); // the subscriptions have arrived before it
    service.Push("cb_offsets", {1.0});
    service.Push("cb_relative_position", {1.0, 2.0, 3.0});
    service.Push("cb_offsets", {2.0});
    service.Answer("StopNavigation", 1);
    client.SetTimeout(10000);
    EXPECT_EQ(1, client.StopNavigation());
    EXPECT_EQ(Lines{}, client.Calls());
    EXPECT_EQ(3, client.CheckCallbacks());
    EXPECT_EQ((Lines{"offset 1", "position 1 2 3", "offset 2"}), client.Calls());
}

TEST(Event, SubscribedToBeforeTheServiceExistsComesOnceItDoes)
{
    CScriptedService service(EListen::Not);
    CEventClient client;
    client.TakeOffsets();
    service.Listen(EListen::Both);
    service.Answer("EngageSteering", 1);
    EXPECT_EQ(1, client.EngageSteering());
    EXPECT_EQ(1U, service.SubscriptionCount("cb_offsets"));
    service.Push("cb_offsets", {2.5});
    ASSERT_TRUE(client.ProcessUntil(1));
    EXPECT_EQ(Lines{"offset 2.5"}, client.Calls());
}

TEST(Event, ComesToAnApplicationThatOnlyListensOnceTheServiceExists)
{
    CScriptedService service(EListen::Not);
    CEventClient client;
    client.TakeOffsets();
    service.Listen(EListen::Both);
    const Clock::time_point end = Clock::now() + std::chrono::seconds(60);
    while (service.SubscriptionCount("cb_offsets") == 0 && Clock::now() < end) {
        client.CheckCallbacks();
    }
    service.Push("cb_offsets", {2.5});
    ASSERT_TRUE(client.ProcessUntil(1));
    EXPECT_EQ(Lines{"offset 2.5"}, client.Calls());
}

TEST(Event, IsSubscribedToOnceANameAndConnection)
{
    CScriptedService service;
    CEventClient client;
    client.TakeAll();
    client.TakeAll();
    service.Answer("EngageSteering", 1);
    ASSERT_EQ(1, client.EngageSteering());
    for (const char* const event : kEvents) {
        EXPECT_EQ(1U, service.SubscriptionCount(event)) << event;
    }
}

TEST(Event, IsSubscribedToAgainAfterARestart)
{
    CScriptedService service;
    CEventClient client;
    client.TakeAll();
    service.Answer("EngageSteering", 1);
    ASSERT_EQ(1, client.EngageSteering());
    service.Stop();
    service.ForgetReceived();
    service.Listen(EListen::Both);
    ASSERT_EQ(1, client.EngageSteering());
    for (const char* const event : kEvents) {
        EXPECT_EQ(1U, service.SubscriptionCount(event)) << event;
    }
    service.Push("cb_offsets", {2.5});
    ASSERT_TRUE(client.ProcessUntil(1));
    EXPECT_EQ(Lines{"offset 2.5"}, client.Calls());
}

TEST(Event, ComesToAnApplicationThatOnlyListensAfterARestart)
{
    CScriptedService service;
    CEventClient client;
    client.TakeOffsets();
    ASSERT_TRUE(service.WaitForSubscriptions("cb_offsets", 1));
    service.Stop();
    service.Listen(EListen::Both);
    const Clock::time_point end = Clock::now() + std::chrono::seconds(60);
    client.SetTimeout(10);
    while (service.SubscriptionCount("cb_offsets") < 2 && Clock::now() < end) {
        client.ProcessMessages(true);
    }
    service.Push("cb_offsets", {2.5});
    ASSERT_TRUE(client.ProcessUntil(1));
    EXPECT_EQ(Lines{"offset 2.5"}, client.Calls());
}

TEST(Event, MayReplaceItsFunctorFromInsideTheCall)
{
    CScriptedService service;
    std::vector<double> offsets;
    bool isDeleted = false;
    CNavigationAPI navigation;
    navigation.SetOffsetCallback(new CSelfReplacingFunctor(navigation, offsets, isDeleted));
    ASSERT_TRUE(service.WaitForSubscriptions("cb_offsets", 1));
    service.Push("cb_offsets", {1.0});
    service.Push("cb_offsets", {2.0});
    const Clock::time_point end = Clock::now() + std::chrono::seconds(60);
    while (offsets.size() < 2 && Clock::now() < end) {
        navigation.ProcessMessages(true);
    }
    EXPECT_EQ((std::vector<double>{-1.0, 2.0}), offsets);
    EXPECT_TRUE(isDeleted);
    navigation.SetOffsetCallback(nullptr);
}

TEST(Event, OfTheWaylineCallsBothOverloadsOnceAnEvent)
{
    CScriptedService service;
    CEventClient client;
    client.TakeWaylineStatusOfFour();
    client.TakeWaylineStatusOfFive();
    ASSERT_TRUE(service.WaitForSubscriptions("cb_wayline_status", 1));
    service.Push("cb_wayline_status", {1, 0, 1, 0, 2.5});
    service.Push("cb_wayline_status", {0, 0, 0, -1, 0.0});
    ASSERT_TRUE(client.ProcessUntil(4));
    client.CheckCallbacks();
    EXPECT_EQ((Lines{"wayline4 1 0 1 0", "wayline5 1 0 1 0 2.5", "wayline4 0 0 0 -1",
                     "wayline5 0 0 0 -1 0"}),
              client.Calls());
}

TEST(Event, WithoutAFunctorAnyMoreCallsNothing)
{
    CScriptedService service;
    CEventClient client;
    client.TakeOffsets();
    client.TakeRelativePosition();
    ASSERT_TRUE(service.WaitForSubscriptions("cb_relative_position", 1));
    client.SetOffsetCallback(nullptr);
    service.Push("cb_offsets", {1.0});
    service.Push("cb_relative_position", {1.0, 2.0, 3.0});
    ASSERT_TRUE(client.ProcessUntil(1));
    EXPECT_EQ(Lines{"position 1 2 3"}, client.Calls());
}

TEST(Event, MakesTheDescriptorReadableForAnEventLoopOfTheApplication)
{
    CScriptedService service;
    CEventClient client;
    client.TakeOffsets();
    ASSERT_TRUE(service.WaitForSubscriptions("cb_offsets", 1));
    service.Push("cb_offsets", {2.5});
    pollfd watched = {client.Descriptor(), POLLIN, 0};
    ASSERT_EQ(1, ::poll(&watched, 1, 10000));
    EXPECT_EQ(1, client.CheckCallbacks());
    EXPECT_EQ(Lines{"offset 2.5"}, client.Calls());
}
