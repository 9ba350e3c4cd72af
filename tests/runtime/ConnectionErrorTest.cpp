#include "platform/LinkError.h"

#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/MPISocketClient.h"
#include "tests/runtime/ConnectionCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/DescriptorHog.h"
#include "tests/support/RawPeer.h"

using Bytes::FromHex;

namespace {

struct ErrorRow
{
    const char* what;
    ELinkError code;
    std::function<void(CRawLink&, const CRawMessage&)> answer;
};

const ErrorRow kRows[] = {
    {"a value", ELinkError::None,
     [](CRawLink& link, const CRawMessage& request) { link.Reply(request, "\x07"); }},
    {"nothing", ELinkError::NoValue,
     [](CRawLink& link, const CRawMessage& request) { link.Reply(request, "\xc0"); }},
    {"an error", ELinkError::ServiceError,
     [](CRawLink& link, const CRawMessage& request) {
         link.Send(FromHex("94 01 cf") + Bytes::BigEndian(request.number, 8) +
                   Bytes::FixStr("no line") + '\xc0');
     }},
    {"an error that is no text", ELinkError::ServiceError,
     [](CRawLink& link, const CRawMessage& request) {
         link.Send(FromHex("94 01 cf") + Bytes::BigEndian(request.number, 8) + FromHex("92 05 06") +
                   '\xc0');
     }},
    {"an error beside a value", ELinkError::ServiceError,
     [](CRawLink& link, const CRawMessage& request) {
         link.Send(FromHex("94 01 cf") + Bytes::BigEndian(request.number, 8) +
                   Bytes::FixStr("no line") + '\x07');
     }},
    {"silence", ELinkError::TimedOut,
     [](CRawLink& link, const CRawMessage&) { link.WaitForEnd(); }},
    {"an end", ELinkError::Closed, [](CRawLink&, const CRawMessage&) {}},
    {"a reset", ELinkError::Closed, [](CRawLink& link, const CRawMessage&) { link.Reset(); }},
    {"half a reply and an end", ELinkError::Closed,
     [](CRawLink& link, const CRawMessage&) { link.Send(FromHex("94 01")); }},
    {"bytes that are no message", ELinkError::BadMessage,
     [](CRawLink& link, const CRawMessage&) {
         link.Send("\xc1");
         link.WaitForEnd();
     }},
    {"an extension", ELinkError::BadMessage,
     [](CRawLink& link, const CRawMessage& request) {
         link.Reply(request, FromHex("d4 01 00"));
         link.WaitForEnd();
     }},
};

std::unique_ptr<BElementC> CallAgainst(const ErrorRow& row, MPISocketClientC& client)
{
    CRawPeer peer(
        [&](CRawLink& link) {
            row.answer(link, link.Read());
            if (row.code == ELinkError::None || row.code == ELinkError::NoValue ||
                row.code == ELinkError::ServiceError) {
                link.WaitForEnd();
            }
        },
        0);
    EXPECT_TRUE(client.Connect(kHost, peer.Port(), -1)) << row.what;
    client.SetTimeout(row.code == ELinkError::TimedOut ? 30 : 10000);
    return std::unique_ptr<BElementC>(client.CallMethod("a", nullptr));
}

} // namespace

TEST(LinkError, TellsWhyACallHasFailed)
{
    for (const ErrorRow& row : kRows) {
        MPISocketClientC client(false);
        const auto reply = CallAgainst(row, client);
        EXPECT_EQ(row.code, client.LastError().code) << row.what << ": " << client.LastError().text;
        EXPECT_EQ(row.code == ELinkError::None, reply != nullptr) << row.what;
        EXPECT_EQ(row.code == ELinkError::None, client.LastError().text.empty()) << row.what;
    }
}

TEST(LinkError, CarriesTheTextOfTheService)
{
    MPISocketClientC client(false);
    CallAgainst(kRows[2], client);
    EXPECT_NE(std::string::npos, client.LastError().text.find("no line"));
}

TEST(LinkError, ClosesAfterABadMessageAndAfterAnEnd)
{
    for (const ErrorRow& row : kRows) {
        MPISocketClientC client(false);
        const auto reply = CallAgainst(row, client);
        if (row.code == ELinkError::Closed || row.code == ELinkError::BadMessage) {
            EXPECT_EQ(-1, client.Descriptor()) << row.what;
        }
    }
}

TEST(LinkError, IsNotConnectedWithoutAConnection)
{
    MPISocketClientC client(false);
    EXPECT_EQ(ELinkError::None, client.LastError().code);
    EXPECT_EQ(nullptr, client.CallMethod("a", nullptr));
    EXPECT_EQ(ELinkError::NotConnected, client.LastError().code);
    EXPECT_FALSE(client.SendNotification("a", nullptr));
    EXPECT_EQ(ELinkError::NotConnected, client.LastError().code);
}

TEST(LinkError, IsRefusedWhenNobodyListens)
{
    const std::uint16_t freePort = CRawPeer([](CRawLink&) {}, 0).Port();
    MPISocketClientC client(false);
    EXPECT_FALSE(client.Connect(kHost, freePort, -1));
    EXPECT_EQ(ELinkError::Refused, client.LastError().code) << client.LastError().text;
    EXPECT_NE("", client.LastError().text);
}

TEST(LinkError, IsRefusedForAHostThatDoesNotExist)
{
    MPISocketClientC client(false);
    EXPECT_FALSE(client.Connect("no-such-host.invalid", 5010, 200));
    EXPECT_EQ(ELinkError::Refused, client.LastError().code) << client.LastError().text;
}

TEST(LinkError, IsTheSystemsWhenNoDescriptorIsLeft)
{
    CRawPeer peer([](CRawLink& link) { link.WaitForEnd(); }, 0);
    const std::uint16_t port = peer.Port();
    MPISocketClientC client(false);
    // The sanitizer looks at an object's type through a pipe of its own, once: before none is left.
    EXPECT_FALSE(client.Connect(kHost, 1, 100));
    {
        const CDescriptorHog hog;
        EXPECT_FALSE(client.Connect(kHost, port, -1));
        EXPECT_EQ(ELinkError::System, client.LastError().code) << client.LastError().text;
    }
    EXPECT_TRUE(client.Connect(kHost, port, -1));
    EXPECT_EQ(ELinkError::None, client.LastError().code);
}

TEST(LinkError, IsForgottenByTheNextCallThatSucceeds)
{
    CRawPeer peer(
        [](CRawLink& link) {
            link.Reply(link.Read(), "\xc0");
            link.Reply(link.Read(), "\x07");
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    const std::unique_ptr<BElementC> first(client.CallMethod("a", nullptr));
    EXPECT_EQ(ELinkError::NoValue, client.LastError().code);
    const std::unique_ptr<BElementC> second(client.CallMethod("a", nullptr));
    EXPECT_EQ(ELinkError::None, client.LastError().code);
    EXPECT_EQ("", client.LastError().text);
}
