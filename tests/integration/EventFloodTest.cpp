#include <malloc.h>

#include <functional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "testing/ScriptedService.h"
#include "tests/integration/EventClient.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"

using Kestrove::Testing::CAnswer;
using Kestrove::Testing::CScriptedService;

namespace {

constexpr int kFlood = 30'000;
constexpr int kKept = 4096;

/// Sends numbered offsets to a client that waits for its reply, and then the reply.
void FloodBeforeReply(CScriptedService& service)
{
    EXPECT_TRUE(service.WaitForCalls("EngageSteering", 1));
    for (int number = 1; number <= kFlood;) {
        std::string bytes;
        for (const int next = number + 1000; number < next; ++number) {
            bytes += Bytes::Notification("cb_offsets", '\x91' + Bytes::Float64(number));
        }
        service.SendBytes(bytes);
    }
    service.ReleaseHeld();
}

} // namespace

TEST(EventFlood, OfAnApplicationThatDoesNotReadIsBoundedCountedAndLeavesTheLinkAlive)
{
    CScriptedService service;
    service.Answer("EngageSteering", CAnswer(1).Held());
    CEventClient client;
    client.TakeOffsets();
    ASSERT_TRUE(service.WaitForSubscriptions("cb_offsets", 1));
    const CAllocationMeter meter;
    client.SetTimeout(-1);
    std::thread flood(FloodBeforeReply, std::ref(service));
    EXPECT_EQ(1, client.EngageSteering()); // takes in all of it on the way to its reply
    flood.join();
    EXPECT_LE(meter.LargestBlock(), std::size_t{512} * 1024);
    EXPECT_EQ(static_cast<unsigned long>(kFlood - kKept), client.DroppedEvents());
    EXPECT_EQ(kKept, client.CheckCallbacks());
    EXPECT_EQ("offset " + std::to_string(kFlood - kKept + 1), client.Calls().front());
    EXPECT_EQ("offset 30000", client.Calls().back());
    EXPECT_EQ(1U, service.AcceptedCount());
}

TEST(EventFlood, LosesNothingOfAnApplicationThatReads)
{
    CScriptedService service;
    CEventClient client;
    client.TakeOffsets();
    ASSERT_TRUE(service.WaitForSubscriptions("cb_offsets", 1));
    for (int number = 1; number <= 4000; ++number) {
        service.Push("cb_offsets", {static_cast<double>(number)});
        client.CheckCallbacks();
    }
    ASSERT_TRUE(client.ProcessUntil(4000));
    EXPECT_EQ("offset 4000", client.Calls().back());
    EXPECT_EQ(0U, client.DroppedEvents());
}
