#include <chrono>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/LinkError.h"
#include "platform/MPICallback.h"
#include "platform/MPISocketClient.h"
#include "tests/runtime/MessageLimits.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"

using Bytes::BigEndian;
using Bytes::FromHex;

namespace {

/// Far beyond what a loaded machine takes for such a reply.
constexpr int kTimeoutMilliseconds = 60'000;

class CCounter : public MPICallbackBase
{
public:
    int Callback(BListC* /*payload*/) override { return 1; }
};

std::string ListOf(std::size_t count, char element)
{
    return '\xdd' + BigEndian(count, 4) + std::string(count, element);
}

/// What becomes of a reply, and by how much the client's memory grows meanwhile.
struct Outcome
{
    std::unique_ptr<BElementC> value;
    ELinkError error;
    std::string text;
    std::size_t growth;
};

Outcome CallFor(const std::string& reply)
{
    CRawPeer peer(
        [&](CRawLink& link) {
            const CRawMessage request = link.Read();
            link.Reply(request, reply);
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    client.Connect("127.0.0.1", peer.Port(), kTimeoutMilliseconds);
    client.SetTimeout(kTimeoutMilliseconds);
    const CAllocationMeter meter;
    std::unique_ptr<BElementC> value(client.CallMethod("q", nullptr));
    return {std::move(value), client.LastError().code, client.LastError().text, meter.PeakGrowth()};
}

} // namespace

TEST(ConnectionMemory, IsBoundedForRepliesWhoseValuesTakeTooMuch)
{
    for (const char element : {'\x90', '\x80'}) {
        const Outcome outcome = CallFor(ListOf(4'000'000, element));
        EXPECT_EQ(nullptr, outcome.value);
        EXPECT_EQ(ELinkError::BadMessage, outcome.error);
        EXPECT_EQ("a message whose values take more than 96 MiB", outcome.text);
        EXPECT_LE(outcome.growth, 120 * kMebibyte); // the peer's copies of the reply are among it
    }
}

TEST(ConnectionMemory, HasRoomForAReplyOfFourMillionEmptyTexts)
{
    const Outcome outcome = CallFor(ListOf(4'000'000, '\xa0'));
    const auto* const list = dynamic_cast<const BListC*>(outcome.value.get());
    ASSERT_NE(nullptr, list) << outcome.text;
    EXPECT_EQ(4'000'000, list->Size());
    EXPECT_EQ(EBElementType::String, list->TypeAt(3'999'999));
    EXPECT_LE(outcome.growth, 100 * kMebibyte);
}

TEST(ConnectionMemory, IsBoundedForAFloodOfLargeEvents)
{
    constexpr int events = 6;
    const std::string event = FromHex("93 02 a2 65 76") + ListOf(500'000, '\x90');
    CRawPeer peer(
        [&](CRawLink& link) {
            for (int sent = 0; sent < events; ++sent) {
                link.Send(event);
            }
            link.Reply(link.Read(), "\x07");
            link.WaitForEnd();
        },
        0);
    MPISocketClientC client(false);
    client.RequestCallback("ev", new CCounter);
    client.SetTimeout(kTimeoutMilliseconds);
    const CAllocationMeter meter;
    ASSERT_TRUE(client.Connect("127.0.0.1", peer.Port(), kTimeoutMilliseconds));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (client.DroppedEvents() < events && std::chrono::steady_clock::now() < deadline) {
        client.CheckCallbacks();
    }
    EXPECT_EQ(static_cast<unsigned long>(events), client.DroppedEvents()); // each is over the bound
    EXPECT_LE(meter.PeakGrowth(), 70 * kMebibyte);
}
