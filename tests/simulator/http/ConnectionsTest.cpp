// Which connections go when they, or the descriptors of the process, run out.

#include <atomic>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <gtest/gtest.h>

#include "simulator/http/HttpServer.h"
#include "tests/simulator/http/HttpPeer.h"
#include "tests/simulator/http/RunningPage.h"

namespace {

constexpr std::size_t kMost = HttpServerC::kMostConnections;

ServedAnswer AnswerOf(std::string text)
{
    return {200, "text/plain", std::make_shared<const std::string>(std::move(text)), {}};
}

/// A server on a thread of its own that leaves requests for "/wait" and "/kept" without an answer
/// until it is told to give one, keeps the latter, and answers others at once.
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
    std::unique_ptr<HttpPeer> Asking(const std::string& path)
    {
        const std::size_t before = m_served;
        auto peer = std::make_unique<HttpPeer>(m_port);
        peer->Send(BytesOf({"GET", path, "", {}, ""}, m_port));
        EXPECT_TRUE(WaitUntil([&] { return m_served > before; }));
        return peer;
    }
    /// As many of them.
    std::vector<std::unique_ptr<HttpPeer>> Asking(const std::string& path, std::size_t count)
    {
        std::vector<std::unique_ptr<HttpPeer>> peers;
        while (peers.size() < count)
            peers.push_back(Asking(path));
        return peers;
    }
    /// Answers all that wait.
    void AnswerThem(const std::string& text)
    {
        OnLoop([&] {
            for (const auto& connection : std::exchange(m_waiting, {}))
                connection->Answer(AnswerOf(text));
        });
    }

private:
    void Serve(const std::shared_ptr<HttpConnectionC>& connection)
    {
        const std::string& path = connection->Request().path;
        if (path == "/kept")
            connection->Keep();
        if (path == "/kept" || path == "/wait") {
            m_waiting.push_back(connection);
        } else {
            connection->Answer(AnswerOf("at once"));
        }
        ++m_served;
    }

    asio::io_context m_loop;
    asio::executor_work_guard<asio::io_context::executor_type> m_stays =
        asio::make_work_guard(m_loop);
    std::vector<std::shared_ptr<HttpConnectionC>> m_waiting;
    std::atomic<std::size_t> m_served{0};
    HttpServerC m_server{m_loop,
                         {},
                         {[](const ServedRequest&) { return HttpRefusal(); },
                          [this](const auto& connection) { Serve(connection); }}};
    std::uint16_t m_port = 0;
    std::thread m_thread;
};

bool IsClosed(HttpPeer& peer)
{
    return peer.ReadToEnd(std::chrono::milliseconds(20));
}

/// Whether an answer has come, and the end of the connection.
bool IsAnswered(HttpPeer& peer, const std::string& text)
{
    return peer.ReadToEnd() && peer.Read().find("\r\n\r\n" + text) != std::string::npos;
}

TEST(Connections, ThatWaitForTheServiceGiveWayTheOldestFirst)
{
    CSlowServer server;
    const auto waiting = server.Asking("/wait", kMost);

    EXPECT_TRUE(IsAnswered(*server.Asking("/"), "at once"));

    EXPECT_TRUE(waiting.front()->ReadToEnd()) << "the oldest is still there";
    EXPECT_EQ("", waiting.front()->Read());
    EXPECT_FALSE(IsClosed(*waiting[1]));
}

TEST(Connections, GiveWayBeforeThoseThatWaitForTheService)
{
    CSlowServer server;
    const auto waiting = server.Asking("/wait", kMost - 1);
    HttpPeer silent(server.Port());

    EXPECT_TRUE(IsAnswered(*server.Asking("/"), "at once"));

    EXPECT_TRUE(silent.ReadToEnd());
    EXPECT_FALSE(IsClosed(*waiting.front()));
}

TEST(Connections, ThatHaveHadTheirAnswerGiveWayFirst)
{
    CSlowServer server;
    const auto waiting = server.Asking("/wait", kMost - 2);
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
    auto kept = server.Asking("/kept");
    const auto waiting = server.Asking("/wait", kMost - 1);

    const auto more = server.Asking("/kept", kMost - 1);
    HttpPeer stranger(server.Port());
    stranger.Send(BytesOf({"GET", "/", "", {}, ""}, server.Port()));

    EXPECT_TRUE(stranger.ReadToEnd());
    EXPECT_EQ("", stranger.Read()) << "one more than there may be";
    EXPECT_TRUE(waiting.back()->ReadToEnd());
    server.AnswerThem("at last");
    EXPECT_TRUE(IsAnswered(*kept, "at last"));
    EXPECT_TRUE(IsAnswered(*more.back(), "at last"));
}

TEST(Disengaging, IsNotCutOffByThoseWhoComeAfterIt)
{
    const std::string type = "Content-Type: application/json";
    RunningPage page;
    HttpPeer disengaging(page.Port());
    std::vector<std::unique_ptr<HttpPeer>> others;

    page.OnLoop([&](ServiceCoreC&) {
        disengaging.Send(BytesOf({"POST",
                                  "/command",
                                  "",
                                  {type},
                                  R"({"operation":"DisengageSteering","arguments":[1]})"},
                                 page.Port()));
        for (std::size_t count = 0; count < kMost + 50; ++count) {
            others.push_back(std::make_unique<HttpPeer>(page.Port()));
            others.back()->Send(
                BytesOf({"POST", "/command", "", {type}, R"({"operation":"IsSteeringEngaged"})"},
                        page.Port()));
        }
        EXPECT_EQ(200, Ask(page.Port(), {}).status);
    });

    EXPECT_TRUE(IsAnswered(disengaging, R"({"reasons":[],"result":1})"));
    EXPECT_TRUE(others.front()->ReadToEnd());
    EXPECT_EQ("", others.front()->Read());
}

} // namespace
