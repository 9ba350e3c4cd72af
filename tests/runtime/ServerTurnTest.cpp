// What ends the turn of a connection: the processor time that it has used, and not the time for
// which the system had the service wait.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <linux/sockios.h>
#include <sys/ioctl.h>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>
#include <gtest/gtest.h>

#include "runtime/ServerConnection.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawClient.h"

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
    void FirstTurnWanted(ServerConnectionC& connection) override { connection.TakeFirstTurn(); }
    void TurnWanted(ServerConnectionC&) override { ++turnsWanted; }
    void SendingWanted(ServerConnectionC&) override {}
    void AllSent() override {}
    void ProgressAwaited(ServerConnectionC&) override {}
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
    const auto connection = std::make_shared<ServerConnectionC>(
        acceptor.accept(), 1, owner, std::make_shared<GradualDisposerC>(loop));
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

void CalculateFor(std::chrono::microseconds time)
{
    const std::clock_t end = std::clock() + CLOCKS_PER_SEC * time.count() / 1'000'000;
    while (std::clock() < end) {
    }
}

void Calculate()
{
    CalculateFor(kLong);
}

/// Answers every request after so much calculation.
class CCalculatingService final : public MPIServiceHandlerC
{
public:
    explicit CCalculatingService(asio::io_context& loop, const MPIServerLimitsC& limits = {})
        : m_server(loop, *this, limits)
    {
        const std::string problem = m_server.Listen(0);
        if (!problem.empty()) {
            throw std::runtime_error(problem);
        }
    }

    void RequestReceived(ClientNumber client, std::uint64_t number, const std::string&,
                         const BListC&) override
    {
        CalculateFor(std::chrono::microseconds(300));
        ++served;
        m_server.Reply(client, number, nullptr);
    }
    void NotificationReceived(ClientNumber, const std::string&, const BListC&) override {}
    void ClientDropped(ClientNumber, const std::string&) override { ++dropped; }
    MPISocketServerC& Server() { return m_server; }

    int served = 0;
    int dropped = 0;

private:
    MPISocketServerC m_server;
};

/// Lets a loop run until a condition holds, or ten seconds have passed.
template <typename Condition>
bool RunUntil(asio::io_context& loop, Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
        loop.run_one_for(std::chrono::milliseconds(100));
    }
    return condition();
}

std::vector<std::unique_ptr<CRawClient>> Connected(asio::io_context& loop,
                                                   CCalculatingService& service, std::size_t many)
{
    std::vector<std::unique_ptr<CRawClient>> clients;
    for (std::size_t count = 0; count < many; ++count) {
        clients.push_back(std::make_unique<CRawClient>(service.Server().Port()));
    }
    EXPECT_TRUE(RunUntil(loop, [&] { return service.Server().ClientCount() == many; }));
    return clients;
}

/// Lets a loop run until a number has come to `all`.
///
/// @return by how much it grew at most between two looks of the loop at its connections.
int MostBetweenTwoLooks(asio::io_context& loop, const int& number, int all)
{
    int before = number;
    int most = 0;
    std::function<void()> count = [&] { // runs once between two looks
        most = std::max(most, number - before);
        before = number;
        if (before != all) {
            asio::post(loop, count);
        }
    };
    asio::post(loop, count);
    EXPECT_TRUE(RunUntil(loop, [&] { return before == all; }));
    return most;
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

TEST(ServerTurn, HandsALargeReplyToTheSystemInPortions)
{
    asio::io_context loop;
    asio::ip::tcp::acceptor acceptor(loop, {asio::ip::address_v4::loopback(), 0});
    asio::ip::tcp::socket client(loop);
    client.connect(acceptor.local_endpoint());
    asio::ip::tcp::socket accepted = acceptor.accept();
    const int descriptor = accepted.native_handle();
    const auto owner = std::make_shared<COwner>([] {});
    const auto connection = std::make_shared<ServerConnectionC>(
        std::move(accepted), 1, owner, std::make_shared<GradualDisposerC>(loop));
    const std::string reply(std::size_t{4} << 20U, 'x');
    ASSERT_TRUE(connection->Queue(reply.data(), reply.size()));
    connection->SendQueued();
    int onTheWay = 0;
    ASSERT_EQ(0, ::ioctl(descriptor, SIOCOUTQ, &onTheWay));
    const std::size_t taken = static_cast<std::size_t>(onTheWay) + client.available();
    EXPECT_LT(0U, taken);
    // What has come and is not acknowledged counts twice.
    EXPECT_LE(taken, 2 * OutgoingBytesC::kPortion);
    std::string received(reply.size(), ' ');
    std::size_t count = 0;
    while (count < received.size()) {
        loop.poll();
        loop.restart();
        asio::error_code error;
        count += client.read_some(asio::buffer(received) + count, error);
        ASSERT_FALSE(error);
    }
    EXPECT_EQ(reply, received);
    connection->Close(true);
}

TEST(ServerTurn, OfManyWhoAskAtOnceIsNotOneForAllOfThem)
{
    constexpr int many = 100;
    asio::io_context loop;
    CCalculatingService service(loop);
    const auto clients = Connected(loop, service, many);
    for (const auto& client : clients) {
        client->Send(Request(1, "a", "\x90"));
    }
    EXPECT_LE(MostBetweenTwoLooks(loop, service.served, many), 20);
    for (const auto& client : clients) {
        EXPECT_EQ(1U, client->Read().number);
    }
}

TEST(ServerTurn, OfManyWhoseUnfinishedMessagesDoNotGrowIsNotOneForAllOfThem)
{
    constexpr int many = 300;
    asio::io_context loop;
    MPIServerLimitsC limits;
    limits.unfinished = 500ms;
    CCalculatingService service(loop, limits);
    const auto clients = Connected(loop, service, many);
    for (const auto& client : clients) {
        client->Send("\x94");
    }
    EXPECT_LE(MostBetweenTwoLooks(loop, service.dropped, many), 64);
    EXPECT_EQ(0U, service.Server().ClientCount());
}

TEST(ServerTurn, EndsOnceItsProcessorTimeIsUsed)
{
    const auto owner = Served(kThreeRequests, Calculate);
    EXPECT_EQ(1, owner->served);
    EXPECT_EQ(1, owner->turnsWanted);
    EXPECT_EQ(0, owner->ended);
}
