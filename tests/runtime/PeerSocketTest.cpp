// What the system knows of the other end of a connection on the same machine.

#include "runtime/PeerSocket.h"

#include <chrono>
#include <cstdint>
#include <fstream>
#include <iomanip>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sstream>
#include <string>
#include <sys/socket.h>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>
#include <gtest/gtest.h>

namespace {

using asio::ip::tcp;

/// Both ends of a connection.
struct Ends
{
    explicit Ends(const asio::ip::address& address)
    {
        tcp::acceptor acceptor(loop, {address, 0});
        peer.connect(acceptor.local_endpoint());
        own = acceptor.accept();
    }

    asio::io_context loop;
    tcp::socket peer{loop};
    tcp::socket own{loop};
};

std::size_t Unread(const tcp::socket& connection)
{
    const auto state = PeerSocketC().Of(connection);
    EXPECT_TRUE(state.has_value());
    return state ? state->unread : ~std::size_t{0};
}

bool IsOpen(const tcp::socket& connection)
{
    const auto state = PeerSocketC().Of(connection);
    return state && state->isOpen;
}

class PeerSocket : public testing::TestWithParam<const char*>
{
};

TEST_P(PeerSocket, ReportsWhatItsProcessHasNotRead)
{
    Ends ends(asio::ip::make_address(GetParam()));
    ASSERT_EQ(0U, Unread(ends.own));

    asio::write(ends.own, asio::buffer(std::string(5000, 'x')));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (Unread(ends.own) != 5000 && std::chrono::steady_clock::now() < deadline) {
    }
    std::string some(2000, ' ');
    asio::read(ends.peer, asio::buffer(some));

    EXPECT_EQ(3000U, Unread(ends.own));
    EXPECT_EQ(0U, Unread(ends.peer)) << "the other way nothing has been sent";
}

TEST_P(PeerSocket, IsOpenUntilItsProcessHasClosedItAndNotOnlyItsSendingSide)
{
    Ends ends(asio::ip::make_address(GetParam()));
    EXPECT_TRUE(IsOpen(ends.own));
    ends.peer.shutdown(tcp::socket::shutdown_send);
    EXPECT_TRUE(IsOpen(ends.own));
    ends.peer.close();
    EXPECT_FALSE(IsOpen(ends.own));
}

TEST_P(PeerSocket, ThatIsClosedAtOnceIsNotOpen)
{
    Ends ends(asio::ip::make_address(GetParam()));
    ends.peer.close();
    EXPECT_FALSE(IsOpen(ends.own));
}

TEST_P(PeerSocket, ThatHasResetTheConnectionIsNotOpen)
{
    Ends ends(asio::ip::make_address(GetParam()));
    ends.peer.set_option(tcp::socket::linger(true, 0));
    ends.peer.close();

    const auto state = PeerSocketC().Of(ends.own);

    ASSERT_TRUE(state.has_value());
    EXPECT_FALSE(state->isOpen);
}

/// Whether the system still knows a socket with this port of its own, of version 4.
bool IsKnown(std::uint16_t port)
{
    std::ostringstream digits;
    digits << ':' << std::uppercase << std::hex << std::setw(4) << std::setfill('0') << port;
    std::ifstream table("/proc/net/tcp");
    for (std::string line; std::getline(table, line);) {
        std::istringstream words(line);
        std::string number;
        std::string address;
        words >> number >> address;
        if (address.size() > 5 && address.substr(address.size() - 5) == digits.str()) {
            return true;
        }
    }
    return false;
}

TEST(PeerSocketOf, APeerThatTheSystemHasForgottenIsNotOpen)
{
    Ends ends(asio::ip::address_v4::loopback());
    const std::uint16_t port = ends.peer.local_endpoint().port();
    // So long it keeps what no process has any more.
    const int seconds = 1;
    ASSERT_EQ(0, ::setsockopt(ends.peer.native_handle(), IPPROTO_TCP, TCP_LINGER2, &seconds,
                              sizeof seconds));
    ends.peer.close();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (IsKnown(port) && std::chrono::steady_clock::now() < deadline) {
    }

    const auto state = PeerSocketC().Of(ends.own);

    ASSERT_TRUE(state.has_value());
    EXPECT_FALSE(state->isOpen);
}

INSTANTIATE_TEST_SUITE_P(OfBothKinds, PeerSocket, testing::Values("127.0.0.1", "::1"));

TEST(PeerSocketOf, AConnectionThatIsClosedIsNotKnown)
{
    Ends ends(asio::ip::address_v4::loopback());
    ends.own.close();
    EXPECT_FALSE(PeerSocketC().Of(ends.own).has_value());
}

} // namespace
