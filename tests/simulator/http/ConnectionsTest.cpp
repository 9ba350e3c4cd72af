// Which connections go when they, or the descriptors of the process, run out.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <fcntl.h>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <gtest/gtest.h>

#include "simulator/http/HttpServer.h"
#include "simulator/http/PageResources.h"
#include "simulator/http/SharedAnswer.h"
#include "tests/simulator/http/HttpPeer.h"
#include "tests/simulator/http/RunningPage.h"

namespace {

constexpr std::size_t kMost = HttpLimits().connections;
// Nothing ends because it has taken too long.
constexpr std::chrono::milliseconds kLong = std::chrono::hours(1);

ServedAnswer AnswerOf(std::string text)
{
    return {200, "text/plain", std::make_shared<const std::string>(std::move(text)), {}};
}

/// A server on a thread of its own that leaves requests for "/wait" and "/kept" without an answer
/// until it is asked to give one, keeps the latter, and answers others at once, but for those that
/// share an answer: its work ends when it is asked to.
class CSlowServer
{
public:
    CSlowServer()
    {
        EXPECT_EQ("", m_server.Listen(0));
        m_port = m_server.Port();
        m_thread = std::thread([this] { m_loop.run(); });
    }
    ~CSlowServer()
    {
        OnLoop([this] { m_server.Close(); });
        m_stays.reset();
        m_thread.join();
    }
    CSlowServer(const CSlowServer&) = delete;
    CSlowServer& operator=(const CSlowServer&) = delete;

    std::uint16_t Port() const { return m_port; }
    /// Does something on the server's thread and waits until it is done.
    void OnLoop(const std::function<void()>& action)
    {
        std::promise<void> done;
        asio::post(m_loop, [&] {
            action();
            done.set_value();
        });
        done.get_future().get();
    }
    /// Connects, asks, and waits until the server has the request.
    std::unique_ptr<HttpPeer> Asking(const std::string& path, const std::string& method = "GET",
                                     const std::string& body = {})
    {
        const std::size_t before = m_served;
        auto peer = std::make_unique<HttpPeer>(m_port);
        peer->Send(BytesOf({method, path, "", {}, body}, m_port));
        EXPECT_TRUE(WaitUntil([&] { return m_served > before; }));
        return peer;
    }
    /// As many of them.
    std::vector<std::unique_ptr<HttpPeer>> Asking(const std::string& path, std::size_t count,
                                                  const std::string& method = "GET")
    {
        std::vector<std::unique_ptr<HttpPeer>> peers;
        while (peers.size() < count) {
            peers.push_back(Asking(path, method));
        }
        return peers;
    }
    /// The paths of all requests that have come whole, in this order.
    std::vector<std::string> Served()
    {
        std::vector<std::string> served;
        OnLoop([&] { served = m_order; });
        return served;
    }
    /// Does something on the server's thread, and returns how many requests have come whole after
    /// the loop has then looked at its sockets so often.
    std::size_t ServedAfterLooks(int looks, const std::function<void()>& action)
    {
        std::promise<std::size_t> served;
        std::function<void()> look = [&] {
            if (--looks > 0) {
                asio::post(m_loop, look);
            } else {
                served.set_value(m_order.size());
            }
        };
        asio::post(m_loop, [&] {
            action();
            asio::post(m_loop, look);
        });
        return served.get_future().get();
    }
    /// How often the shared answer has been asked for.
    std::size_t Works()
    {
        std::size_t works = 0;
        OnLoop([&] { works = m_works; });
        return works;
    }
    /// How many are kept that wait for the work on it after the one under way.
    std::size_t Waiting()
    {
        std::size_t waiting = 0;
        OnLoop([&] { waiting = m_shared.Waiting(); });
        return waiting;
    }
    /// Has the work on it throw from now on, or no more.
    void Fail(bool fails)
    {
        OnLoop([&] { m_fails = fails; });
    }
    /// Ends the work on the shared answer that is under way.
    void EndWork(int status, const std::string& text)
    {
        OnLoop([&] {
            ServedAnswer answer = AnswerOf(text);
            answer.status = status;
            std::exchange(m_endOfWork, {})(answer);
        });
    }
    /// Answers all that wait.
    void AnswerThem(const std::string& text)
    {
        OnLoop([&] {
            for (const auto& connection : std::exchange(m_waiting, {})) {
                connection->Answer(AnswerOf(text));
            }
        });
    }

private:
    void Serve(const std::shared_ptr<CHttpConnection>& connection)
    {
        const std::string path = connection->Request().path; // closing it takes it away
        if (path == "/kept") {
            connection->Keep();
        }
        if (path == "/kept" || path == "/wait") {
            m_waiting.push_back(connection);
        } else if (path == "/shared") {
            m_shared.Give(connection);
        } else if (path == "/fresh") {
            m_fresh.Give(connection);
        } else {
            connection->Answer(AnswerOf("at once"));
        }
        m_order.push_back(path);
        ++m_served;
    }

    asio::io_context m_loop;
    asio::executor_work_guard<asio::io_context::executor_type> m_stays =
        asio::make_work_guard(m_loop);
    std::vector<std::shared_ptr<CHttpConnection>> m_waiting;
    std::vector<std::string> m_order;
    std::atomic<std::size_t> m_served{0};
    std::size_t m_works = 0;
    bool m_fails = false;
    CSharedAnswer::Reply m_endOfWork;
    CSharedAnswer::Work m_work = [this](CSharedAnswer::Reply reply) {
        ++m_works;
        if (m_fails) {
            throw std::bad_alloc();
        }
        m_endOfWork = std::move(reply);
    };
    CSharedAnswer m_shared{m_work};
    CSharedAnswer m_fresh{m_work, kLong};
    CHttpServer m_server{m_loop,
                         {kLong, kLong, kLong, kLong},
                         {[](const ServedRequest&) { return HttpRefusal(); },
                          [this](const auto& connection) { Serve(connection); }}};
    std::uint16_t m_port = 0;
    std::thread m_thread;
};

bool IsClosed(HttpPeer& peer)
{
    return peer.ReadToEnd(std::chrono::milliseconds(20));
}

TEST(Connections, WithACommandThatWaitsForTheServiceGiveWayToNobody)
{
    CSlowServer server;
    const auto waiting = server.Asking("/wait", kMost, "POST");
    HttpPeer next(server.Port());
    next.Send(BytesOf({"GET", "/", "", {}, ""}, server.Port()));
    EXPECT_FALSE(IsClosed(next)) << "it waits until there is room";

    server.AnswerThem("at last");

    EXPECT_TRUE(IsAnswered(next, "at once"));
    for (const auto& one : waiting) {
        EXPECT_TRUE(IsAnswered(*one, "at last"));
    }
}

TEST(Connections, EndAtOnceWhenTheirPeerGivesUpWhatItHasPosted)
{
    const std::string type = "Content-Type: application/json";
    CSlowServer server;
    auto kept = server.Asking("/wait", "POST");
    {
        std::vector<std::unique_ptr<HttpPeer>> gone = server.Asking("/wait", kMost - 1, "POST");
        gone.front()->Send(std::string(1000, 'x')); // behind its request
    }

    // There is room for all of them.
    const auto next = server.Asking("/wait", kMost - 1, "POST");

    server.AnswerThem("at last");
    EXPECT_TRUE(IsAnswered(*kept, "at last"));
    EXPECT_TRUE(IsAnswered(*next.back(), "at last"));
}

TEST(Connections, OfAPeerThatSaysNoMoreAfterAskingAreAnswered)
{
    CSlowServer server;
    const auto waiting = server.Asking("/wait");
    waiting->EndSending();
    EXPECT_FALSE(IsClosed(*waiting));

    server.AnswerThem("at last");

    EXPECT_TRUE(IsAnswered(*waiting, "at last"));
}

TEST(Connections, OfPeersThatHaveLeftAreNotServed)
{
    CSlowServer server;
    std::unique_ptr<HttpPeer> listening;

    server.OnLoop([&] {
        for (int one = 0; one < 10; ++one) {
            HttpPeer(server.Port()).Send(BytesOf({"GET", "/gone", "", {}, ""}, server.Port()));
        }
        listening = std::make_unique<HttpPeer>(server.Port());
        listening->Send(BytesOf({"GET", "/listening", "", {}, ""}, server.Port()));
        listening->EndSending();
    });

    EXPECT_TRUE(IsAnswered(*listening, "at once"));
    EXPECT_EQ(std::vector<std::string>{"/listening"}, server.Served());
}

TEST(Connections, OfPeersThatHaveResetThemAreNotServed)
{
    CSlowServer server;

    server.OnLoop([&] {
        for (int one = 0; one < 10; ++one) {
            HttpPeer peer(server.Port());
            peer.Send(BytesOf({"GET", "/gone", "", {}, ""}, server.Port()));
            peer.Reset();
        }
    });

    EXPECT_TRUE(IsAnswered(*server.Asking("/listening"), "at once"));
    EXPECT_EQ(std::vector<std::string>{"/listening"}, server.Served());
}

TEST(Connections, ThatWaitForAResourceGiveWayToWhoComesTheOldestFirst)
{
    CSlowServer server;
    const auto command = server.Asking("/wait", "POST");
    const auto waiting = server.Asking("/wait", kMost - 1);

    const auto next = server.Asking("/wait", 2, "POST");

    EXPECT_TRUE(waiting[0]->ReadToEnd());
    EXPECT_TRUE(waiting[1]->ReadToEnd());
    server.AnswerThem("at last");
    EXPECT_TRUE(IsAnswered(*waiting.back(), "at last"));
    EXPECT_TRUE(IsAnswered(*command, "at last"));
    EXPECT_TRUE(IsAnswered(*next.back(), "at last"));
}

TEST(SharedAnswer, IsWorkedOutOnceForAllWhoHaveAskedBefore)
{
    CSlowServer server;
    const auto first = server.Asking("/shared");
    const auto others = server.Asking("/shared", 20);
    EXPECT_EQ(1u, server.Works());

    server.EndWork(200, "one");
    EXPECT_TRUE(IsAnswered(*first, "one"));
    EXPECT_EQ(2u, server.Works());

    server.EndWork(200, "two");
    for (const auto& other : others) {
        EXPECT_TRUE(IsAnswered(*other, "two")) << "they asked after the work had begun";
    }
    EXPECT_EQ(2u, server.Works());
    EXPECT_TRUE(server.Asking("/shared"));
    EXPECT_EQ(3u, server.Works());
}

TEST(SharedAnswer, IsNotWorkedOutForThoseWhoHaveLeft)
{
    CSlowServer server;
    const auto first = server.Asking("/shared");
    server.Asking("/shared", 20); // and gone

    server.EndWork(200, "one");

    EXPECT_TRUE(IsAnswered(*first, "one"));
    EXPECT_EQ(1u, server.Works());
}

TEST(SharedAnswer, KeepsNothingForThoseWhoHaveLeft)
{
    CSlowServer server;
    const auto first = server.Asking("/shared");
    for (std::size_t gone = 0; gone < 4 * kMost; ++gone) {
        server.Asking("/shared")->Reset();
    }

    EXPECT_LE(server.Waiting(), kMost);
    const auto last = server.Asking("/shared");
    EXPECT_TRUE(WaitUntil([&] {
        server.Asking("/shared")->Reset();
        return server.Waiting() <= 3;
    })) << server.Waiting();
    server.EndWork(200, "one");
    EXPECT_TRUE(IsAnswered(*first, "one"));
}

TEST(SharedAnswer, IsARefusalWhereTheWorkThrowsAndIsWorkedOutForTheNext)
{
    CSlowServer server;
    const auto first = server.Asking("/shared");
    const auto second = server.Asking("/shared");
    server.Fail(true);
    server.EndWork(200, "one");
    EXPECT_TRUE(IsAnswered(*first, "one"));
    EXPECT_TRUE(second->ReadToEnd());
    EXPECT_EQ(0U, second->Read().find("HTTP/1.1 500 ")) << second->Read();
    const auto third = server.Asking("/shared");
    EXPECT_TRUE(third->ReadToEnd());
    EXPECT_EQ(0U, third->Read().find("HTTP/1.1 500 ")) << third->Read();

    server.Fail(false);
    const auto last = server.Asking("/shared");
    server.EndWork(200, "two");

    EXPECT_TRUE(IsAnswered(*last, "two"));
}

TEST(WhatIsDoneAfterwards, IsARefusalWhereItThrows)
{
    std::vector<int> statuses;
    const auto reply = [&](const ServedAnswer& answer) { statuses.push_back(answer.status); };

    WhenDone(reply, [] { throw std::bad_alloc(); })(CLoopGate::EOutcome::Done);

    EXPECT_EQ(std::vector<int>{500}, statuses);
}

TEST(SharedAnswer, IsGivenAgainWhileItIsFreshUnlessItIsARefusal)
{
    CSlowServer server;
    const auto refused = server.Asking("/fresh");
    server.EndWork(503, "none");
    EXPECT_TRUE(IsAnswered(*refused, "none"));
    const auto first = server.Asking("/fresh");
    EXPECT_EQ(2u, server.Works());
    server.EndWork(200, "one");
    EXPECT_TRUE(IsAnswered(*first, "one"));

    EXPECT_TRUE(IsAnswered(*server.Asking("/fresh"), "one"));
    EXPECT_EQ(2u, server.Works());
}

TEST(Connections, GiveWayBeforeThoseThatWaitForTheService)
{
    CSlowServer server;
    const auto waiting = server.Asking("/wait", kMost - 1, "POST");
    HttpPeer silent(server.Port());

    EXPECT_TRUE(IsAnswered(*server.Asking("/"), "at once"));

    EXPECT_TRUE(silent.ReadToEnd());
    EXPECT_FALSE(IsClosed(*waiting.front()));
}

TEST(Connections, ThatHaveNotCompletedTheirRequestGiveWayTheOldestFirst)
{
    CSlowServer server;
    const auto waiting = server.Asking("/wait", kMost - 2, "POST");
    HttpPeer oldest(server.Port());
    oldest.Send("GET / HTTP/1.1\r\n");
    HttpPeer other(server.Port());
    other.Send("GET / HTTP/1.1\r\n");

    EXPECT_TRUE(IsAnswered(*server.Asking("/"), "at once"));

    EXPECT_TRUE(oldest.ReadToEnd());
    EXPECT_FALSE(IsClosed(other));
}

TEST(Connections, ThatHaveHadTheirAnswerGiveWayFirst)
{
    CSlowServer server;
    const auto waiting = server.Asking("/wait", kMost - 2, "POST");
    HttpPeer silent(server.Port());
    const auto served = server.Asking("/");
    ASSERT_TRUE(served->ReadUntil("at once"));

    const auto newest = server.Asking("/");

    EXPECT_TRUE(newest->ReadUntil("at once"));
    EXPECT_FALSE(IsClosed(silent));
    EXPECT_FALSE(IsClosed(*waiting.front()));
}

TEST(Connections, ThatAreKeptGiveWayToNobody)
{
    CSlowServer server;
    // Together they hold more than may be held.
    const std::string most(HttpLimits().held / 5 * 3, ' ');
    const std::string less(HttpLimits().held / 2, ' ');
    const auto kept = server.Asking("/kept", "POST", most);
    HttpPeer waiting(server.Port());
    waiting.Send(BytesOf({"POST", "/wait", "", {}, less}, server.Port()));

    EXPECT_TRUE(waiting.ReadToEnd());
    EXPECT_EQ("", waiting.Read());
    server.AnswerThem("at last");
    EXPECT_TRUE(IsAnswered(*kept, "at last"));
}

TEST(Requests, ThatAreShortAreServedBeforeLongBodiesThatCameEarlier)
{
    // Of three portions, which the system takes for a peer that does not read.
    const std::string body(50000, ' ');
    CSlowServer server;
    std::vector<std::unique_ptr<HttpPeer>> peers;
    while (peers.size() < 40) {
        peers.push_back(std::make_unique<HttpPeer>(server.Port()));
    }
    HttpPeer inPieces(server.Port());
    inPieces.Send("POST /pieces HTTP/1.1\r\nContent-Length: 3\r\n\r\na");
    HttpPeer next(server.Port());
    server.Asking("/first"); // all before it have been taken

    server.OnLoop([&] {
        for (const auto& peer : peers) {
            peer->Send(BytesOf({"POST", "/long", "", {}, body}, server.Port()));
        }
        inPieces.Send("bc");
        next.Send(BytesOf({"GET", "/next", "", {}, ""}, server.Port()));
    });

    EXPECT_TRUE(IsAnswered(next, "at once"));
    EXPECT_TRUE(IsAnswered(inPieces, "at once"));
    for (const auto& peer : peers) {
        EXPECT_TRUE(IsAnswered(*peer, "at once"));
    }
    const std::vector<std::string> served = server.Served();
    ASSERT_EQ(peers.size() + 3, served.size());
    EXPECT_EQ((std::vector<std::string>{"/first", "/pieces", "/next", "/long"}),
              std::vector<std::string>(served.begin(), served.begin() + 4));
}

TEST(Requests, OfLongBodiesAreReadInTurns)
{
    CSlowServer server;
    std::vector<std::unique_ptr<HttpPeer>> longer;
    while (longer.size() < 10) {
        longer.push_back(std::make_unique<HttpPeer>(server.Port()));
    }
    HttpPeer last(server.Port());
    server.Asking("/first"); // all before it have been taken

    // The others have more to send than it, and come before it.
    server.OnLoop([&] {
        for (const auto& one : longer) {
            one->Send(BytesOf({"POST", "/longer", "", {}, std::string(60000, ' ')}, server.Port()));
        }
        last.Send(BytesOf({"POST", "/long", "", {}, std::string(20000, ' ')}, server.Port()));
    });

    EXPECT_TRUE(IsAnswered(last, "at once"));
    for (const auto& one : longer) {
        EXPECT_TRUE(IsAnswered(*one, "at once"));
    }
    EXPECT_EQ("/long", server.Served()[1]);
}

TEST(Requests, OfLongBodiesAreReadOnePortionBetweenTwoLooksAtAllTheOthers)
{
    CSlowServer server;
    std::vector<std::unique_ptr<HttpPeer>> peers;
    while (peers.size() < 40) {
        peers.push_back(std::make_unique<HttpPeer>(server.Port()));
    }
    server.Asking("/first"); // all before it have been taken

    // Each has four portions, the first of which has the head.
    EXPECT_EQ(1u, server.ServedAfterLooks(20, [&] {
        for (const auto& peer : peers) {
            peer->Send(BytesOf({"POST", "/long", "", {}, std::string(50000, ' ')}, server.Port()));
        }
    })) << "/first";
    for (const auto& peer : peers) {
        EXPECT_TRUE(IsAnswered(*peer, "at once"));
    }
}

/// Leaves this process no descriptor, until it ends.
class CNoDescriptors
{
public:
    CNoDescriptors()
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        // Above all that are open, so that each of those that is closed can be had again.
        rlimit lower = m_before;
        for (int one = 0; one < 1000; ++one) {
            if (::fcntl(one, F_GETFD) >= 0) {
                lower.rlim_cur = static_cast<rlim_t>(one) + 2;
            }
        }
        ::setrlimit(RLIMIT_NOFILE, &lower);
        Fill();
    }
    ~CNoDescriptors()
    {
        ::setrlimit(RLIMIT_NOFILE, &m_before);
        for (const int one : m_taken) {
            ::close(one);
        }
    }
    CNoDescriptors(const CNoDescriptors&) = delete;
    CNoDescriptors& operator=(const CNoDescriptors&) = delete;

    /// Connects with one that is taken.
    std::unique_ptr<HttpPeer> Connect(std::uint16_t port)
    {
        ::close(m_taken.back());
        m_taken.pop_back();
        return std::make_unique<HttpPeer>(port);
    }
    /// Takes those that are free.
    void Fill()
    {
        for (int one = ::dup(STDIN_FILENO); one >= 0; one = ::dup(STDIN_FILENO)) {
            m_taken.push_back(one);
        }
    }

private:
    rlimit m_before{};
    std::vector<int> m_taken;
};

TEST(Connections, GiveWayWheneverThereIsNoDescriptor)
{
    CSlowServer server;
    const auto kept = server.Asking("/kept");
    CNoDescriptors none;
    const auto peer = none.Connect(server.Port());
    peer->Send(BytesOf({"GET", "/", "", {}, ""}, server.Port()));
    // An attempt to take the connection has been made, and there was none to give way.
    for (int turn = 0; turn < 5; ++turn) {
        server.OnLoop([] {});
    }

    // More than the system takes for a peer that does not read.
    server.AnswerThem(std::string(std::size_t{24} << 20U, ' '));

    EXPECT_TRUE(peer->ReadToEnd(std::chrono::seconds(10)));
    EXPECT_NE(std::string::npos, peer->Read().find("at once"));
}

} // namespace
