// What ends the turn of a connection: the processor time that it has used, and not the time for
// which the system had the service wait.

#include <chrono>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/write.hpp>
#include <gtest/gtest.h>

#include "runtime/ServerConnection.h"
#include "tests/support/Bytes.h"

using Bytes::Request;
using std::chrono_literals::operator""ms;

namespace {

/// More than a turn.
constexpr std::chrono::milliseconds kLong = 5ms;

/// Counts what a connection reports, and does something for each message.
class COwner final : public ServerConnectionOwnerC
{
public:
    explicit COwner(std::function<void()> serve) : m_serve(std::move(serve)) {}

    void MessageArrived(ServerConnectionC&, const MessageC&) override
    {
        ++served;
        m_serve();
    }
    std::uint64_t NextArrival() override { return ++m_arrivals; }
    bool Overtakes(const MessageC&) override { return false; }
    void MessageRejected(ServerConnectionC&, const std::string&) override { ++ended; }
    void ConnectionLost(ServerConnectionC& connection, const std::string&) override
    {
        ++ended;
        connection.Close(false);
    }
    void TurnWanted(ServerConnectionC&) override { ++turnsWanted; }
    void SendingWanted(ServerConnectionC&) override {}
    void MessageUnfinished(ServerConnectionC&) override {}
    void HeldChanged(std::size_t, std::size_t) override {}

    int served = 0;
    int turnsWanted = 0;
    int ended = 0;

private:
    std::function<void()> m_serve;
    std::uint64_t m_arrivals = 0;
};

/// Has a connection serve what a client sends at once, and lets the loop run until it has nothing
/// to do. Nobody gives further turns.
std::shared_ptr<COwner> Served(const std::string& bytes, std::function<void()> serve)
{
    asio::io_context loop;
    asio::ip::tcp::acceptor acceptor(loop, {asio::ip::address_v4::loopback(), 0});
    asio::ip::tcp::socket client(loop);
    client.connect(acceptor.local_endpoint());
    auto owner = std::make_shared<COwner>(std::move(serve));
    const auto connection = std::make_shared<ServerConnectionC>(acceptor.accept(), 1, owner,
                                                                std::make_shared<DisposerC>());
    asio::write(client, asio::buffer(bytes));
    connection->Start();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (owner->served == 0 && std::chrono::steady_clock::now() < deadline) {
        loop.run_one_for(std::chrono::seconds(1));
    }
    loop.poll();
    connection->Close(true);
    return owner;
}

void BeHeldUp()
{
    std::this_thread::sleep_for(kLong); // uses as little of the processor as to wait for it
}

void Calculate()
{
    const std::clock_t end = std::clock() + CLOCKS_PER_SEC * kLong.count() / 1000;
    while (std::clock() < end) {
    }
}

const std::string kThreeRequests =
    Request(1, "a", "\x90") + Request(2, "a", "\x90") + Request(3, "a", "\x90");

} // namespace

TEST(ServerTurn, GoesOnAfterTheSystemHadTheServiceWait)
{
    const auto owner = Served(kThreeRequests, BeHeldUp);
    EXPECT_EQ(3, owner->served);
    EXPECT_EQ(0, owner->turnsWanted);
    EXPECT_EQ(0, owner->ended);
}

TEST(ServerTurn, EndsOnceItsProcessorTimeIsUsed)
{
    const auto owner = Served(kThreeRequests, Calculate);
    EXPECT_EQ(1, owner->served);
    EXPECT_EQ(1, owner->turnsWanted);
    EXPECT_EQ(0, owner->ended);
}
