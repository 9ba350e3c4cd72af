#include "platform/MPISocketConnection.h"

#include <future>
#include <memory>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "platform/MPISocketClient.h"
#include "tests/runtime/ConnectionCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"
#include "tests/support/SwallowingPort.h"

namespace {

/// More than two sockets buffer, so that a peer which does not read holds the message up.
const std::size_t kMoreThanSocketsBuffer = std::size_t{24} * 1024 * 1024;

bool SendLarge(MPISocketConnectionC& connection)
{
    BListC arguments(nullptr);
    arguments.AddString(std::string(kMoreThanSocketsBuffer, 'x'));
    return connection.SendNotification("large", &arguments);
}

/// Opens the connection again from the hook that reports its end, once.
class CReopeningClient : public MPISocketClientC
{
public:
    CReopeningClient() : MPISocketClientC(false) {}
    void Disconnected() override
    {
        if (m_reopens) {
            m_reopens = false;
            Reconnect();
        }
    }
    bool m_reopens = true;
};

/// Sends a request of its own when the service asks.
class CAskingBackClient : public MPISocketClientC
{
public:
    CAskingBackClient() : MPISocketClientC(false) {}
    void MessageReceived(BDictionaryC*) override { m_inner = Call(*this, "inner"); }
    int m_inner = 0;
};

/// Throws from a hook, once.
class CThrowingClient : public MPISocketClientC
{
public:
    CThrowingClient() : MPISocketClientC(false) {}
    void DataReceived() override
    {
        if (m_throws) {
            m_throws = false;
            throw std::runtime_error("hook");
        }
    }
    bool m_throws = true;
};

} // namespace

TEST(ConnectionRobustness, DeliversEventsWithoutWaitingForAPortThatSwallowsConnections)
{
    const CSwallowingPort port;
    MPISocketClientC client(true);
    client.Connect(kHost, port.Port(), 1);
    const CStopwatch stopwatch;
    for (int round = 0; round < 5; ++round) {
        EXPECT_EQ(0, client.CheckCallbacks());
    }
    // One short attempt, and none within its pace.
    EXPECT_GT(400, stopwatch.Milliseconds());
}

TEST(ConnectionRobustness, AnswersWhatTheServiceAsksWhileAMessageIsHalfWritten)
{
    std::promise<std::string> answer;
    CRawPeer peer(
        [&](CRawLink& link) {
            link.Send(Bytes::Request(5, "ask", "\x90"));
            link.Read();
            answer.set_value(link.Read().text);
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.SetTimeout(20000);
    EXPECT_TRUE(SendLarge(client));
    EXPECT_EQ(0, client.CheckCallbacks());
    EXPECT_EQ("[1,5,\"", answer.get_future().get().substr(0, 6));
}

TEST(ConnectionRobustness, AnswersNothingOnAnotherConnectionThanItWasAskedOn)
{
    std::promise<std::string> first;
    std::promise<void> reopened;
    CRawPeer peer(
        [&](CRawLink& link) {
            if (link.Number() == 1) {
                link.Send(Bytes::Request(5, "ask", "\x90"));
                reopened.get_future().wait(); // reads nothing until then
                return;
            }
            first.set_value(link.Read().name);
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.SetTimeout(200);
    EXPECT_FALSE(SendLarge(client)) << "the service reads nothing";
    const bool isReopened = client.Reconnect();
    reopened.set_value();
    ASSERT_TRUE(isReopened);
    client.CheckCallbacks();
    EXPECT_TRUE(client.SendNotification("fresh", nullptr));
    EXPECT_EQ("fresh", first.get_future().get());
}

TEST(ConnectionRobustness, KeepsAConnectionThatAHookHasOpened)
{
    CRawPeer peer(
        [](CRawLink& link) {
            if (link.Number() > 1) {
                link.Reply(link.Read(), "\x07");
                link.WaitForEnd();
            }
        },
        0);
    CReopeningClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    while (client.m_reopens && SendLarge(client)) {
    }
    EXPECT_EQ(2, peer.WaitForConnections(2));
    EXPECT_EQ(7, Call(client, "a"));
}

TEST(ConnectionRobustness, TakesNoReplyFromBeforeItsRequest)
{
    CRawPeer peer(
        [](CRawLink& link) {
            link.Send(Bytes::Response(1, "\x08"));
            link.Reply(link.Read(), "\x07");
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_EQ(7, Call(client, "a"));
}

TEST(ConnectionRobustness, LeavesTheOuterRequestItsReplyWhenAHookSendsOne)
{
    CRawPeer peer(
        [](CRawLink& link) {
            const CRawMessage outer = link.Read();
            link.Send(Bytes::Request(5, "ask", "\x90"));
            const CRawMessage inner = link.Read();
            link.Reply(outer, "\x07");
            link.Reply(inner, "\x08");
            link.WaitForEnd();
        },
        0);
    CAskingBackClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_EQ(7, Call(client, "outer"));
    EXPECT_EQ(8, client.m_inner);
}

TEST(ConnectionRobustness, WorksOnWhenAHookThrows)
{
    CRawPeer peer(
        [](CRawLink& link) {
            while (true) {
                link.Reply(link.Read(), "\x07");
            }
        },
        0);
    CThrowingClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_THROW(Call(client, "a"), std::runtime_error);
    EXPECT_EQ(7, Call(client, "a"));
}
