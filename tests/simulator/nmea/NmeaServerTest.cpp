#include "simulator/nmea/NmeaServer.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <asio/connect.hpp>
#include <asio/ip/tcp.hpp>
#include <gtest/gtest.h>

namespace {

using asio::ip::tcp;

/// A server and its readers in one loop, moved on by hand.
class NmeaServer : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ("", m_server.Listen(0)); }

    std::unique_ptr<tcp::socket> Connect()
    {
        const std::size_t before = m_server.Readers();
        auto socket = std::make_unique<tcp::socket>(m_loop);
        socket->connect({asio::ip::address_v4::loopback(), m_server.Port()});
        EXPECT_TRUE(RunUntil([&] { return m_server.Readers() > before; }));
        socket->non_blocking(true);
        return socket;
    }

    bool RunUntil(const std::function<bool()>& condition)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!condition() && std::chrono::steady_clock::now() < deadline) {
            m_loop.restart();
            m_loop.run_for(std::chrono::milliseconds(5));
        }
        return condition();
    }

    /// Takes what has come for a reader.
    static void Take(tcp::socket& socket, std::string& text)
    {
        char bytes[65536];
        asio::error_code error;
        while (!error) {
            text.append(bytes, socket.read_some(asio::buffer(bytes), error));
        }
    }

    asio::io_context m_loop;
    CNmeaServer m_server{m_loop};
};

TEST_F(NmeaServer, SendsAllToEveryReader)
{
    const auto first = Connect();
    m_server.Send("one\r\n");
    const auto second = Connect();
    m_server.Send("two\r\n");
    std::string toFirst;
    std::string toSecond;
    EXPECT_TRUE(RunUntil([&] {
        Take(*first, toFirst);
        Take(*second, toSecond);
        return toFirst.size() == 10 && toSecond.size() == 5;
    }));
    EXPECT_EQ("one\r\ntwo\r\n", toFirst);
    EXPECT_EQ("two\r\n", toSecond);
}

TEST_F(NmeaServer, DropsWhoTakesNothingAndLosesNothingForOthers)
{
    const auto idle = Connect();
    const auto reader = Connect();
    const std::string moment(600, 'x');
    std::string taken;
    std::size_t sent = 0;
    while (m_server.Readers() == 2 && sent < 64 * 1024 * 1024) {
        m_server.Send(moment);
        sent += moment.size();
        ASSERT_TRUE(RunUntil([&] {
            Take(*reader, taken);
            return taken.size() == sent;
        }));
    }
    EXPECT_EQ(1u, m_server.Readers());
    // What waits here, what the system keeps for both sides, and nothing that grows.
    EXPECT_LT(sent, 16u * 1024 * 1024);
    EXPECT_GT(sent, CNmeaServer::kMostWaiting);
}

TEST_F(NmeaServer, SendsWhatHadToWait)
{
    const auto reader = Connect();
    const std::string moment(50'000, 'y');
    std::string taken;
    for (int i = 0; i < 5; ++i) {
        m_server.Send(moment);
    }
    EXPECT_TRUE(RunUntil([&] {
        Take(*reader, taken);
        return taken.size() == 5 * moment.size();
    }));
    EXPECT_EQ(1u, m_server.Readers());
}

TEST_F(NmeaServer, ThrowsAwayWhatAReaderSends)
{
    const auto reader = Connect();
    const std::string noise(100'000, 'z');
    std::size_t sent = 0;
    ASSERT_TRUE(RunUntil([&] {
        asio::error_code error;
        sent += reader->write_some(asio::buffer(noise.data() + sent, noise.size() - sent), error);
        return sent == noise.size();
    }));
    m_server.Send("still\r\n");
    std::string taken;
    EXPECT_TRUE(RunUntil([&] {
        Take(*reader, taken);
        return taken == "still\r\n";
    }));
}

TEST_F(NmeaServer, ForgetsWhoHasGone)
{
    auto reader = Connect();
    reader.reset();
    EXPECT_TRUE(RunUntil([&] {
        m_server.Send("anyone\r\n");
        return m_server.Readers() == 0;
    }));
}

TEST_F(NmeaServer, HasRoomForSoManyAndForTheNextWhenOneGoes)
{
    std::vector<std::unique_ptr<tcp::socket>> readers;
    for (std::size_t i = 0; i < CNmeaServer::kMostReaders; ++i) {
        readers.push_back(Connect());
    }
    tcp::socket late(m_loop);
    late.connect({asio::ip::address_v4::loopback(), m_server.Port()});
    late.non_blocking(true);
    m_server.Send("one\r\n");
    readers.pop_back();
    std::string taken;
    EXPECT_TRUE(RunUntil([&] {
        m_server.Send("two\r\n");
        Take(late, taken);
        return !taken.empty();
    }));
    EXPECT_EQ("two\r\n", taken.substr(0, 5));
    EXPECT_EQ(CNmeaServer::kMostReaders, m_server.Readers());
}

TEST_F(NmeaServer, ListensOnTheLoopbackAddressesAlone)
{
    tcp::socket socket(m_loop);
    asio::error_code error;
    socket.connect({asio::ip::make_address("::1"), m_server.Port()}, error);
    const bool hasV6 = error != asio::error::address_family_not_supported &&
                       error != asio::error_code(EADDRNOTAVAIL, asio::error::get_system_category());
    EXPECT_TRUE(!hasV6 || !error) << error.message();
    CNmeaServer other(m_loop);
    EXPECT_NE(std::string::npos,
              other.Listen(m_server.Port()).find(std::to_string(m_server.Port())));
}

} // namespace
