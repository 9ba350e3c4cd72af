#include "platform/MPISocketConnection.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/runtime/ConnectionCalls.h"
#include "tests/runtime/EventCalls.h"
#include "tests/runtime/RunningService.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"

TEST(Subscriptions, AreSentOnceANameAndConnection)
{
    CRunningService service;
    CNotingClient client;
    client.Note("before");
    client.Note("before");
    for (const char* const which : {"first connection", "second connection"}) {
        ASSERT_TRUE(client.Connect(kHost, service.Port(), -1)) << which;
        client.Note("after");
        client.Note("after");
        CallOnce(client);
    }
    const std::vector<std::string> expected = {"connected 1",
                                               "subscribed before",
                                               "subscribed after",
                                               "request a of 0",
                                               "disconnected 1 closed by the client",
                                               "connected 2",
                                               "subscribed before",
                                               "subscribed after",
                                               "request a of 0"};
    std::vector<std::string> notes = service.Notes();
    std::sort(notes.begin(), notes.end()); // the end of the first may be noticed later
    std::vector<std::string> sorted = expected;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(sorted, notes);
}

TEST(Subscriptions, TravelAsANotificationWithTheNameInAList)
{
    std::string bytes;
    CRawPeer peer(
        [&](CRawLink& link) {
            bytes = link.Read().bytes;
            AheadOfTheReply("")(link);
        },
        0);
    CNotingClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.Note("ev");
    CallOnce(client);
    EXPECT_EQ("93 02 a9 73 75 62 73 63 72 69 62 65 91 a2 65 76", Bytes::ToHex(bytes));
}

TEST(Subscriptions, AreRenewedByAClientThatOnlyListens)
{
    CRunningService service;
    CNotingClient client(true);
    client.Note("ev");
    ASSERT_TRUE(client.Connect(kHost, service.Port(), -1));
    ASSERT_TRUE(service.WaitForNotes("subscribed ev"));
    service.OnLoop([](MPISocketServerC& server) { server.DisconnectAll(); });
    const CStopwatch stopwatch;
    while (!client.IsLinkUp() || service.ClientCount() == 0) {
        client.CheckCallbacks();
        ASSERT_LT(stopwatch.Milliseconds(), 5000);
    }
    EXPECT_TRUE(service.WaitForNotes("subscribed ev", 2));
    BListC payload(nullptr);
    payload.AddInt(7);
    service.OnLoop([&](MPISocketServerC& server) { server.Push("ev", payload); });
    EXPECT_TRUE(client.ProcessMessages(true));
    EXPECT_EQ(std::vector<int>{7}, client.m_events);
}

TEST(Subscriptions, AreNotRenewedByAClientThatDoesNotReconnect)
{
    CRawPeer peer([](CRawLink&) {}, 0);
    CNotingClient client(false);
    client.Note("ev");
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.SetTimeout(700);
    client.ProcessMessages(true);
    client.CheckCallbacks();
    EXPECT_FALSE(client.IsLinkUp());
    EXPECT_EQ(1, peer.WaitForConnections(1));
}

TEST(Subscriptions, DoNotReopenALostLinkMoreThanOnceInHalfASecond)
{
    CRawPeer peer([](CRawLink&) {}, 0);
    CNotingClient client(true);
    client.Note("ev");
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    const CStopwatch stopwatch;
    while (stopwatch.MillisecondsPassed() < 1200) {
        client.CheckCallbacks();
        client.ProcessMessages(false);
    }
    const int halfSeconds = stopwatch.MillisecondsPassed() / 500;
    EXPECT_GE(peer.WaitForConnections(3), 3);
    EXPECT_LE(peer.ConnectionCount(), 1 + 1 + halfSeconds);
}
