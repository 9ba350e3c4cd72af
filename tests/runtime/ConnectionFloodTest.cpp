// A service that sends more than a slow machine can read.

#include "platform/MPISocketConnection.h"

#include <chrono>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <poll.h>

#include "platform/MPISocketClient.h"
#include "tests/runtime/ConnectionCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"
#include "tests/support/Stopwatch.h"

namespace {

/// Takes a tenth of a second over all that one read gives.
class CSlowClient : public MPISocketClientC
{
public:
    explicit CSlowClient(bool reconnects) : MPISocketClientC(reconnects) {}
    void DataReceived() override
    {
        ++m_reads;
        std::this_thread::sleep_for(std::chrono::milliseconds(100)); // a slow reader
    }
    void Disconnected() override { ++m_ends; }
    int m_reads = 0;
    int m_ends = 0;
};

/// The same, and opens the connection again from the hook that reports its end.
class CSlowReopeningClient : public CSlowClient
{
public:
    CSlowReopeningClient() : CSlowClient(false) {}
    void Disconnected() override { Reconnect(); }
};

/// The same, and lets no read be the last for want of something to read: only time ends its looks.
class CNeverIdleClient : public CSlowClient
{
public:
    CNeverIdleClient() : CSlowClient(false) {}
    void DataReceived() override
    {
        CSlowClient::DataReceived();
        pollfd watched = {Descriptor(), POLLIN, 0};
        EXPECT_EQ(1, ::poll(&watched, 1, 20000));
    }
};

/// A look that runs out of its time ends after four reads at most; one that does not, after
/// hundreds.
constexpr int kMostReadsInTime = 10;
constexpr int kLongestLookMilliseconds = 250;

const std::string kUnknownEvent = Bytes::Notification("ev", "\x90");

void Flood(CRawLink& link)
{
    std::string events;
    while (events.size() < 65536) {
        events += kUnknownEvent;
    }
    while (true) {
        link.Send(events);
    }
}

/// Floods the first connection and serves the next.
void FloodThenServe(CRawLink& link)
{
    if (link.Number() == 1) {
        Flood(link);
    }
    AnswerSeven(link);
}

/// An event every few milliseconds: something to read whenever a slow client looks.
void Trickle(CRawLink& link)
{
    while (true) {
        link.Send(kUnknownEvent);
        link.Pause(5);
    }
}

} // namespace

TEST(ConnectionFlood, IsTheEndOfAConnectionThatCannotBeReadInTime)
{
    CRawPeer peer(Flood, 0);
    CSlowClient client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    ASSERT_TRUE(client.ReceiveMessage(true));

    client.m_reads = 0;
    EXPECT_FALSE(client.IsLinkUp());
    EXPECT_GE(kMostReadsInTime, client.m_reads);
    EXPECT_EQ(ELinkError::TimedOut, client.LastError().code);
    EXPECT_EQ("the service sends more than can be read in time", client.LastError().text);
}

TEST(ConnectionFlood, IsLeftForANewConnectionByAClientThatReconnects)
{
    CRawPeer peer(FloodThenServe, 0);
    CSlowClient client(true);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    ASSERT_TRUE(client.ReceiveMessage(true));

    EXPECT_TRUE(client.VerifyConnection());
    EXPECT_EQ(7, Call(client, "a"));
    EXPECT_EQ(2, peer.ConnectionCount());
}

TEST(ConnectionFlood, EndsNoConnectionWhenEventsAreDelivered)
{
    CRawPeer peer(Flood, 0);
    CSlowClient client(true);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    ASSERT_TRUE(client.ReceiveMessage(true));

    client.m_reads = 0;
    EXPECT_FALSE(client.ProcessMessages(false)) << "nobody has asked for the events";
    EXPECT_GE(kMostReadsInTime, client.m_reads);
    EXPECT_NE(-1, client.Descriptor());
    EXPECT_EQ(0, client.m_ends);
}

TEST(ConnectionFlood, IsNotWhatComesLittleByLittle)
{
    CRawPeer peer(Trickle, 0);
    CNeverIdleClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    ASSERT_TRUE(client.ReceiveMessage(true));

    client.m_reads = 0;
    const CStopwatch stopwatch;
    EXPECT_TRUE(client.IsLinkUp());
    EXPECT_LE(kLongestLookMilliseconds, stopwatch.MillisecondsPassed())
        << "the look must run out of its time";
    EXPECT_GE(kMostReadsInTime, client.m_reads);
}

TEST(ConnectionFlood, KeepsAConnectionThatAHookHasOpened)
{
    CRawPeer peer(FloodThenServe, 0);
    CSlowReopeningClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    ASSERT_TRUE(client.ReceiveMessage(true));

    EXPECT_TRUE(client.IsLinkUp());
    EXPECT_EQ(7, Call(client, "a"));
    EXPECT_EQ(2, peer.ConnectionCount());
}
