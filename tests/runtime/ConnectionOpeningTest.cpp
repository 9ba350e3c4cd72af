#include "platform/MPISocketConnection.h"

#include <chrono>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include "platform/MPISocketClient.h"
#include "tests/runtime/ConnectionCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawClient.h"
#include "tests/support/RawPeer.h"
#include "tests/support/SocketPair.h"

TEST(Connection, GivesUpOnAPortThatSwallowsConnections)
{
    const CSwallowingPort port;
    MPISocketClientC client(false);
    const Clock::time_point start = Clock::now();
    EXPECT_FALSE(client.Connect(kHost, port.Port(), 100));
    EXPECT_LT(MillisecondsSince(start), 800);
    EXPECT_EQ(ELinkError::TimedOut, client.LastError().code);
}

TEST(Connection, GivesUpAfterOneSecondWhenNoLimitIsNamed)
{
    const CSwallowingPort port;
    MPISocketClientC client(false);
    const Clock::time_point start = Clock::now();
    EXPECT_FALSE(client.Connect(kHost, port.Port(), -1));
    EXPECT_GE(MillisecondsSince(start), 950);
    EXPECT_LT(MillisecondsSince(start), 1800);
}

TEST(Connection, ReplacesAnOpenConnection)
{
    CRawPeer peer(AnswerSeven, 0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    ASSERT_EQ(7, Call(client, "a"));
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_EQ(7, Call(client, "a"));
    EXPECT_EQ(2, peer.WaitForConnections(2));
}

TEST(Connection, IsDownAfterAnAttemptThatFailed)
{
    CRawPeer peer(AnswerSeven, 0);
    const CSwallowingPort nobody;
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_FALSE(client.Connect(kHost, nobody.Port(), 20));
    EXPECT_FALSE(client.IsLinkUp());
    EXPECT_EQ(-1, client.Descriptor());
}

// A client that looks for a service on a port of the system's own range may be given that very port
// for its own end, and is then connected to itself. The system walks through the range, so that
// many attempts come upon it.
TEST(Connection, RefusesAConnectionToItself)
{
    MPISocketClientC client(false);
    for (int attempt = 0; attempt < 40000; ++attempt) {
        ASSERT_FALSE(client.Connect(kHost, 40000, 1000)) << attempt;
        ASSERT_EQ(ELinkError::Refused, client.LastError().code) << client.LastError().text;
    }
}

TEST(Connection, TellsWhetherTheLinkIsUp)
{
    CRawPeer peer([](CRawLink& link) { link.Reply(link.Read(), "\x07"); }, 0);
    MPISocketClientC client(false);
    EXPECT_FALSE(client.IsLinkUp());
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_TRUE(client.IsLinkUp());
    ASSERT_EQ(7, Call(client, "a"));
    client.ReceiveMessage(true); // the peer closes after its answer
    EXPECT_FALSE(client.IsLinkUp());
    EXPECT_EQ(-1, client.Descriptor());
}

TEST(Connection, IsDownOnceItIsClosed)
{
    CRawPeer peer(AnswerSeven, 0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.Close();
    EXPECT_FALSE(client.IsLinkUp());
    EXPECT_EQ(-1, client.Descriptor());
    client.Close();
    EXPECT_EQ(-1, Call(client, "a"));
}

TEST(Connection, TakesOverAnAcceptedSocket)
{
    CSocketPair pair;
    CRawClient service(pair.Release(0));
    MPISocketConnectionC connection;
    ASSERT_TRUE(connection.Accept(pair.Release(1)));
    EXPECT_TRUE(connection.IsLinkUp());
    std::thread answer([&] {
        const CRawMessage request = service.Read();
        service.Send(Bytes::Response(request.number, "\x07"));
    });
    EXPECT_EQ(7, Call(connection, "a"));
    answer.join();
}

TEST(Connection, RefusesToTakeOverWhatIsNoConnectedStreamSocket)
{
    MPISocketConnectionC connection;
    const int file = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int unconnected = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int datagram = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    for (const int descriptor : {file, unconnected, datagram, -1}) {
        EXPECT_FALSE(connection.Accept(descriptor)) << descriptor;
        EXPECT_FALSE(connection.IsLinkUp()) << descriptor;
        EXPECT_EQ(-1, ::fcntl(descriptor, F_GETFD)) << descriptor << " is still open";
    }
}

TEST(Connection, ReconnectsToWhereItWasConnectedLast)
{
    CRawPeer peer(AnswerSeven, 0);
    MPISocketClientC client(false);
    EXPECT_FALSE(client.Reconnect());
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.Close();
    EXPECT_TRUE(client.Reconnect());
    EXPECT_EQ(7, Call(client, "a"));
}

TEST(Connection, VerifiesByReopeningOnlyWhenItReconnects)
{
    CRawPeer peer(AnswerSeven, 0);
    for (const bool reconnects : {false, true}) {
        MPISocketClientC client(reconnects);
        ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
        EXPECT_TRUE(client.VerifyConnection());
        client.Close();
        EXPECT_EQ(reconnects, client.VerifyConnection()) << reconnects;
    }
    EXPECT_EQ(3, peer.WaitForConnections(3));
}
