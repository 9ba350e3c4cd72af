#include <algorithm>
#include <ctime>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <netinet/in.h>
#include <pthread.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include "tests/runtime/MessageLimits.h"
#include "tests/runtime/RunningService.h"
#include "tests/support/Bytes.h"
#include "tests/support/DescriptorHog.h"
#include "tests/support/RawClient.h"

using Bytes::Notification;
using Bytes::Request;
using Bytes::Subscription;

namespace {

void PushText(MPISocketServerC& server, std::size_t size)
{
    BListC payload(nullptr);
    payload.AddString(std::string(size, 'x'));
    server.Push("ev", payload);
}

void PushNumber(MPISocketServerC& server, int number)
{
    BListC payload(nullptr);
    payload.AddInt(number);
    server.Push("ev", payload);
}

/// So many clients that are subscribed to "ev".
std::vector<std::unique_ptr<CRawClient>> Subscribers(CRunningService& service, std::size_t count)
{
    std::vector<std::unique_ptr<CRawClient>> clients;
    while (clients.size() < count) {
        clients.push_back(std::make_unique<CRawClient>(service.Port()));
        clients.back()->Send(Subscription("ev"));
        Settle(*clients.back());
    }
    return clients;
}

/// A service that stands still at the first notification "n" until it knows that a question "q"
/// has been sent too, so that the bytes of all clients lie ready from there on.
class CFloodedService : public CRunningService
{
public:
    CFloodedService()
    {
        On("n", [this](auto&, auto, auto) {
            if (++m_flooded == 1) {
                m_hasAsked.get_future().wait();
            }
        });
        On("q", [this](auto& server, auto client, auto number) {
            m_beforeTheQuestion = m_flooded;
            server.Reply(client, number, nullptr);
        });
    }
    ~CFloodedService() override { Stop(); }

    /// Asks the question, lets the service go on, and waits for the answer.
    ///
    /// @return how many notifications were taken before the question.
    int FloodedBeforeAQuestionOf(CRawClient& asker)
    {
        asker.Send(Request(1, "q", "\x90"));
        m_hasAsked.set_value();
        EXPECT_EQ(1U, asker.Read().number);
        return m_beforeTheQuestion;
    }

private:
    std::promise<void> m_hasAsked;
    int m_flooded = 0;
    int m_beforeTheQuestion = 0;
};

std::string Notifications(int count)
{
    std::string packet;
    for (; count > 0; --count) {
        packet += Notification("n", "\x90");
    }
    return packet;
}

bool HasNotes(const CRunningService& service, const std::string& start, int count)
{
    const std::vector<std::string> notes = service.Notes();
    return std::count_if(notes.begin(), notes.end(), [&](const std::string& note) {
               return note.rfind(start, 0) == 0;
           }) >= count;
}

/// The processor time that a thread has used, in milliseconds.
double ProcessorTime(std::thread& thread)
{
    clockid_t clock = 0;
    ::pthread_getcpuclockid(thread.native_handle(), &clock);
    timespec time = {};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

} // namespace

TEST(ServerFlood, DisconnectsAClientThatDoesNotReadAndServesTheOthers)
{
    CRunningService service;
    CRawClient slow(service.Port());
    CRawClient other(service.Port());
    slow.Send(Subscription("ev"));
    Settle(slow);
    int pushed = 0;
    for (; service.ClientCount() == 2 && pushed < 64; ++pushed) {
        service.OnLoop([](MPISocketServerC& server) { PushText(server, kMebibyte); });
        Settle(other);
    }
    EXPECT_TRUE(service.WaitForNotes("dropped 1 too much is waiting"));
    EXPECT_TRUE(service.WaitForNotes("disconnected 1 too much is waiting"));
    EXPECT_GE(pushed, 8);
    EXPECT_LE(pushed, 32); // the limit, and what the system's buffers take
    Settle(other);
}

TEST(ServerFlood, DeliversMoreThanTheLimitToAClientThatReads)
{
    CRunningService service;
    CRawClient reader(service.Port());
    reader.Send(Subscription("ev"));
    Settle(reader);
    for (int round = 0; round < 24; ++round) {
        service.OnLoop([](MPISocketServerC& server) { PushText(server, kMebibyte); });
        ASSERT_LT(kMebibyte, reader.Read().bytes.size()) << round;
    }
}

TEST(ServerFlood, SharesTheLoopBetweenAClientThatFloodsAndOneThatAsks)
{
    CFloodedService service;
    CRawClient flooder(service.Port());
    CRawClient asker(service.Port());
    flooder.Send(Notifications(10000));
    EXPECT_TRUE(service.WaitForNotes("notification n"));
    EXPECT_LE(service.FloodedBeforeAQuestionOf(asker), 1000);
    EXPECT_TRUE(service.WaitForNotes("notification n", 10000));
}

TEST(ServerFlood, LooksAtTheOthersWhileAnEventGoesToManySubscribers)
{
    constexpr std::size_t subscribers = 300;
    CRunningService service;
    const auto clients = Subscribers(service, subscribers);
    CRawClient asker(service.Port());
    Settle(asker);
    std::size_t reached = 0;
    service.On("q", [&](auto& server, auto client, auto number) {
        reached = static_cast<std::size_t>(
            std::count_if(clients.begin(), clients.end(),
                          [](const auto& subscriber) { return subscriber->HasInput(0); }));
        server.Reply(client, number, nullptr);
    });
    service.OnLoop([&](MPISocketServerC& server) {
        PushText(server, kMebibyte / 4);
        asker.Send(Request(1, "q", "\x90"));
    });
    EXPECT_EQ(1U, asker.Read().number);
    EXPECT_LE(reached, subscribers / 2);
    for (const auto& subscriber : clients) {
        EXPECT_LT(kMebibyte / 4, subscriber->Read().bytes.size());
    }
}

TEST(ServerFlood, CopiesAnEventForManySubscribersInTurns)
{
    constexpr std::size_t subscribers = 300;
    CRunningService service;
    const auto clients = Subscribers(service, subscribers);
    std::size_t before = 0;
    std::size_t after = 0;
    service.OnLoop([&](MPISocketServerC& server) {
        before = server.HeldBytes();
        PushText(server, kMebibyte / 4);
        after = server.HeldBytes();
    });
    EXPECT_EQ(before, after);
    for (const auto& subscriber : clients) {
        EXPECT_LT(kMebibyte / 4, subscriber->Read().bytes.size());
    }
}

TEST(ServerFlood, TellsWhatHappenedInItsOrderHoweverManyAreTold)
{
    CRunningService service;
    const auto others = Subscribers(service, 300);
    CRawClient client(service.Port());
    client.Send(Subscription("ev"));
    Settle(client);
    service.On("q", [&](MPISocketServerC& server, ClientNumber number, std::uint64_t request) {
        PushNumber(server, 1);
        server.Reply(number, request, nullptr);
        PushNumber(server, 2);
        PushNumber(server, 3);
        server.Disconnect(number, "enough");
        PushNumber(server, 4);
    });
    client.Send(Request(7, "q", "\x90"));
    for (const char* const text :
         {R"([2,"ev",[1]])", "[1,7,null,null]", R"([2,"ev",[2]])", R"([2,"ev",[3]])"}) {
        EXPECT_EQ(text, client.Read().text);
    }
    EXPECT_EQ(0, client.WaitForEnd());
    for (const auto& other : others) {
        for (int number = 1; number <= 4; ++number) {
            EXPECT_EQ("[2,\"ev\",[" + std::to_string(number) + "]]", other->Read().text);
        }
    }
}

TEST(ServerFlood, TellsANewSubscriberOnlyWhatHappensAfterIt)
{
    CRunningService service;
    CRawClient client(service.Port());
    service.On("q", [&](MPISocketServerC& server, ClientNumber number, std::uint64_t request) {
        PushNumber(server, 1);
        server.Reply(number, request, nullptr);
    });
    service.On("subscribed", [&](MPISocketServerC& server, ClientNumber, std::uint64_t) {
        PushNumber(server, 2);
    });
    client.Send(Request(7, "q", "\x90") + Subscription("ev"));
    EXPECT_EQ("[1,7,null,null]", client.Read().text);
    EXPECT_EQ(R"([2,"ev",[2]])", client.Read().text);
}

TEST(ServerFlood, TakesAndServesANewClientWhileManyFlood)
{
    CFloodedService service;
    const std::uint16_t port = service.Port();
    const int messages = 3000;
    std::vector<std::unique_ptr<CRawClient>> flooders;
    for (int count = 0; count < 70; ++count) {
        flooders.push_back(std::make_unique<CRawClient>(port));
    }
    for (const auto& flooder : flooders) {
        flooder->Send(Notifications(messages));
    }
    CRawClient asker(port);
    const int floodedBeforeTheQuestion = service.FloodedBeforeAQuestionOf(asker);
    EXPECT_LT(floodedBeforeTheQuestion, messages * static_cast<int>(flooders.size()) / 2);
    EXPECT_LT(0, floodedBeforeTheQuestion);
}

TEST(ServerFlood, WaitsInsteadOfSpinningWhenNoDescriptorIsLeft)
{
    CRunningService service;
    const std::uint16_t port = service.Port();
    CRawClient client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    {
        const CDescriptorHog hog;
        const double before = ProcessorTime(service.Thread());
        ASSERT_EQ(0, ::connect(client.Descriptor(), reinterpret_cast<sockaddr*>(&address),
                               sizeof(address)));
        client.Send(Request(1, "a", "\x90"));
        EXPECT_FALSE(client.HasInput(400));
        EXPECT_LT(ProcessorTime(service.Thread()) - before, 100.0);
    }
    EXPECT_EQ("[1,1,null,1]", client.Read().text);
    EXPECT_TRUE(service.WaitForNotes("connections wait: Too many open files"));
    EXPECT_FALSE(HasNotes(service, "connections wait", 2)); // it has tried several times
}
