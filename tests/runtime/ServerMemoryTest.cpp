#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <sys/types.h>

#include <gtest/gtest.h>

#include "tests/runtime/MessageLimits.h"
#include "tests/runtime/RunningService.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawClient.h"

using Bytes::BigEndian;
using Bytes::FromHex;
using Bytes::Request;
using Bytes::Subscription;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

namespace {

/// The begin of a notification whose list goes on and on.
std::string EndlessList(std::size_t elements, char element)
{
    return FromHex("93 02 a1 6e dd 00 40 00 00") + std::string(elements, element);
}

/// Sends until everything is sent or the service has closed the connection.
void SendWhatIsTaken(const CRawClient& client, const std::string& bytes, int flags)
{
    std::size_t gone = 0;
    ssize_t sent = 1;
    while (sent > 0 && gone < bytes.size()) {
        sent = ::send(client.Descriptor(), bytes.data() + gone, bytes.size() - gone,
                      flags | MSG_NOSIGNAL);
        gone += sent > 0 ? static_cast<std::size_t>(sent) : 0;
    }
}

MPIServerLimitsC Memory(std::size_t bytes)
{
    MPIServerLimitsC limits;
    limits.memory = bytes;
    return limits;
}

MPIServerLimitsC Unfinished(std::chrono::milliseconds time)
{
    MPIServerLimitsC limits;
    limits.unfinished = time;
    return limits;
}

void ExpectAnswers(CRawClient& client)
{
    client.Send(Request(7, "q", "\x90"));
    EXPECT_EQ(7U, client.Read().number);
}

std::size_t CountNotes(const CRunningService& service, const std::string& start)
{
    const std::vector<std::string> notes = service.Notes();
    return static_cast<std::size_t>(
        std::count_if(notes.begin(), notes.end(),
                      [&](const std::string& note) { return note.rfind(start, 0) == 0; }));
}

} // namespace

TEST(ServerMemory, ClosesAConnectionWhoseMessageTakesMoreThan96Mebibytes)
{
    CRunningService service;
    CRawClient attacker(service.Port());
    CRawClient other(service.Port());
    SendWhatIsTaken(attacker, EndlessList(3'000'000, '\x90'), 0);
    EXPECT_TRUE(
        service.WaitForNotes("dropped 1 no message: a message whose values take more than 96 MiB"));
    ExpectAnswers(other);
    EXPECT_TRUE(service.WaitForHeld(0, kMebibyte));
}

TEST(ServerMemory, ClosesTheGreediestConnectionOnceAllTogetherHoldTooMuch)
{
    CRunningService service(EListenOn::Both, Memory(24 * kMebibyte));
    CRawClient modest(service.Port());
    modest.Send(EndlessList(20'000, '\x90')); // about 1.6 MB
    ASSERT_TRUE(service.WaitForHeld(kMebibyte, 24 * kMebibyte));
    CRawClient greedy(service.Port());
    greedy.Send(EndlessList(100'000, '\x90'));
    ASSERT_TRUE(service.WaitForHeld(7 * kMebibyte, 24 * kMebibyte));
    CRawClient greediest(service.Port());
    SendWhatIsTaken(greediest, EndlessList(500'000, '\x90'), 0);
    EXPECT_TRUE(service.WaitForNotes("dropped 3 holds the most of the connections, which together "
                                     "hold more than 24 MiB"));
    EXPECT_EQ(0U, CountNotes(service, "dropped 1"));
    EXPECT_EQ(0U, CountNotes(service, "dropped 2"));
    CRawClient other(service.Port());
    ExpectAnswers(other);
}

TEST(ServerMemory, CountsRepliesThatWaitForClients)
{
    CRunningService service(EListenOn::Both, Memory(16 * kMebibyte));
    service.On("q", [](MPISocketServerC& server, ClientNumber client, std::uint64_t number) {
        const BAtomC text(std::string(7 * kMebibyte, 'x'));
        server.Reply(client, number, &text);
    });
    std::vector<std::unique_ptr<CRawClient>> clients;
    for (int count = 0; count < 8; ++count) {
        clients.push_back(std::make_unique<CRawClient>(service.Port()));
        clients.back()->Send(Request(1, "q", "\x90") + Request(2, "q", "\x90"));
    }
    EXPECT_TRUE(service.WaitForNotes("request q of 0", 8));
    EXPECT_LE(service.Held(), 16 * kMebibyte);
    EXPECT_GE(CountNotes(service, "dropped"), 1U);
}

TEST(ServerMemory, CountsTheNamesOfSubscriptions)
{
    CRunningService service;
    CRawClient client(service.Port());
    ExpectAnswers(client);
    for (int number = 0; number < 1000; ++number) {
        client.Send(Subscription("ev" + std::to_string(number) + std::string(20, 'e')));
    }
    ExpectAnswers(client);
    EXPECT_GE(service.Held(), 100'000U); // and 32 KiB without them
}

TEST(ServerMemory, CountsASilentConnectionLikeASmallOneAndTheNewestGoesFirst)
{
    CRunningService service(EListenOn::Both, Memory(40 * 33'000));
    std::vector<std::unique_ptr<CRawClient>> clients;
    for (int count = 0; count < 60; ++count) {
        clients.push_back(std::make_unique<CRawClient>(service.Port()));
    }
    EXPECT_TRUE(service.WaitForNotes("connected", 60));
    EXPECT_TRUE(service.WaitForNotes("dropped", 20));
    EXPECT_EQ(40U, service.ClientCount());
    EXPECT_EQ(0U, CountNotes(service, "dropped 40 "));
    EXPECT_EQ(1U, CountNotes(service, "dropped 41 "));
}

TEST(ServerMemory, CountsAnIdleConnectionLikeASilentOneWhateverItHasSentAndBeenSent)
{
    CRunningService service(EListenOn::Both, Memory(40 * 33'000));
    service.On("q", [](MPISocketServerC& server, ClientNumber client, std::uint64_t number) {
        const BAtomC text(std::string(100'000, 'x'));
        server.Reply(client, number, &text);
    });
    CRawClient honest(service.Port());
    for (const char* const end : {"\x07", "\xa0", "\x90"}) {
        std::string elements;
        for (int count = 0; count < 5000; ++count) {
            elements += end;
        }
        honest.Send(Request(1, "a", FromHex("dc 13 88") + elements));
        EXPECT_EQ(1U, honest.Read().number);
        ExpectAnswers(honest);
        EXPECT_TRUE(service.WaitForHeld(0, 32'768)) << service.Held();
    }
    // So it is not the first to go when others come that do nothing at all.
    std::vector<std::unique_ptr<CRawClient>> silent;
    for (int count = 0; count < 60; ++count) {
        silent.push_back(std::make_unique<CRawClient>(service.Port()));
    }
    EXPECT_TRUE(service.WaitForNotes("dropped", 21));
    EXPECT_EQ(0U, CountNotes(service, "dropped 1 "));
}

TEST(ServerMemory, HoldsNothingOfConnectionsThatHaveGone)
{
    CRunningService service;
    for (const char element : {'\x90', '\x07', '\xa0', '\x80'}) {
        CRawClient client(service.Port());
        client.Send(EndlessList(50'000, element));
        ASSERT_TRUE(service.WaitForHeld(500'000, 100 * kMebibyte));
    } // which leaves in the middle of its message
    EXPECT_TRUE(service.WaitForNotes("disconnected", 4));
    EXPECT_EQ(0U, service.Held());
}

TEST(ServerMemory, EndsAConnectionWhoseUnfinishedMessageDoesNotGrow)
{
    CRunningService service(EListenOn::Both, Unfinished(200ms));
    CRawClient silent(service.Port()); // has begun nothing and may stay
    CRawClient stalled(service.Port());
    stalled.Send("\x94");
    EXPECT_TRUE(service.WaitForNotes("dropped 2 an unfinished message that has not grown for"));
    CRawClient again(service.Port()); // the watch begins anew
    again.Send(EndlessList(10, '\x07'));
    EXPECT_TRUE(service.WaitForNotes("dropped 3 an unfinished message that has not grown for"));
    EXPECT_EQ(0U, CountNotes(service, "dropped 1"));
    ExpectAnswers(silent);
}

TEST(ServerMemory, KeepsAConnectionWhoseUnfinishedMessageGrows)
{
    CRunningService service(EListenOn::Both, Unfinished(1500ms));
    CRawClient trickling(service.Port());
    CRawClient stalled(service.Port());
    const std::string message = Request(7, std::string(30, 'q'), "\x90");
    trickling.Send(message.substr(0, 1));
    stalled.Send("\x94");
    std::size_t sent = 1;
    while (!stalled.HasInput(200) && sent + 1 < message.size()) {
        trickling.Send(message.substr(sent, 1));
        ++sent;
    }
    EXPECT_TRUE(service.WaitForNotes("dropped 2 an unfinished message"));
    trickling.Send(message.substr(sent));
    EXPECT_EQ(7U, trickling.Read().number);
}

TEST(ServerMemory, ServesOthersBetweenThePortionsOfALargeMessage)
{
    CRunningService service;
    std::vector<std::unique_ptr<CRawClient>> attackers;
    for (int count = 0; count < 4; ++count) {
        attackers.push_back(std::make_unique<CRawClient>(service.Port()));
        attackers.back()->Send(EndlessList(10, '\x90'));
    }
    CRawClient other(service.Port());
    ASSERT_TRUE(service.WaitForNotes("connected", 5));
    std::size_t heldAtTheQuestion = 0;
    service.On("q", [&](MPISocketServerC& server, ClientNumber client, std::uint64_t number) {
        heldAtTheQuestion = server.HeldBytes();
        server.Reply(client, number, nullptr);
    });
    // Everything lies ready when the loop goes on.
    service.OnLoop([&](MPISocketServerC&) {
        for (const auto& attacker : attackers) {
            SendWhatIsTaken(*attacker, std::string(2'000'000, '\x90'), MSG_DONTWAIT);
        }
        other.Send(Request(7, "q", "\x90"));
    });
    EXPECT_EQ(7U, other.Read().number);
    // Two turns of a millisecond; all of what lies ready would take megabytes.
    EXPECT_LE(heldAtTheQuestion, 10 * kMebibyte);
}

TEST(ServerMemory, ServesWhatStandsBehindAMessageThatIsReadAhead)
{
    CRunningService service;
    CRawClient client(service.Port());
    SendWhatIsTaken(client, FromHex("93 02 a1 6e dd 00 03 00 00") + std::string(0x30000, '\x90'),
                    0);
    for (std::uint64_t number = 1; number <= 500; ++number) {
        client.Send(Request(number, "q", "\x90"));
    }
    for (std::uint64_t number = 1; number <= 500; ++number) {
        ASSERT_EQ(number, client.Read().number);
    }
}

TEST(ServerMemory, ServesAllThatAClientSentBeforeItLeft)
{
    CRunningService service;
    {
        CRawClient client(service.Port());
        SendWhatIsTaken(client,
                        FromHex("93 02 a1 6e dd 00 03 00 00") + std::string(0x30000, '\x90') +
                            Request(7, "q", "\x90") + EndlessList(200'000, '\x90'),
                        0);
    }
    EXPECT_TRUE(service.WaitForNotes("request q of 0"));
    EXPECT_TRUE(service.WaitForNotes("disconnected"));
    EXPECT_EQ(0U, service.Held());
}

TEST(ServerMemory, TakesNoMoreOfAFloodThanItServes)
{
    CRunningService service(EListenOn::Both, Memory(kMebibyte));
    std::string flood;
    while (flood.size() < 8 * kMebibyte) {
        flood += Bytes::Notification("n", "\x91\xcb\x3f\xb9\x99\x99\x99\x99\x99\x9a");
    }
    CRawClient client(service.Port());
    SendWhatIsTaken(client, flood, 0);
    ExpectAnswers(client);
    EXPECT_EQ(0U, CountNotes(service, "dropped"));
}

TEST(ServerMemory, DecodesNoMessageThatItsClientHasLeftInTheMiddle)
{
    CRunningService service(EListenOn::Both, Memory(16 * kMebibyte));
    const std::uint16_t port = service.Port();
    service.OnLoop([port](MPISocketServerC&) {
        const CRawClient client(port);
        SendWhatIsTaken(client, EndlessList(1'000'000, '\x90'), MSG_DONTWAIT);
    });
    // Decoded it would take 80 MB, and its connection were the greediest.
    EXPECT_TRUE(service.WaitForNotes("disconnected"));
    EXPECT_EQ(0U, CountNotes(service, "dropped"));
}
