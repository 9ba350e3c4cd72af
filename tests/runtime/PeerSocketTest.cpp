// How much a peer on the same machine has not read.

#include <string>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>
#include <gtest/gtest.h>

#include "simulator/http/UnreadBytes.h"
#include "tests/simulator/http/RunningPage.h"

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

class UnreadBytes : public testing::TestWithParam<const char*>
{
};

TEST_P(UnreadBytes, AreThoseThatThePeerHasNotRead)
{
    Ends ends(asio::ip::make_address(GetParam()));
    CUnreadBytes unread;
    ASSERT_EQ(0u, unread.Of(ends.own));

    asio::write(ends.own, asio::buffer(std::string(5000, 'x')));
    EXPECT_TRUE(WaitUntil([&] { return unread.Of(ends.own) == 5000u; }));
    std::string some(2000, ' ');
    asio::read(ends.peer, asio::buffer(some));

    EXPECT_EQ(3000u, unread.Of(ends.own));
    EXPECT_EQ(0u, CUnreadBytes().Of(ends.peer)) << "the other way nothing has been sent";
}

INSTANTIATE_TEST_SUITE_P(OfBothKinds, UnreadBytes, testing::Values("127.0.0.1", "::1"));

TEST(UnreadBytesOf, AreNotToldOfAConnectionThatIsClosed)
{
    Ends ends(asio::ip::address_v4::loopback());
    CUnreadBytes unread;
    ends.own.close();

    EXPECT_EQ(std::nullopt, unread.Of(ends.own));
}

} // namespace
