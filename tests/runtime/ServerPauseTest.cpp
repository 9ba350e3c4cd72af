// What all clients send waits while the service is paused, and is served in their order behind it.

#include "runtime/MPISocketServer.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/runtime/RunningService.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawClient.h"

using Bytes::Notification;
using Bytes::Request;
using Bytes::Subscription;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

MPIServerLimitsC Impatient()
{
    MPIServerLimitsC limits;
    limits.untaken = std::chrono::milliseconds(100);
    return limits;
}

/// A service that a request "pause" pauses until it is asked to go on, that holds what is called
/// "long", and that lets "urgent" overtake.
class CPausedService : public CRunningService
{
public:
    CPausedService() : CRunningService(EListenOn::IPv4Only, Impatient())
    {
        On("pause", [this](MPISocketServerC& server, ClientNumber client, std::uint64_t) {
            server.Pause();
            server.Hold(client);
            m_pauser = client;
        });
        On("long", [this](MPISocketServerC& server, ClientNumber client, std::uint64_t) {
            server.Hold(client);
            m_holder = client;
        });
    }
    ~CPausedService() override { Stop(); }

    void GoOn()
    {
        OnLoop([this](MPISocketServerC& server) {
            server.Release(m_pauser);
            server.Resume();
        });
    }
    void LetGo()
    {
        OnLoop([this](MPISocketServerC& server) { server.Release(m_holder); });
    }
    bool Overtakes(const std::string& name) override { return name == "urgent"; }

    /// What has been served, without what is there for the tests themselves.
    std::vector<std::string> Served() const
    {
        std::vector<std::string> served;
        for (const std::string& note : Notes()) {
            const std::size_t name = note.find(' ') + 1;
            const std::string word = note.substr(name, note.find(' ', name) - name);
            if (note.rfind("connected", 0) != 0 && note.rfind("disconnected", 0) != 0 &&
                word != "urgent" && word != "end") {
                served.push_back(word);
            }
        }
        return served;
    }

private:
    ClientNumber m_pauser = 0; // on the loop's thread
    ClientNumber m_holder = 0;
};

/// Waits until everything that a client has sent has been read, by what overtakes.
void HasBeenRead(CRawClient& client)
{
    client.Send(Request(99, "urgent", "\x90"));
    ASSERT_EQ(99U, client.Read().number);
}

/// Waits until everything that a client has sent has been served.
void HasBeenServed(CRawClient& client)
{
    client.Send(Request(98, "end", "\x90"));
    while (client.Read().number != 98U) {
    }
}

std::string Note(const std::string& name)
{
    return Notification(name, "\x90");
}

/// A client whose number is the next one.
std::unique_ptr<CRawClient> Connected(CPausedService& service)
{
    auto client = std::make_unique<CRawClient>(service.Port());
    HasBeenRead(*client);
    return client;
}

} // namespace

TEST(PausedService, ServesInTheOrderOfOpeningWhateverTheOrderOfArrival)
{
    std::vector<std::size_t> order{0, 1, 2, 3};
    do {
        CPausedService service;
        std::vector<std::unique_ptr<CRawClient>> clients;
        for (std::size_t number = 0; number < order.size(); ++number) {
            clients.push_back(Connected(service));
        }
        clients[2]->Send(Request(1, "pause", "\x90"));
        ASSERT_TRUE(service.WaitForNotes("request pause"));
        for (const std::size_t number : order) {
            const std::string name = std::to_string(number);
            clients[number]->Send(Note(name + "a") + Note(name + "b"));
            HasBeenRead(*clients[number]);
        }
        EXPECT_THAT(service.Served(), ElementsAre("pause"));
        service.GoOn();
        HasBeenServed(*clients[3]);
        EXPECT_THAT(service.Served(),
                    ElementsAre("pause", "0a", "0b", "1a", "1b", "2a", "2b", "3a", "3b"));
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(PausedService, HasRequestsAndSubscriptionsWaitToo)
{
    CPausedService service;
    const auto pauser = Connected(service);
    const auto other = Connected(service);
    pauser->Send(Request(1, "pause", "\x90"));
    ASSERT_TRUE(service.WaitForNotes("request pause"));
    other->Send(Request(1, "a", "\x90") + Subscription("event") + Note("b"));
    HasBeenRead(*other);
    EXPECT_THAT(service.Served(), ElementsAre("pause"));
    service.GoOn();
    HasBeenServed(*other);
    EXPECT_THAT(service.Served(), ElementsAre("pause", "a", "event", "b"));
}

TEST(PausedService, HasNewClientsWait)
{
    CPausedService service;
    const auto pauser = Connected(service);
    pauser->Send(Request(1, "pause", "\x90"));
    ASSERT_TRUE(service.WaitForNotes("request pause"));
    CRawClient late(service.Port());
    late.Send(Note("a"));
    HasBeenRead(late);
    EXPECT_THAT(service.Served(), ElementsAre("pause"));
    service.GoOn();
    HasBeenServed(late);
    EXPECT_THAT(service.Served(), ElementsAre("pause", "a"));
}

TEST(PausedService, GoesOnWithTheOthersBehindWhatAFurtherPauseHasInterrupted)
{
    CPausedService service;
    const auto pauser = Connected(service);
    const auto other = Connected(service);
    pauser->Send(Request(1, "pause", "\x90"));
    ASSERT_TRUE(service.WaitForNotes("request pause"));
    pauser->Send(Note("a") + Request(2, "pause", "\x90") + Note("b"));
    other->Send(Note("x"));
    HasBeenRead(*pauser);
    HasBeenRead(*other);
    service.GoOn();
    ASSERT_TRUE(service.WaitForNotes("request pause", 2));
    // Who asks again and again does not keep the others from their turn.
    pauser->Send(Request(3, "pause", "\x90") + Note("c"));
    HasBeenRead(*pauser);
    EXPECT_THAT(service.Served(), ElementsAre("pause", "a", "pause"));
    service.GoOn();
    ASSERT_TRUE(service.WaitForNotes("request pause", 3));
    EXPECT_THAT(service.Served(), ElementsAre("pause", "a", "pause", "b", "x", "pause"));
    service.GoOn();
    HasBeenServed(*pauser);
    EXPECT_THAT(service.Served(), ElementsAre("pause", "a", "pause", "b", "x", "pause", "c"));
}

TEST(PausedService, ServesTheNextClientOnceTheLastHoldsNothing)
{
    CPausedService service;
    const auto pauser = Connected(service);
    const auto other = Connected(service);
    pauser->Send(Request(1, "pause", "\x90"));
    ASSERT_TRUE(service.WaitForNotes("request pause"));
    pauser->Send(Request(2, "long", "\x90"));
    other->Send(Note("x"));
    HasBeenRead(*pauser);
    HasBeenRead(*other);
    service.GoOn();
    ASSERT_TRUE(service.WaitForNotes("request long"));
    HasBeenRead(*other); // for which there were turns
    EXPECT_THAT(service.Served(), ElementsAre("pause", "long"));
    service.LetGo();
    HasBeenServed(*other);
    EXPECT_THAT(service.Served(), ElementsAre("pause", "long", "x"));
}

TEST(PausedService, GoesOnWithTheOthersWhenTheOneWhoseTurnItIsGoes)
{
    CPausedService service;
    auto pauser = Connected(service);
    const auto other = Connected(service);
    pauser->Send(Request(1, "pause", "\x90"));
    ASSERT_TRUE(service.WaitForNotes("request pause"));
    pauser->Send(Request(2, "long", "\x90"));
    other->Send(Note("x"));
    HasBeenRead(*pauser);
    HasBeenRead(*other);
    service.GoOn();
    ASSERT_TRUE(service.WaitForNotes("request long"));
    pauser.reset();
    HasBeenServed(*other);
    EXPECT_THAT(service.Served(), ElementsAre("pause", "long", "x"));
}

TEST(PausedService, ServesThousandsOfMessagesThatHaveWaitedInTheirOrder)
{
    constexpr int kMessages = 5000;
    CPausedService service;
    const auto first = Connected(service);
    const auto second = Connected(service);
    second->Send(Request(1, "pause", "\x90"));
    ASSERT_TRUE(service.WaitForNotes("request pause"));
    std::string packets[2];
    for (int number = 0; number < kMessages; ++number) {
        packets[0] += Note("x" + std::to_string(number));
        packets[1] += Note("y" + std::to_string(number));
    }
    second->Send(packets[1]);
    HasBeenRead(*second);
    first->Send(packets[0]);
    HasBeenRead(*first);
    service.GoOn();
    HasBeenServed(*second);
    const std::vector<std::string> served = service.Served();
    ASSERT_EQ(1U + 2U * kMessages, served.size());
    for (int number = 0; number < kMessages; ++number) {
        ASSERT_EQ("x" + std::to_string(number), served[static_cast<std::size_t>(1 + number)]);
        ASSERT_EQ("y" + std::to_string(number),
                  served[static_cast<std::size_t>(1 + kMessages + number)]);
    }
}

TEST(PausedService, ServesAsEverOnceAllHasBeenServed)
{
    CPausedService service;
    const auto pauser = Connected(service);
    pauser->Send(Request(1, "pause", "\x90"));
    ASSERT_TRUE(service.WaitForNotes("request pause"));
    service.GoOn();
    HasBeenServed(*pauser);
    CRawClient late(service.Port());
    late.Send(Request(1, "a", "\x90"));
    EXPECT_EQ(1U, late.Read().number);
    pauser->Send(Request(2, "b", "\x90"));
    EXPECT_EQ(2U, pauser->Read().number);
}

TEST(Settling, EndsWhenTheSystemHasAllThatWasTold)
{
    CPausedService service;
    const auto first = Connected(service);
    const auto second = Connected(service);
    for (CRawClient* const client : {first.get(), second.get()}) {
        client->Send(Subscription("event"));
        HasBeenServed(*client);
    }
    std::promise<void> settled;
    service.OnLoop([&](MPISocketServerC& server) {
        BListC payload(nullptr);
        payload.AddInt(7);
        for (int count = 0; count < 1000; ++count) {
            server.Push("event", payload);
        }
        server.Settle([&] { settled.set_value(); });
    });
    settled.get_future().wait();
    for (CRawClient* const client : {first.get(), second.get()}) {
        EXPECT_TRUE(client->HasInput(0)); // without the service's doing anything more
        for (int count = 0; count < 1000; ++count) {
            ASSERT_EQ("event", client->Read().name);
        }
    }
}

TEST(Settling, DropsWhoTakesNothing)
{
    constexpr int kEvents = 30; // less than may be queued, more than the system takes
    CPausedService service;
    const auto reader = Connected(service);
    const auto silent = Connected(service);
    for (CRawClient* const client : {reader.get(), silent.get()}) {
        client->Send(Subscription("event"));
        HasBeenServed(*client);
    }
    std::promise<void> settled;
    service.OnLoop([&](MPISocketServerC& server) {
        BListC payload(nullptr);
        payload.AddString(std::string(std::size_t{1} << 18U, 'x'));
        for (int count = 0; count < kEvents; ++count) {
            server.Push("event", payload);
        }
        server.Settle([&] { settled.set_value(); });
    });
    for (int count = 0; count < kEvents; ++count) {
        ASSERT_EQ("event", reader->Read().name);
    }
    settled.get_future().wait();
    EXPECT_TRUE(service.WaitForNotes("dropped 2"));
    EXPECT_THAT(service.Notes(), Not(Contains(HasSubstr("dropped 1"))));
}

TEST(Wishes, AreThoseOfTheClientsThatAreThere)
{
    CPausedService service;
    auto first = Connected(service);
    const auto second = Connected(service);
    const auto isWanted = [&](const std::string& event) {
        bool wanted = false;
        service.OnLoop([&](MPISocketServerC& server) { wanted = server.IsWanted(event); });
        return wanted;
    };
    EXPECT_FALSE(isWanted("a"));
    first->Send(Subscription("a") + Subscription("a") + Subscription("b"));
    second->Send(Subscription("a"));
    HasBeenServed(*first);
    HasBeenServed(*second);
    EXPECT_TRUE(isWanted("a"));
    EXPECT_TRUE(isWanted("b"));
    first.reset();
    ASSERT_TRUE(service.WaitForNotes("disconnected 1"));
    EXPECT_TRUE(isWanted("a"));
    EXPECT_FALSE(isWanted("b"));
}
