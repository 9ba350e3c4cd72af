// Requests whose work ends later: what waits behind them, what overtakes, and what becomes of both.

#include "runtime/MPISocketServer.h"

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/runtime/MessageLimits.h"
#include "tests/runtime/RunningService.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawClient.h"

using Bytes::FromHex;
using Bytes::Notification;
using Bytes::Request;
using Bytes::Requests;
using Bytes::Subscription;
using testing::Contains;
using testing::Not;

namespace {

/// A service that holds what is called "long" until it is let go, and lets "urgent" overtake.
class CHoldingService : public CRunningService
{
public:
    CHoldingService()
    {
        On("long", [this](MPISocketServerC& server, ClientNumber client, std::uint64_t number) {
            m_held.push_back({client, number, server.Hold(client)});
        });
    }

    ~CHoldingService() override { Stop(); }

    /// Answers the held requests and ends their holding, the first first.
    void LetGo()
    {
        OnLoop([this](MPISocketServerC& server) {
            const std::vector<Held> held = std::move(m_held);
            m_held.clear();
            for (const Held& request : held) {
                const BAtomC size(request.arguments->Size());
                server.Reply(request.client, request.number, &size);
                server.Release(request.client);
            }
        });
    }

    bool Overtakes(const std::string& name) override { return name == "urgent"; }

private:
    struct Held
    {
        ClientNumber client;
        std::uint64_t number;
        std::unique_ptr<BListC> arguments;
    };

    std::vector<Held> m_held; // on the loop's thread
};

/// Waits until everything that the client has sent so far has been read, by what overtakes.
void SettleUrgently(CRawClient& client)
{
    client.Send(Request(99, "urgent", "\x90"));
    ASSERT_EQ(99U, client.Read().number);
}

} // namespace

TEST(HeldRequest, KeepsItsArgumentsAndTheOrderOfTheRepliesBehindIt)
{
    CHoldingService service;
    CRawClient client(service.Port());
    client.Send(Request(1, "long", FromHex("93 01 02 03")) + Request(2, "a", "\x90") +
                Request(3, "long", FromHex("92 01 02")) + Request(4, "b", "\x90"));
    SettleUrgently(client);
    EXPECT_THAT(service.Notes(), Not(Contains("request a of 0")));
    service.LetGo();
    EXPECT_EQ("[1,1,null,3]", client.Read().text);
    EXPECT_EQ("[1,2,null,1]", client.Read().text);
    ASSERT_TRUE(service.WaitForNotes("request long", 2));
    service.LetGo();
    EXPECT_EQ("[1,3,null,2]", client.Read().text);
    EXPECT_EQ("[1,4,null,1]", client.Read().text);
}

TEST(HeldRequest, HasNotificationsAndSubscriptionsWaitToo)
{
    CHoldingService service;
    CRawClient client(service.Port());
    client.Send(Request(1, "long", "\x90") + Notification("a", "\x90") + Subscription("event") +
                Notification("b", "\x90"));
    SettleUrgently(client);
    EXPECT_EQ("request urgent of 0", service.Notes().back());
    service.LetGo();
    ASSERT_TRUE(service.WaitForNotes("notification b"));
    const std::vector<std::string> notes = service.Notes();
    EXPECT_EQ((std::vector<std::string>{"notification a of 0", "subscribed event",
                                        "notification b of 0"}),
              std::vector<std::string>(notes.end() - 3, notes.end()));
}

TEST(HeldRequest, HoldsUpNobodyElse)
{
    CHoldingService service;
    CRawClient holder(service.Port());
    CRawClient other(service.Port());
    holder.Send(Request(1, "long", "\x90"));
    ASSERT_TRUE(service.WaitForNotes("request long"));
    other.Send(Request(7, "a", "\x90"));
    EXPECT_EQ("[1,7,null,1]", other.Read().text);
}

TEST(HeldRequest, LetsWhatIsUrgentOvertakeThroughTwentyThousandWaitingMessages)
{
    CHoldingService service;
    CRawClient client(service.Port());
    client.Send(Request(1, "long", "\x90") + Requests(2, 20'000, "a"));
    SettleUrgently(client);
    service.LetGo();
    for (std::uint64_t number = 1; number <= 20'000; ++number) {
        ASSERT_EQ(number, client.Read().number);
    }
}

TEST(HeldRequest, KnowsTheOrderOfArrivalOfWhatOvertakesAndWhatWaits)
{
    CHoldingService service;
    std::vector<std::uint64_t> arrivals;
    for (const char* name : {"a", "urgent", "b"}) {
        service.On(name, [&](MPISocketServerC& server, ClientNumber client, std::uint64_t number) {
            arrivals.push_back(server.Arrival());
            server.Reply(client, number, nullptr);
        });
    }
    CRawClient client(service.Port());
    client.Send(Request(1, "long", "\x90") + Request(2, "a", "\x90"));
    SettleUrgently(client);
    client.Send(Request(3, "b", "\x90"));
    SettleUrgently(client);
    service.LetGo();
    for (const std::uint64_t number : {1U, 2U, 3U}) {
        ASSERT_EQ(number, client.Read().number);
    }
    std::vector<std::uint64_t> seen;
    service.OnLoop([&](MPISocketServerC&) { seen = arrivals; });
    ASSERT_EQ(4U, seen.size());
    // urgent, urgent, a, b as they were served; as they arrived: a, urgent, b, urgent.
    EXPECT_LT(seen[2], seen[0]);
    EXPECT_LT(seen[0], seen[3]);
    EXPECT_LT(seen[3], seen[1]);
}

TEST(HeldRequest, LosesNothingOfAFloodThatExceedsWhatMayWait)
{
    CHoldingService service;
    CRawClient client(service.Port());
    const std::uint64_t last = 2400;
    const std::string text = FromHex("91 da ff ff") + std::string(0xffff, 'x');
    const std::string packet = Request(1, "long", "\x90") + Requests(2, last, "a", text);
    ASSERT_GT(packet.size(), 144 * kMebibyte);
    std::thread sender([&] { client.Send(packet); });
    const bool isFull = service.WaitForHeld(128 * kMebibyte, 129 * kMebibyte);
    service.LetGo();
    for (std::uint64_t number = 1; number <= last; ++number) {
        EXPECT_EQ(number, client.Read().number);
    }
    sender.join();
    EXPECT_TRUE(isFull);
}

TEST(HeldRequest, OfAClientThatGoesIsForgottenWithWhatWaitsBehindIt)
{
    CHoldingService service;
    {
        CRawClient client(service.Port());
        client.Send(Request(1, "long", "\x90") + Request(2, "a", "\x90"));
        ASSERT_TRUE(service.WaitForNotes("request long"));
    }
    ASSERT_TRUE(service.WaitForNotes("disconnected"));
    service.LetGo();
    EXPECT_EQ(0U, service.ClientCount());
    EXPECT_THAT(service.Notes(), Not(Contains("request a of 0")));
}
