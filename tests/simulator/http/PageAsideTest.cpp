// What the page works on aside, and who it is for.

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <asio/io_context.hpp>
#include <gtest/gtest.h>

#include "simulator/http/HttpServer.h"
#include "simulator/http/PageAside.h"
#include "tests/simulator/http/HttpPeer.h"

namespace {

constexpr std::chrono::milliseconds kNeverOver = std::chrono::hours(1);

/// A thread aside, and a server that answers nobody; its loop runs when a test lets it.
class CWorkAside
{
public:
    CWorkAside()
    {
        EXPECT_EQ("", m_server.Listen(0));
        m_aside.Start();
    }
    ~CWorkAside()
    {
        m_server.Close();
        m_aside.Join();
    }
    CWorkAside(const CWorkAside&) = delete;
    CWorkAside& operator=(const CWorkAside&) = delete;

    /// Connects and posts; the request has come whole.
    std::unique_ptr<HttpPeer> Asking()
    {
        const std::size_t before = m_asking.size();
        auto peer = std::make_unique<HttpPeer>(m_server.Port());
        peer->Send(BytesOf({"POST", "/", "", {}, "body"}, m_server.Port()));
        RunUntil([&] { return m_asking.size() > before; });
        return peer;
    }
    /// Works for the one that has posted at this place; the end is noted in `Ended()`.
    void Work(std::size_t asker, const std::function<void()>& work)
    {
        m_aside.Do(
            [work] {
                work();
                return 1;
            },
            [this, asker](const std::shared_ptr<int>& result) {
                m_ended.push_back({asker, result != nullptr});
            },
            m_asking[asker]);
    }
    void RunUntil(const std::function<bool()>& condition)
    {
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!condition() && std::chrono::steady_clock::now() < until)
            m_loop.run_one_for(std::chrono::milliseconds(10));
        EXPECT_TRUE(condition());
    }

    struct End
    {
        std::size_t asker;
        bool isDone;
        bool operator==(const End& other) const
        {
            return asker == other.asker && isDone == other.isDone;
        }
    };
    /// The pieces of work that have ended, in this order.
    const std::vector<End>& Ended() const { return m_ended; }
    PageAsideC& Aside() { return m_aside; }

private:
    asio::io_context m_loop;
    std::vector<std::shared_ptr<HttpConnectionC>> m_asking;
    std::vector<End> m_ended;
    PageAsideC m_aside{m_loop};
    HttpServerC m_server{m_loop,
                         {kNeverOver, kNeverOver, kNeverOver, kNeverOver},
                         {[](const ServedRequest&) { return HttpRefusal(); },
                          [this](const auto& connection) { m_asking.push_back(connection); }}};
};

using Ends = std::vector<CWorkAside::End>;

TEST(WorkAside, IsNotBegunForThoseWhoHaveGoneAndTakesNoPlaceForThem)
{
    CWorkAside aside;
    std::promise<void> mayEnd;
    std::shared_future<void> end = mayEnd.get_future().share();
    std::atomic<int> works{0};
    const auto first = aside.Asking();
    aside.Work(0, [end] { end.wait(); });
    auto gone = aside.Asking();
    const auto waiting = aside.Asking();
    aside.Work(1, [&] { ++works; });
    aside.Work(2, [&] { ++works; });
    gone->Reset();

    aside.Aside().ForgetUnwanted();
    EXPECT_EQ((Ends{{1, false}}), aside.Ended()) << "while the first goes on";

    mayEnd.set_value();
    aside.RunUntil([&] { return aside.Ended().size() == 3; });
    EXPECT_EQ((Ends{{1, false}, {0, true}, {2, true}}), aside.Ended());
    EXPECT_EQ(1, works);
}

TEST(WorkAside, EndsWhenItsAskerGoes)
{
    CWorkAside aside;
    std::promise<void> begun;
    auto peer = aside.Asking();
    aside.Work(0, [&] {
        begun.set_value();
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (std::chrono::steady_clock::now() < until)
            EndWorkIfStopped();
    });
    begun.get_future().wait();

    peer->EndSending();

    aside.RunUntil([&] { return !aside.Ended().empty(); });
    EXPECT_EQ((Ends{{0, false}}), aside.Ended());
}

TEST(WorkAside, EndsWithTheServer)
{
    std::promise<void> begun;
    std::unique_ptr<HttpPeer> peer;
    std::atomic<bool> isStopped{false};
    {
        CWorkAside aside;
        peer = aside.Asking();
        aside.Work(0, [&] {
            begun.set_value();
            const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
            try {
                while (std::chrono::steady_clock::now() < until)
                    EndWorkIfStopped();
            } catch (const CWorkEnded&) {
                isStopped = true;
            }
        });
        begun.get_future().wait();
    }
    EXPECT_TRUE(isStopped);
}

} // namespace
