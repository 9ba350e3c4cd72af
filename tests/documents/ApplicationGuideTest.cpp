// The classes of docs/application-guide.md, taken from it while building, at work against the
// scripted service; and its own tests, which come along.

#include <atomic>
#include <chrono>

#include <gtest/gtest.h>

#include "guide/AsioNavigation.h"
#include "guide/EngageTest.h"
#include "guide/NavigationThread.h"
#include "guide/WatchedNavigation.h"

namespace {

using Core::Functors::MakeFunctor;
using Kestrove::Testing::EListen;

constexpr auto kPatience = std::chrono::seconds(60);

/// Whether a descriptor becomes readable.
bool IsReadable(int descriptor)
{
    pollfd waited = {descriptor, POLLIN, 0};
    return poll(&waited, 1, 10000) == 1;
}

class AsioGuide : public testing::Test
{
protected:
    AsioGuide() { service.Answer("EngageSteering", 1); }
    ~AsioGuide() override { navigation.SetOffsetCallback(nullptr); }

    void Subscribe()
    {
        navigation.SetOffsetCallback(MakeFunctor([this](double) { ++events; }));
    }
    /// Runs the loop until something is so; false when it does not come about.
    template <typename Condition>
    bool RunUntil(Condition condition)
    {
        const auto deadline = std::chrono::steady_clock::now() + kPatience;
        while (!condition() && std::chrono::steady_clock::now() < deadline) {
            loop.run_one_for(std::chrono::milliseconds(50));
        }
        return condition();
    }
    bool IsSubscribed(std::size_t count)
    {
        return RunUntil([&] { return service.SubscriptionCount("cb_offsets") == count; });
    }
    bool GetsEvent()
    {
        const int before = events;
        service.Push("cb_offsets", {0.5});
        return RunUntil([&] { return events == before + 1; });
    }

    CScriptedService service;
    asio::io_context loop;
    AsioNavigation navigation{loop};
    int events = 0;
};

TEST_F(AsioGuide, DeliversEvents)
{
    Subscribe();
    ASSERT_TRUE(IsSubscribed(1));
    EXPECT_TRUE(GetsEvent());
    EXPECT_TRUE(GetsEvent());
}

TEST_F(AsioGuide, FindsTheServiceAgainAfterARestart)
{
    Subscribe();
    ASSERT_TRUE(IsSubscribed(1));
    service.Stop();
    ASSERT_TRUE(RunUntil([this] { return navigation.Descriptor() < 0; }));
    service.Listen(EListen::Both);
    ASSERT_TRUE(IsSubscribed(2));
    EXPECT_TRUE(GetsEvent());
}

TEST_F(AsioGuide, WatchesTheLinkThatAnOperationHasOpened)
{
    Subscribe();
    ASSERT_TRUE(IsSubscribed(1));
    service.DropLink();
    EXPECT_EQ(1, navigation.EngageSteering());
    navigation.Deliver();
    ASSERT_TRUE(IsSubscribed(2));
    EXPECT_TRUE(GetsEvent());
}

TEST_F(AsioGuide, LeavesNoConnectionOpen)
{
    navigation.Close();
    EXPECT_TRUE(service.WaitForClients(0));
}

TEST(WatchedGuide, TellsWhichDescriptorToWatch)
{
    CScriptedService service;
    int watched = -2;
    {
        WatchedNavigation navigation([&watched](int descriptor) { watched = descriptor; });
        int events = 0;
        navigation.SetOffsetCallback(MakeFunctor([&events](double) { ++events; }));
        ASSERT_TRUE(service.WaitForSubscriptions("cb_offsets", 1));
        service.Push("cb_offsets", {0.5});
        ASSERT_TRUE(IsReadable(watched));
        navigation.Deliver();
        EXPECT_EQ(1, events);

        service.Stop();
        ASSERT_TRUE(IsReadable(watched));
        navigation.Deliver();
        EXPECT_EQ(-1, watched);

        service.Answer("EngageSteering", 1);
        service.Listen(EListen::Both);
        EXPECT_EQ(1, navigation.EngageSteering());
        EXPECT_EQ(navigation.Descriptor(), watched);
        navigation.SetOffsetCallback(nullptr);
    }
    EXPECT_EQ(-1, watched);
}

TEST(ThreadGuide, AnswersWhileEventsAreDelivered)
{
    CScriptedService service;
    service.Answer("EngageSteering", 1);
    std::atomic<int> events{0};
    std::promise<void> lastEvent;
    NavigationThread thread;
    thread.Post([&](CNavigationAPI& navigation) {
        navigation.SetOffsetCallback(MakeFunctor([&](double) {
            if (++events == 100) {
                lastEvent.set_value();
            }
        }));
    });
    ASSERT_TRUE(service.WaitForSubscriptions("cb_offsets", 1));
    for (int i = 0; i < 100; ++i) {
        service.Push("cb_offsets", {0.5});
        const auto engage = [](CNavigationAPI& navigation) { return navigation.EngageSteering(); };
        EXPECT_EQ(1, thread.Ask(engage).get());
    }
    EXPECT_EQ(std::future_status::ready, lastEvent.get_future().wait_for(kPatience));
    thread.Post([](CNavigationAPI& navigation) { navigation.SetOffsetCallback(nullptr); });
}

TEST(ThreadGuide, EndsWithItsConnection)
{
    CScriptedService service;
    {
        const NavigationThread thread;
        EXPECT_TRUE(service.WaitForClients(1));
    }
    EXPECT_TRUE(service.WaitForClients(0));
}

} // namespace
