#include "platform/MPISocketConnection.h"

#include <future>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "platform/MPISocketClient.h"
#include "tests/runtime/ConnectionCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"

using Bytes::FromHex;

TEST(Connection, AppliesATimeoutAtTheNextCall)
{
    CRawPeer peer([](CRawLink& link) { link.WaitForEnd(); }, 0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    for (const int timeout : {30, 120, 1}) {
        client.SetTimeout(timeout);
        const CStopwatch stopwatch;
        EXPECT_EQ(-1, Call(client, "a"));
        EXPECT_GE(stopwatch.MillisecondsPassed(), timeout - 1);
        EXPECT_LT(stopwatch.Milliseconds(), timeout + 700);
        EXPECT_TRUE(client.IsLinkUp()) << timeout;
    }
}

TEST(Connection, WaitsTwoSecondsUnlessToldOtherwise)
{
    CRawPeer peer([](CRawLink& link) { link.WaitForEnd(); }, 0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    const CStopwatch stopwatch;
    EXPECT_EQ(-1, Call(client, "a"));
    EXPECT_GE(stopwatch.MillisecondsPassed(), 1990);
    EXPECT_LT(stopwatch.Milliseconds(), 2800);
}

TEST(Connection, WaitsWithoutLimitWhenTheTimeoutIsNegative)
{
    for (const int timeoutMilliseconds : {-1, -2, std::numeric_limits<int>::min()}) {
        CRawPeer peer(
            [](CRawLink& link) {
                const CRawMessage first = link.Read();
                link.Pause(150);
                link.Reply(first, "\x07");
                link.WaitForEnd();
            },
            0);
        MPISocketClientC client(false);
        ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
        client.SetTimeout(20);
        client.SetTimeout(timeoutMilliseconds);
        EXPECT_EQ(7, Call(client, "a")) << timeoutMilliseconds;
    }
}

TEST(Connection, KeepsOneDeadlineThatEventsDoNotExtend)
{
    CRawPeer peer(
        [](CRawLink& link) {
            link.Read();
            while (true) {
                link.Send(Bytes::Notification("ev", "\x91\x01"));
                link.Pause(5);
            }
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.SetTimeout(100);
    const CStopwatch stopwatch;
    EXPECT_EQ(-1, Call(client, "a"));
    EXPECT_LT(stopwatch.Milliseconds(), 800);
    EXPECT_EQ(ELinkError::TimedOut, client.LastError().code);
}

TEST(Connection, ClosesWhenATimeoutFallsInTheMiddleOfAMessage)
{
    CRawPeer peer(
        [](CRawLink& link) {
            const CRawMessage request = link.Read();
            link.Send(Bytes::Response(request.number, FromHex("93 01")));
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.SetTimeout(30);
    EXPECT_EQ(-1, Call(client, "a"));
    EXPECT_EQ(ELinkError::TimedOut, client.LastError().code);
    EXPECT_EQ(-1, client.Descriptor());
}

TEST(Connection, ForgetsTheHalfMessageOfAnEarlierConnection)
{
    CRawPeer peer(
        [](CRawLink& link) {
            const CRawMessage request = link.Read();
            if (link.Number() == 1) {
                link.Send(Bytes::Response(request.number, FromHex("93 01")));
            } else {
                link.WaitForEnd();
            }
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_EQ(-1, Call(client, "a"));
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.SetTimeout(0);
    EXPECT_EQ(-1, Call(client, "a"));
    EXPECT_TRUE(client.IsLinkUp());
}

TEST(Connection, ClosesWhenAMessageCannotBeSentInTime)
{
    std::promise<void> over;
    CRawPeer peer([&](CRawLink&) { over.get_future().wait(); }, 0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    BListC arguments(nullptr);
    arguments.AddString(std::string(std::size_t{24} * 1024 * 1024, 'x'));
    client.SetTimeout(50);
    const CStopwatch stopwatch;
    EXPECT_FALSE(client.SendNotification("a", &arguments));
    EXPECT_LT(stopwatch.Milliseconds(), 1500);
    EXPECT_EQ(ELinkError::TimedOut, client.LastError().code);
    EXPECT_EQ(-1, client.Descriptor());
    over.set_value();
}
