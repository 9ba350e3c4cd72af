#include "platform/MPISocketConnection.h"

#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/MPISocketClient.h"
#include "tests/runtime/ConnectionCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/Loopback.h"
#include "tests/support/NetworkNamespace.h"
#include "tests/support/RawClient.h"
#include "tests/support/RawPeer.h"
#include "tests/support/SocketPair.h"
#include "tests/support/SwallowingPort.h"

namespace {

/// Whether a socket that looks for a service on `port` is connected to itself.
bool IsConnectedToItself(std::uint16_t port)
{
    const CLoopbackAddress address(ELoopback::IPv4, port);
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isConnected = ::connect(descriptor, address.Data(), address.Size()) == 0;
    const linger atOnce = {1, 0}; // so that the port is free again
    ::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
    ::close(descriptor);
    return isConnected;
}

} // namespace

TEST(Connection, GivesUpOnAPortThatSwallowsConnections)
{
    const CSwallowingPort port;
    MPISocketClientC client(false);
    const CStopwatch stopwatch;
    EXPECT_FALSE(client.Connect(kHost, port.Port(), 100));
    EXPECT_LT(stopwatch.Milliseconds(), 800);
    EXPECT_EQ(ELinkError::TimedOut, client.LastError().code);
}

TEST(Connection, GivesUpAfterOneSecondWhenNoLimitIsNamed)
{
    const CSwallowingPort port;
    MPISocketClientC client(false);
    const CStopwatch stopwatch;
    EXPECT_FALSE(client.Connect(kHost, port.Port(), -1));
    EXPECT_GE(stopwatch.MillisecondsPassed(), 950);
    EXPECT_LT(stopwatch.Milliseconds(), 1800);
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

// A client that looks for a service on a port that the system gives out may be given that very port
// for its own end, and is then connected to itself.
TEST(Connection, RefusesAConnectionToItself)
{
    const int port = 40000;
    const CIsolatedOutcome outcome = InNetworkOfItsOwn(port, port, [] {
        if (!IsConnectedToItself(port)) {
            return std::string("a plain socket is not connected to itself");
        }
        MPISocketClientC client(false);
        if (client.Connect(kHost, port, 1000)) {
            return std::string("is connected");
        }
        const LinkErrorC& error = client.LastError();
        return error.code == ELinkError::Refused ? std::string() : error.text;
    });
    if (!outcome.isAllowed) {
        GTEST_SKIP() << "the system allows no network namespace";
    }
    EXPECT_EQ("", outcome.problem);
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
