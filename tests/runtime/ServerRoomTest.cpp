#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <netinet/in.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include "tests/runtime/RunningService.h"
#include "tests/support/Bytes.h"
#include "tests/support/DescriptorHog.h"
#include "tests/support/RawClient.h"

using Bytes::Request;
using Bytes::Subscription;
using std::chrono_literals::operator""h;
using std::chrono_literals::operator""ms;

namespace {

const std::string kTooMany = " there are too many connections";

MPIServerLimitsC Connections(std::size_t most, std::chrono::milliseconds quiet = 1h)
{
    MPIServerLimitsC limits;
    limits.connections = most;
    limits.quiet = quiet;
    return limits;
}

void Ask(CRawClient& client)
{
    client.Send(Request(1, "a", "\x90"));
    EXPECT_EQ("[1,1,null,1]", client.Read().text);
}

void Subscribe(CRawClient& client)
{
    client.Send(Subscription("ev"));
    Ask(client);
}

std::unique_ptr<CRawClient> Connected(CRunningService& service, std::size_t number)
{
    auto client = std::make_unique<CRawClient>(service.Port());
    EXPECT_TRUE(service.WaitForNotes("connected " + std::to_string(number)));
    return client;
}

/// Clients whose sockets are made while there are descriptors.
class CLateClient : public CRawClient
{
public:
    CLateClient() : CRawClient(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}

    void Connect(std::uint16_t port)
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(0,
                  ::connect(Descriptor(), reinterpret_cast<sockaddr*>(&address), sizeof(address)));
    }
};

} // namespace

TEST(ServerRoom, IsMadeByTheOldestThatHasNeverSentAMessage)
{
    CRunningService service(EListenOn::Both, Connections(4));
    const auto asker = Connected(service, 1);
    Ask(*asker);
    const auto silent = Connected(service, 2);
    const auto unfinished = Connected(service, 3);
    unfinished->Send(Request(1, "a", "\x90").substr(0, 3));
    const auto subscriber = Connected(service, 4);
    Subscribe(*subscriber);
    const auto late = Connected(service, 5);
    EXPECT_TRUE(service.WaitForNotes("dropped 2" + kTooMany));
    const auto later = Connected(service, 6);
    EXPECT_TRUE(service.WaitForNotes("dropped 3" + kTooMany));
    for (CRawClient* const client : {asker.get(), subscriber.get(), late.get(), later.get()}) {
        Ask(*client);
    }
    EXPECT_EQ(4U, service.ClientCount());
}

TEST(ServerRoom, IsMadeByWhoHasBeenSilentLongestWhereAllHaveAsked)
{
    CRunningService service(EListenOn::Both, Connections(3, 0ms));
    const auto first = Connected(service, 1);
    const auto second = Connected(service, 2);
    const auto subscriber = Connected(service, 3);
    Subscribe(*subscriber);
    Ask(*second);
    Ask(*first);
    const auto late = Connected(service, 4);
    EXPECT_TRUE(service.WaitForNotes("dropped 2" + kTooMany));
    Ask(*first);
    Ask(*subscriber);
}

TEST(ServerRoom, IsNotMadeByOneWhoseFirstMessageWaitsToBeRead)
{
    const std::string message = Request(1, "a", "\x90");
    for (const std::size_t begun : {0U, 3U}) { // bytes that the others send
        CRunningService service(EListenOn::Both, Connections(2));
        const std::uint16_t port = service.Port();
        std::unique_ptr<CRawClient> asker;
        std::vector<std::unique_ptr<CRawClient>> others;

        service.OnLoop([&](MPISocketServerC&) {
            asker = std::make_unique<CRawClient>(port);
            asker->Send(message);
            while (others.size() < 10) {
                others.push_back(std::make_unique<CRawClient>(port));
                others.back()->Send(message.substr(0, begun));
            }
        });

        EXPECT_EQ("[1,1,null,1]", asker->Read().text) << begun;
        EXPECT_TRUE(service.WaitForNotes("dropped 2" + kTooMany)) << begun;
    }
}

TEST(ServerRoom, IsNotMadeByTheFewThatHaveJustCome)
{
    constexpr std::size_t most = 16;
    CRunningService service(EListenOn::Both, Connections(most));
    std::vector<std::unique_ptr<CRawClient>> clients;
    for (std::size_t number = 1; number <= most + 2; ++number) {
        clients.push_back(Connected(service, number));
        if (number <= most) {
            Ask(*clients.back());
        }
    }
    EXPECT_TRUE(service.WaitForNotes("dropped 16" + kTooMany));
    EXPECT_TRUE(service.WaitForNotes("dropped 15" + kTooMany));
    const auto late = Connected(service, most + 3); // one more than an eighth
    EXPECT_TRUE(service.WaitForNotes("dropped 14" + kTooMany));
    const auto later = Connected(service, most + 4);
    EXPECT_TRUE(service.WaitForNotes("dropped 17" + kTooMany));
    Ask(*clients[17]);
    Ask(*clients[0]);
}

TEST(ServerRoom, IsMadeByTheNewestWhereAllAreInUse)
{
    CRunningService service(EListenOn::Both, Connections(3));
    std::vector<std::unique_ptr<CRawClient>> clients;
    for (std::size_t number = 1; number <= 3; ++number) {
        clients.push_back(Connected(service, number));
        if (number == 2) {
            Ask(*clients.back());
        } else {
            Subscribe(*clients.back());
        }
    }
    const auto late = Connected(service, 4);
    EXPECT_TRUE(service.WaitForNotes("dropped 3" + kTooMany));
    Ask(*clients[0]);
    Ask(*clients[1]);
    Ask(*late);
}

TEST(ServerRoom, IsMadeEachTimeThatNoDescriptorIsLeft)
{
    constexpr std::size_t rounds = 5;
    CRunningService service;
    const std::uint16_t port = service.Port();
    std::vector<std::unique_ptr<CRawClient>> silent;
    for (std::size_t number = 1; number <= rounds; ++number) {
        silent.push_back(Connected(service, number));
    }
    const auto asker = Connected(service, rounds + 1);
    Ask(*asker);
    std::vector<CLateClient> late(rounds);
    {
        const CDescriptorHog hog;
        for (std::size_t round = 0; round < rounds; ++round) {
            late[round].Connect(port);
            Ask(late[round]);
            EXPECT_TRUE(service.WaitForNotes("dropped " + std::to_string(round + 1) + kTooMany));
            EXPECT_EQ(rounds + 1, service.ClientCount()) << "one goes for one that comes";
        }
        Ask(*asker);
    }
    for (const std::string& note : service.Notes()) {
        EXPECT_NE(0U, note.rfind("connections wait", 0)) << note;
    }
}
