#include "platform/MPISocketConnection.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <future>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/MPISocketClient.h"
#include "tests/runtime/ConnectionCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"

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
        std::promise<void> connected; // a reset while it still connects would fail that
        CRawPeer peer(
            [&](CRawLink& link) {
                connected.get_future().wait();
                if (withReset) {
                    link.Reset();
                }
            },
            0);
        MPISocketClientC client(false);
        const bool isConnected = client.Connect(kHost, peer.Port(), -1);
        connected.set_value();
        ASSERT_TRUE(isConnected);
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
