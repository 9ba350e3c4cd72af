// Clients that shut their sending side: what they sent whole is served and answered, and then the
// connection ends.

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <sys/socket.h>

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

/// A service that holds what is called "long" until it is let go, and answers "large" with a
/// mebibyte.
class CSlowService : public CRunningService
{
public:
    explicit CSlowService(const MPIServerLimitsC& limits = {})
        : CRunningService(EListenOn::Both, limits)
    {
        On("long", [this](MPISocketServerC& server, ClientNumber client, std::uint64_t number) {
            server.Hold(client);
            m_held.emplace_back(client, number);
        });
        On("large", [](MPISocketServerC& server, ClientNumber client, std::uint64_t number) {
            server.ReplyWritten(client, number,
                                std::make_shared<const std::string>(FromHex("db 00 10 00 00") +
                                                                    std::string(kMebibyte, 'x')));
        });
    }

    ~CSlowService() override { Stop(); }

    /// Answers the held requests and ends their holding.
    void LetGo()
    {
        OnLoop([this](MPISocketServerC& server) {
            for (const auto& [client, number] : std::exchange(m_held, {})) {
                server.Reply(client, number, nullptr);
                server.Release(client);
            }
        });
    }

    /// Has the loop look at its connections until it has seen all that has come to them.
    void Look()
    {
        for (int times = 0; times < 20; ++times) {
            OnLoop([](MPISocketServerC&) {});
        }
    }

private:
    std::vector<std::pair<ClientNumber, std::uint64_t>> m_held; // on the loop's thread
};

void CloseWithReset(std::unique_ptr<CRawClient>& client)
{
    const linger atOnce = {1, 0};
    ASSERT_EQ(0, ::setsockopt(client->Descriptor(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce));
    client.reset();
}

} // namespace

TEST(ServerEnding, AnswersAllThatCameWholeWhereverTheClientStopsSending)
{
    CSlowService service;
    const std::vector<std::string> messages = {
        Request(1, "a", "\x90"),    Request(2, "long", FromHex("92 01 02")),
        Notification("n", "\x90"),  Request(3, "a", FromHex("91 a3 78 79 7a")),
        Request(4, "long", "\x90"), Request(5, "a", "\x90")};
    std::string packet;
    std::vector<std::size_t> ends;
    for (const std::string& message : messages) {
        packet += message;
        ends.push_back(packet.size());
    }
    for (std::size_t count = 0; count <= packet.size(); ++count) {
        SCOPED_TRACE(count);
        CRawClient client(service.Port());
        client.Send(packet.substr(0, count));
        client.EndSending();
        service.Look();
        std::uint64_t number = 0;
        for (std::size_t index = 0; index < messages.size() && ends[index] <= count; ++index) {
            number += index == 2 ? 0 : 1;
            if (index == 1 || index == 4) {
                service.Look();
                ASSERT_FALSE(client.HasInput(0));
                service.LetGo();
            }
            if (index != 2) {
                ASSERT_EQ(number, client.Read().number);
            }
        }
        EXPECT_EQ(0, client.WaitForEnd());
    }
    EXPECT_TRUE(service.WaitForNotes("disconnected", packet.size() + 1));
}

TEST(ServerEnding, SendsTheRepliesThatTheClientReadsLater)
{
    CSlowService service;
    CRawClient client(service.Port());
    client.Send(Requests(1, 7, "large"));
    client.EndSending();
    ASSERT_TRUE(service.WaitForNotes("request large", 7));
    service.Look();
    EXPECT_EQ(1U, service.ClientCount());
    for (std::uint64_t number = 1; number <= 7; ++number) {
        ASSERT_EQ(number, client.Read().number);
    }
    EXPECT_EQ(0, client.WaitForEnd());
    EXPECT_TRUE(service.WaitForNotes("disconnected 1 closed by the client"));
}

TEST(ServerEnding, SendsNoMoreEvents)
{
    CSlowService service;
    CRawClient client(service.Port());
    client.Send(Subscription("ev") + Request(1, "long", "\x90") + Subscription("other"));
    client.EndSending();
    ASSERT_TRUE(service.WaitForNotes("request long"));
    service.Look();
    const auto push = [](MPISocketServerC& server) {
        server.Push("ev", BListC(nullptr));
        server.Push("other", BListC(nullptr));
    };
    service.OnLoop(push);
    service.LetGo();
    service.OnLoop(push);
    EXPECT_EQ("[1,1,null,null]", client.Read().text);
    EXPECT_EQ(0, client.WaitForEnd());
}

TEST(ServerEnding, ForgetsAClientThatGoesAfterItHasStoppedSending)
{
    CSlowService service;
    auto client = std::make_unique<CRawClient>(service.Port());
    client->Send(Request(1, "long", "\x90") + Request(2, "a", "\x90"));
    client->EndSending();
    ASSERT_TRUE(service.WaitForNotes("request long"));
    service.Look();
    client.reset();
    service.LetGo();
    EXPECT_TRUE(service.WaitForNotes("disconnected 1 closed by the client"));
    EXPECT_THAT(service.Notes(), Not(Contains("request a of 0")));
}

TEST(ServerEnding, NoticesAResetAlthoughNothingIsToBeSent)
{
    CSlowService service;
    auto client = std::make_unique<CRawClient>(service.Port());
    client->Send(Request(1, "long", "\x90"));
    client->EndSending();
    ASSERT_TRUE(service.WaitForNotes("request long"));
    service.Look();
    EXPECT_EQ(1U, service.ClientCount());
    CloseWithReset(client);
    EXPECT_TRUE(service.WaitForNotes("disconnected 1 closed by the client"));
}

TEST(ServerEnding, WaitsForWorkButNotWithoutEndForAClientThatTakesNothing)
{
    MPIServerLimitsC limits;
    limits.unfinished = std::chrono::milliseconds(100);
    CSlowService service(limits);
    CRawClient worker(service.Port());
    worker.Send(Request(1, "long", "\x90"));
    worker.EndSending();
    ASSERT_TRUE(service.WaitForNotes("request long"));
    CRawClient client(service.Port());
    client.Send(Requests(1, 7, "large"));
    client.EndSending();
    EXPECT_TRUE(service.WaitForNotes("dropped 2 the last replies were not taken for 0 s"));
    EXPECT_EQ(ECONNRESET, client.WaitForEnd());
    service.LetGo();
    EXPECT_EQ(1U, worker.Read().number);
    EXPECT_EQ(0, worker.WaitForEnd());
}

TEST(ServerEnding, HoldsNothingOfWhatIsLeftUnfinished)
{
    CSlowService service;
    CRawClient client(service.Port());
    client.Send(Request(1, "long", "\x90") + FromHex("94 00 02 a1 78 91 db 00 40 00 00") +
                std::string(2 * kMebibyte, 'x'));
    ASSERT_TRUE(service.WaitForHeld(2 * kMebibyte, 8 * kMebibyte));
    client.EndSending();
    EXPECT_TRUE(service.WaitForHeld(1, kMebibyte));
    service.LetGo();
    EXPECT_EQ(1U, client.Read().number);
    EXPECT_EQ(0, client.WaitForEnd());
}
