#include "platform/MPISocketConnection.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <future>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/MPISocketClient.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawClient.h"
#include "tests/support/RawPeer.h"
#include "tests/support/SocketPair.h"

using Bytes::FromHex;
using Clock = std::chrono::steady_clock;

namespace {

const char* const kHost = "127.0.0.1";

/// Answers every request with 7 until the other side leaves.
void AnswerSeven(CRawLink& link)
{
    while (true) {
        const CRawMessage message = link.Read();
        if (message.kind == 0) {
            link.Reply(message, "\x07");
        }
    }
}

/// The integer reply to a call without arguments; -1 when there is none.
int Call(MPISocketConnectionC& connection, const std::string& name)
{
    const std::unique_ptr<BElementC> reply(connection.CallMethod(name, nullptr));
    const auto* const atom = dynamic_cast<const BAtomC*>(reply.get());
    return atom == nullptr ? -1 : atom->IntValue();
}

int MillisecondsSince(Clock::time_point start)
{
    return static_cast<int>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

/// A listener whose queue is full, so that a further connection gets no answer at all.
class CSwallowingPort
{
public:
    CSwallowingPort() : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof(address));
        ::listen(m_listener, 0);
        socklen_t length = sizeof(address);
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length);
        m_port = ntohs(address.sin_port);
        for (int& filler : m_fillers) {
            filler = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            ::connect(filler, reinterpret_cast<sockaddr*>(&address), sizeof(address));
        }
    }
    ~CSwallowingPort()
    {
        ::close(m_listener);
        std::for_each(std::begin(m_fillers), std::end(m_fillers), ::close);
    }
    CSwallowingPort(const CSwallowingPort&) = delete;
    CSwallowingPort& operator=(const CSwallowingPort&) = delete;
    std::uint16_t Port() const { return m_port; }

private:
    int m_listener;
    std::uint16_t m_port = 0;
    int m_fillers[4] = {};
};

} // namespace

TEST(Connection, CallsAndGetsTheReply)
{
    CRawPeer peer(AnswerSeven, 0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1)) << client.LastError().text;
    EXPECT_EQ(7, Call(client, "EngageSteering"));
    EXPECT_EQ(7, Call(client, "StopNavigation"));
    EXPECT_EQ(1, peer.WaitForConnections(1));
}

TEST(Connection, NumbersItsRequestsApart)
{
    std::vector<std::uint64_t> numbers;
    CRawPeer peer(
        [&](CRawLink& link) {
            for (int count = 0; count < 3; ++count) {
                const CRawMessage request = link.Read();
                numbers.push_back(request.number);
                link.Reply(request, "\x07");
            }
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    for (int count = 0; count < 3; ++count) {
        ASSERT_EQ(7, Call(client, "a"));
    }
    std::sort(numbers.begin(), numbers.end());
    EXPECT_EQ(numbers.end(), std::adjacent_find(numbers.begin(), numbers.end()));
}

TEST(Connection, WritesRequestsAndNotificationsAsPrescribed)
{
    std::string request;
    std::string notification;
    CRawPeer peer(
        [&](CRawLink& link) {
            notification = link.Read().bytes;
            const CRawMessage message = link.Read();
            request = message.bytes;
            link.Reply(message, "\x07");
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    BListC arguments(nullptr);
    arguments.AddInt(1);
    arguments.AddDouble(2.0);
    EXPECT_TRUE(client.SendNotification("note", &arguments));
    const std::unique_ptr<BElementC> reply(client.CallMethod("call", &arguments));
    const std::string list = "92 01 cb 40 00 00 00 00 00 00 00";
    EXPECT_EQ("93 02 a4 6e 6f 74 65 " + list, Bytes::ToHex(notification));
    EXPECT_EQ("94 00 ", Bytes::ToHex(request).substr(0, 6));
    EXPECT_NE(std::string::npos, Bytes::ToHex(request).find(" a4 63 61 6c 6c " + list));
}

TEST(Connection, TakesNoArgumentsAsAnEmptyList)
{
    std::string text;
    CRawPeer peer(
        [&](CRawLink& link) {
            const CRawMessage message = link.Read();
            text = message.text;
            link.Reply(message, "\x07");
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    ASSERT_EQ(7, Call(client, "a"));
    EXPECT_NE(std::string::npos, text.find("\"a\",[]]")) << text;
}

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

TEST(Connection, NeverReopensInsideACall)
{
    CRawPeer peer(AnswerSeven, 0);
    MPISocketClientC client(true);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.Close();
    EXPECT_EQ(-1, Call(client, "a"));
    EXPECT_FALSE(client.SendNotification("a", nullptr));
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_EQ(7, Call(client, "a"));
    EXPECT_EQ(2, peer.ConnectionCount());
}

TEST(Connection, AppliesATimeoutAtTheNextCall)
{
    CRawPeer peer([](CRawLink& link) { link.WaitForEnd(); }, 0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    for (const int timeout : {30, 120, 1}) {
        client.SetTimeout(timeout);
        const Clock::time_point start = Clock::now();
        EXPECT_EQ(-1, Call(client, "a"));
        EXPECT_GE(MillisecondsSince(start), timeout - 1);
        EXPECT_LT(MillisecondsSince(start), timeout + 700);
        EXPECT_TRUE(client.IsLinkUp()) << timeout;
    }
}

TEST(Connection, WaitsTwoSecondsUnlessToldOtherwise)
{
    CRawPeer peer([](CRawLink& link) { link.WaitForEnd(); }, 0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(-1, Call(client, "a"));
    EXPECT_GE(MillisecondsSince(start), 1990);
    EXPECT_LT(MillisecondsSince(start), 2800);
}

TEST(Connection, WaitsWithoutLimitWhenTheTimeoutIsMinusOne)
{
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
    client.SetTimeout(-1);
    EXPECT_EQ(7, Call(client, "a"));
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
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(-1, Call(client, "a"));
    EXPECT_LT(MillisecondsSince(start), 800);
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
    const Clock::time_point start = Clock::now();
    EXPECT_FALSE(client.SendNotification("a", &arguments));
    EXPECT_LT(MillisecondsSince(start), 1500);
    EXPECT_EQ(ELinkError::TimedOut, client.LastError().code);
    EXPECT_EQ(-1, client.Descriptor());
    over.set_value();
}

TEST(Connection, SendsALargeMessageWholeToAPeerThatReadsSlowly)
{
    std::size_t size = 0;
    CRawPeer peer(
        [&](CRawLink& link) {
            const CRawMessage request = link.Read();
            size = request.bytes.size();
            link.Reply(request, "\x07");
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.SetTimeout(20000);
    BListC arguments(nullptr);
    arguments.AddString(std::string(std::size_t{2} * 1024 * 1024, 'x'));
    const std::unique_ptr<BElementC> reply(client.CallMethod("a", &arguments));
    EXPECT_NE(nullptr, reply);
    EXPECT_LT(std::size_t{2} * 1024 * 1024, size);
}

TEST(Connection, RaisesNoSignalWhenThePeerHasGone)
{
    for (const bool withReset : {false, true}) {
        CRawPeer peer(
            [&](CRawLink& link) {
                if (withReset) {
                    link.Reset();
                }
            },
            0);
        MPISocketClientC client(false);
        ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
        pollfd watched = {client.Descriptor(), POLLRDHUP, 0};
        ASSERT_EQ(1, ::poll(&watched, 1, 10000));
        int sent = 0;
        while (sent < 1000 && client.SendNotification("a", nullptr)) {
            ++sent; // SIGPIPE would end the process
        }
        EXPECT_LT(sent, 1000) << withReset;
        EXPECT_EQ(ELinkError::Closed, client.LastError().code) << withReset;
        EXPECT_EQ(-1, client.Descriptor()) << withReset;
    }
}

TEST(Connection, TakesUpAnInterruptedCallAgain)
{
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) {}; // without SA_RESTART: system calls fail with EINTR
    ::sigaction(SIGUSR1, &action, &before);
    const pthread_t caller = ::pthread_self();
    CRawPeer peer(
        [&](CRawLink& link) {
            const CRawMessage request = link.Read();
            for (int count = 0; count < 20; ++count) {
                ::pthread_kill(caller, SIGUSR1);
                link.Pause(2);
            }
            link.Reply(request, "\x07");
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_EQ(7, Call(client, "a"));
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST(Connection, WorksOnADescriptorAbove1023)
{
    rlimit before = {};
    ::getrlimit(RLIMIT_NOFILE, &before);
    rlimit raised = before;
    raised.rlim_cur = std::min<rlim_t>(before.rlim_max, 4096);
    ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &raised));
    std::vector<int> fillers;
    while (fillers.empty() || fillers.back() < 1100) {
        fillers.push_back(::dup(0));
        ASSERT_GE(fillers.back(), 0);
    }
    {
        CRawPeer peer(AnswerSeven, 0);
        MPISocketClientC client(false);
        ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
        EXPECT_GT(client.Descriptor(), 1023);
        EXPECT_EQ(7, Call(client, "a"));
        client.SetTimeout(20);
        EXPECT_FALSE(client.ProcessMessages(true));
    }
    std::for_each(fillers.begin(), fillers.end(), ::close);
    ::setrlimit(RLIMIT_NOFILE, &before);
}

TEST(Connection, OpensItsDescriptorCloseOnExecAndWithoutDelay)
{
    CRawPeer peer(AnswerSeven, 0);
    MPISocketClientC client(false);
    EXPECT_EQ(-1, client.Descriptor());
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    const int descriptor = client.Descriptor();
    EXPECT_NE(0, ::fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
    int isWithoutDelay = 0;
    socklen_t size = sizeof(isWithoutDelay);
    ::getsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &isWithoutDelay, &size);
    EXPECT_NE(0, isWithoutDelay);
}

TEST(Connection, AnswersARequestOfTheServiceWithAnError)
{
    std::string answer;
    CRawPeer peer(
        [&](CRawLink& link) {
            const CRawMessage request = link.Read();
            link.Send(Bytes::Request(5, "ask", "\x90"));
            answer = link.Read().text;
            link.Reply(request, "\x07");
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_EQ(7, Call(client, "a"));
    EXPECT_EQ("[1,5,\"", answer.substr(0, 6));
    EXPECT_EQ("\",null]", answer.substr(answer.size() - 7));
}

TEST(Connection, SendsOneValueAsAMessage)
{
    std::string bytes;
    CRawPeer peer(
        [&](CRawLink& link) {
            bytes = link.Read().bytes;
            link.Send(Bytes::Notification("ev", "\x90"));
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    BListC message(nullptr);
    message.AddInt(2);
    message.AddString("a");
    message.Add(new BListC(nullptr));
    EXPECT_FALSE(client.SendMessageElement(&message));
    EXPECT_EQ(ELinkError::NotConnected, client.LastError().code);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_TRUE(client.SendMessageElement(&message));
    EXPECT_TRUE(client.ReceiveMessage(true));
    EXPECT_EQ("93 02 a1 61 90", Bytes::ToHex(bytes));
}

TEST(Connection, RefusesToSendWhatNoPeerTakesAndStaysUp)
{
    CRawPeer peer(AnswerSeven, 0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    auto nested = std::make_unique<BListC>(nullptr);
    for (int level = 1; level < 65; ++level) {
        auto outer = std::make_unique<BListC>(nullptr);
        outer->Add(nested.release());
        nested = std::move(outer);
    }
    BListC large(nullptr);
    large.AddString(std::string(std::size_t{32} * 1024 * 1024, 'x'));
    for (BListC* const arguments : {nested.get(), &large}) {
        EXPECT_EQ(nullptr, client.CallMethod("a", arguments));
        EXPECT_EQ(ELinkError::BadMessage, client.LastError().code);
        EXPECT_FALSE(client.SendNotification("a", arguments));
        EXPECT_EQ(7, Call(client, "a"));
    }
    EXPECT_EQ(1, peer.ConnectionCount());
}

TEST(Connection, HasNoThreadOfItsOwn)
{
    const auto countThreads = [] {
        const std::filesystem::directory_iterator threads("/proc/self/task");
        return std::distance(begin(threads), end(threads));
    };
    CRawPeer peer(AnswerSeven, 0);
    const auto before = countThreads();
    MPISocketClientC client(true);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_EQ(7, Call(client, "a"));
    EXPECT_EQ(before, countThreads());
}
