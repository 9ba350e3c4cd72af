#include "platform/MPISocketConnection.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/runtime/ConnectionCalls.h"
#include "tests/runtime/EventCalls.h"
#include "tests/runtime/RunningService.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"

using Bytes::FromHex;
using Bytes::Notification;

namespace {

std::string NumberedEvents(int first, int last)
{
    std::string bytes;
    for (int number = first; number <= last; ++number) {
        bytes += Notification("ev", FromHex("91 ce") +
                                        Bytes::BigEndian(static_cast<std::uint64_t>(number), 4));
    }
    return bytes;
}

std::vector<int> Numbers(int first, int last)
{
    std::vector<int> numbers;
    for (int number = first; number <= last; ++number) {
        numbers.push_back(number);
    }
    return numbers;
}

} // namespace

TEST(Events, ThatArriveWhileACallWaitsComeLaterAndInOrder)
{
    CRawPeer peer(AheadOfTheReply(NumberedEvents(1, 100)), 0);
    CNotingClient client;
    client.Note("ev");
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    CallOnce(client);
    EXPECT_TRUE(client.m_events.empty());
    EXPECT_EQ(100, client.CheckCallbacks());
    EXPECT_EQ(Numbers(1, 100), client.m_events);
    EXPECT_EQ(0, client.CheckCallbacks());
}

TEST(Events, AreDeliveredByProcessMessagesToo)
{
    CRawPeer peer(AheadOfTheReply(NumberedEvents(1, 3)), 0);
    CNotingClient client;
    client.Note("ev");
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    CallOnce(client);
    EXPECT_TRUE(client.ProcessMessages(false));
    EXPECT_EQ(Numbers(1, 3), client.m_events);
    EXPECT_FALSE(client.ProcessMessages(false));
}

TEST(Events, AreWaitedForUpToTheTimeout)
{
    CRawPeer peer([](CRawLink& link) { link.WaitForEnd(); }, 0);
    CNotingClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.SetTimeout(60);
    const CStopwatch stopwatch;
    EXPECT_FALSE(client.ProcessMessages(true));
    EXPECT_GE(stopwatch.MillisecondsPassed(), 59);
    EXPECT_LT(stopwatch.Milliseconds(), 800);
}

TEST(Events, EndTheWaitForThem)
{
    CRawPeer peer(
        [](CRawLink& link) {
            link.Read(); // the subscription
            link.Pause(20);
            link.Send(NumberedEvents(5, 5));
            link.WaitForEnd();
        },
        0);
    CNotingClient client;
    client.Note("ev");
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.SetTimeout(10000);
    const CStopwatch stopwatch;
    EXPECT_TRUE(client.ProcessMessages(true));
    EXPECT_LT(stopwatch.Milliseconds(), 5000);
    EXPECT_EQ(std::vector<int>{5}, client.m_events);
}

TEST(Events, AreNotWaitedForWhenNotAskedTo)
{
    CRawPeer peer([](CRawLink& link) { link.WaitForEnd(); }, 0);
    CNotingClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.SetTimeout(5000);
    const CStopwatch stopwatch;
    EXPECT_FALSE(client.ProcessMessages(false));
    EXPECT_EQ(0, client.CheckCallbacks());
    EXPECT_FALSE(client.ReceiveMessage(false));
    EXPECT_LT(stopwatch.Milliseconds(), 1000);
}

TEST(Events, GoToTheLaterRegistrationAloneAndTheEarlierIsDestroyed)
{
    CRawPeer peer(AheadOfTheReply(NumberedEvents(1, 2)), 0);
    CNotingClient client;
    bool isFirstDestroyed = false;
    int firstCalls = 0;
    client.RequestCallback("ev",
                           new CCallback([&](const BListC&) { ++firstCalls; }, &isFirstDestroyed));
    EXPECT_FALSE(isFirstDestroyed);
    client.Note("ev");
    EXPECT_TRUE(isFirstDestroyed);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    CallOnce(client);
    EXPECT_EQ(2, client.CheckCallbacks());
    EXPECT_EQ(Numbers(1, 2), client.m_events);
    EXPECT_EQ(0, firstCalls);
}

TEST(Events, OfTheirOwnNameAloneReachACallback)
{
    CRawPeer peer(AheadOfTheReply(Notification("other", "\x91\x09") + NumberedEvents(1, 1)), 0);
    CNotingClient client;
    client.Note("ev");
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    CallOnce(client);
    client.CheckCallbacks();
    EXPECT_EQ(Numbers(1, 1), client.m_events);
}

TEST(Events, MayReplaceTheirOwnCallbackWhichLivesUntilItReturns)
{
    CRawPeer peer(AheadOfTheReply(NumberedEvents(1, 2)), 0);
    CNotingClient client;
    bool isDestroyed = false;
    bool wasAliveInside = false;
    client.RequestCallback("ev", new CCallback(
                                     [&](const BListC&) {
                                         client.Note("ev");
                                         wasAliveInside = !isDestroyed;
                                     },
                                     &isDestroyed));
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    CallOnce(client);
    EXPECT_EQ(2, client.CheckCallbacks());
    EXPECT_TRUE(wasAliveInside);
    EXPECT_TRUE(isDestroyed);
    EXPECT_EQ(Numbers(2, 2), client.m_events);
}

TEST(Events, LeaveANullRegistrationWithoutEffect)
{
    CRawPeer peer(AheadOfTheReply(NumberedEvents(1, 1)), 0);
    CNotingClient client;
    client.Note("ev");
    client.RequestCallback("ev", nullptr);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    CallOnce(client);
    client.CheckCallbacks();
    EXPECT_EQ(Numbers(1, 1), client.m_events);
}

TEST(Events, LoseTheirCallbacksWithTheConnection)
{
    bool isDestroyed = false;
    {
        CNotingClient client;
        client.RequestCallback("ev", new CCallback([](const BListC&) {}, &isDestroyed));
    }
    EXPECT_TRUE(isDestroyed);
}

TEST(Events, BehindAnExceptionOfACallbackStayQueued)
{
    CRawPeer peer(AheadOfTheReply(NumberedEvents(1, 3)), 0);
    CNotingClient client;
    client.RequestCallback("ev", new CCallback([&](const BListC& payload) {
                               if (payload.GetInt(0) == 2) {
                                   throw std::length_error("two");
                               }
                               client.m_events.push_back(payload.GetInt(0));
                           }));
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    CallOnce(client);
    EXPECT_THROW(client.CheckCallbacks(), std::length_error);
    EXPECT_EQ(Numbers(1, 1), client.m_events);
    EXPECT_EQ(1, client.CheckCallbacks());
    EXPECT_EQ((std::vector<int>{1, 3}), client.m_events);
}

TEST(Events, AllowACallFromInsideACallback)
{
    CRunningService service;
    CNotingClient client;
    int answer = 0;
    client.RequestCallback("ev", new CCallback([&](const BListC&) {
                               const std::unique_ptr<BElementC> reply(
                                   client.CallMethod("a", nullptr));
                               answer = dynamic_cast<BAtomC&>(*reply).IntValue();
                           }));
    ASSERT_TRUE(client.Connect(kHost, service.Port(), -1));
    CallOnce(client);
    BListC payload(nullptr);
    service.OnLoop([&](MPISocketServerC& server) { server.Push("ev", payload); });
    EXPECT_TRUE(client.ProcessMessages(true));
    EXPECT_EQ(1, answer);
}

TEST(Events, DropTheOldestBeyond4096AndCountThem)
{
    CRawPeer peer(AheadOfTheReply(NumberedEvents(1, 5000)), 0);
    CNotingClient client;
    client.Note("ev");
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_EQ(0U, client.DroppedEvents());
    CallOnce(client);
    EXPECT_EQ(904U, client.DroppedEvents());
    EXPECT_EQ(4096, client.CheckCallbacks());
    EXPECT_EQ(Numbers(905, 5000), client.m_events);
}

TEST(Events, DropTheOldestBeyond16Mebibytes)
{
    std::string bytes;
    for (int number = 1; number <= 20; ++number) {
        bytes += Notification("ev", '\x92' + std::string(1, static_cast<char>(number)) +
                                        FromHex("db 00 10 00 00") + std::string(1 << 20, 'x'));
    }
    CRawPeer peer(AheadOfTheReply(bytes), 0);
    CNotingClient client;
    client.Note("ev");
    client.SetTimeout(20000);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    CallOnce(client);
    EXPECT_GE(client.DroppedEvents(), 4U);
    EXPECT_LE(client.DroppedEvents(), 6U);
    client.CheckCallbacks();
    EXPECT_EQ(Numbers(static_cast<int>(client.DroppedEvents()) + 1, 20), client.m_events);
}

TEST(Events, AreDroppedByDestroyAndTheirRegistrationsStay)
{
    const auto script = AheadOfTheReply(NumberedEvents(1, 3));
    CRawPeer peer(script, 0);
    CNotingClient client;
    client.Note("ev");
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    CallOnce(client);
    client.Destroy();
    EXPECT_EQ(-1, client.Descriptor());
    EXPECT_EQ(0, client.CheckCallbacks());
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    CallOnce(client);
    EXPECT_EQ(3, client.CheckCallbacks());
}

TEST(Events, SurviveTheEndOfTheConnectionThatBroughtThem)
{
    CRawPeer peer(
        [](CRawLink& link) {
            link.Read(); // the subscription
            const CRawMessage request = link.Read();
            link.Send(NumberedEvents(1, 3) + Bytes::Response(request.number, "\x07"));
        },
        0);
    CNotingClient client;
    client.Note("ev");
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    CallOnce(client);
    while (client.IsLinkUp()) {
        client.ReceiveMessage(true);
    }
    EXPECT_EQ(3, client.CheckCallbacks());
    EXPECT_EQ(Numbers(1, 3), client.m_events);
}
