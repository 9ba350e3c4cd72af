#include "runtime/MPISocketServer.h"

#include <cerrno>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/runtime/RunningService.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawClient.h"

using Bytes::FromHex;
using Bytes::Notification;
using Bytes::Request;
using Bytes::Requests;
using Bytes::Subscription;
using testing::Contains;
using testing::StartsWith;

namespace {

std::unique_ptr<BListC> ListOfOne(int value)
{
    auto list = std::make_unique<BListC>(nullptr);
    list->AddInt(value);
    return list;
}

struct BadBytes
{
    const char* what;
    const char* bytes;
};

const BadBytes kBad[] = {
    {"a text line", "47 45 54 20 2f 0d 0a"},
    {"an integer", "07"},
    {"an unknown kind", "94 05 01 a1 61 90"},
    {"arguments that are no list", "94 00 01 a1 61 07"},
    {"an extension", "93 02 a1 61 91 d4 01 00"},
    {"65 levels", nullptr},
    {"a response", "94 01 01 c0 07"},
};

std::string BytesOf(const BadBytes& row)
{
    return row.bytes != nullptr ? FromHex(row.bytes)
                                : FromHex("93 02 a1 61") + std::string(65, '\x91') + '\x07';
}

} // namespace

TEST(Server, AnswersUnderTheNumberThatTheRequestCameWithHoweverLarge)
{
    CRunningService service;
    CRawClient client(service.Port());
    for (const std::uint64_t number :
         {std::uint64_t{0}, std::uint64_t{0xffffffff}, std::uint64_t{0x100000000},
          std::uint64_t{0x7fffffffffffffff}, std::uint64_t{0x8000000000000000},
          std::uint64_t{0xffffffffffffffff}}) {
        client.Send(Request(number, "a", "\x90"));
        EXPECT_EQ(number, client.Read().number);
    }
}

TEST(Server, AnswersEveryClientByItsRequestNumber)
{
    CRunningService service;
    CRawClient first(service.Port());
    CRawClient second(service.Port());
    first.Send(Request(7, "a", FromHex("92 01 02")));
    second.Send(Request(0xffffffffffffffff, "b", "\x90"));
    EXPECT_EQ("[1,7,null,1]", first.Read().text);
    EXPECT_EQ("[1,18446744073709551615,null,1]", second.Read().text);
    EXPECT_THAT(service.Notes(), Contains("request a of 2"));
    EXPECT_EQ(2U, service.ClientCount());
}

TEST(Server, AnswersRequestsOfOnePacketInTheirOrder)
{
    CRunningService service;
    CRawClient client(service.Port());
    client.Send(Requests(1, 500, "a"));
    for (std::uint64_t number = 1; number <= 500; ++number) {
        ASSERT_EQ(number, client.Read().number);
    }
}

TEST(Server, TakesARequestSplitAtEveryByte)
{
    CRunningService service;
    CRawClient client(service.Port());
    const std::string request = Request(7, "echo", FromHex("92 01 a1 78"));
    for (std::size_t at = 1; at < request.size(); ++at) {
        client.Send(request.substr(0, at));
        client.Send(request.substr(at));
        EXPECT_EQ("[1,7,null,1]", client.Read().text) << at;
    }
}

TEST(Server, ClosesTheConnectionThatSendsNoMessageAndCountsIt)
{
    CRunningService service;
    CRawClient other(service.Port());
    unsigned long count = 0;
    for (const BadBytes& row : kBad) {
        CRawClient bad(service.Port());
        bad.Send(BytesOf(row));
        bad.WaitForEnd();
        EXPECT_EQ(++count, service.RejectedMessages()) << row.what;
        Settle(other);
    }
    EXPECT_EQ(1U, service.ClientCount());
}

TEST(Server, AnswersWhatCameBeforeTheBadBytes)
{
    CRunningService service;
    CRawClient client(service.Port());
    client.Send(Request(3, "a", "\x90") + '\xc1');
    EXPECT_EQ("[1,3,null,1]", client.Read().text);
    EXPECT_EQ(0, client.WaitForEnd());
    EXPECT_TRUE(service.WaitForNotes("dropped 1 no message"));
    EXPECT_TRUE(service.WaitForNotes("disconnected 1 no message"));
}

TEST(Server, GivesNothingTextsListsAndErrorsAsAnswers)
{
    CRunningService service;
    service.On("nothing", [](auto& server, auto client, auto number) {
        server.Reply(client, number, nullptr);
    });
    service.On("list", [](auto& server, auto client, auto number) {
        server.Reply(client, number, ListOfOne(5).get());
    });
    service.On("error", [](auto& server, auto client, auto number) {
        server.ReplyError(client, number, "no line");
    });
    CRawClient client(service.Port());
    client.Send(Request(1, "nothing", "\x90") + Request(2, "list", "\x90") +
                Request(3, "error", "\x90"));
    EXPECT_EQ("[1,1,null,null]", client.Read().text);
    EXPECT_EQ("[1,2,null,[5]]", client.Read().text);
    EXPECT_EQ("[1,3,\"no line\",null]", client.Read().text);
}

TEST(Server, AnswersWithTheTextOfAnException)
{
    CRunningService service;
    service.On("throw", [](auto&, auto, auto) { throw std::runtime_error("out of field"); });
    service.On("throw_number", [](auto&, auto, auto) { throw 7; });
    CRawClient client(service.Port());
    client.Send(Request(1, "throw", "\x90") + Request(2, "throw_number", "\x90"));
    EXPECT_EQ("[1,1,\"out of field\",null]", client.Read().text);
    EXPECT_EQ("[1,2,\"failed without a reason\",null]", client.Read().text);
    Settle(client);
}

TEST(Server, GoesOnAfterAnExceptionThatNobodyWaitsFor)
{
    CRunningService service;
    const auto fail = [](auto&, auto, auto) { throw std::runtime_error("no"); };
    for (const char* const name : {"connected", "subscribed", "note", "disconnected"}) {
        service.On(name, fail);
    }
    {
        CRawClient client(service.Port());
        client.Send(Notification("note", "\x90") + Subscription("ev"));
        Settle(client);
    }
    EXPECT_TRUE(service.WaitForNotes("failed 1 connecting no"));
    EXPECT_TRUE(service.WaitForNotes("failed 1 note no"));
    EXPECT_TRUE(service.WaitForNotes("failed 1 subscribe no"));
    EXPECT_TRUE(service.WaitForNotes("failed 1 disconnecting no"));
}

TEST(Server, PushesAnEventOnceToEachSubscriberOfIt)
{
    CRunningService service;
    CRawClient subscriber(service.Port());
    CRawClient other(service.Port());
    subscriber.Send(Subscription("ev") + Subscription("ev"));
    other.Send(Subscription("ev2"));
    Settle(subscriber);
    Settle(other);
    service.OnLoop([](MPISocketServerC& server) {
        server.Push("ev", *ListOfOne(7));
        server.Push("ev2", *ListOfOne(8));
    });
    EXPECT_EQ("[2,\"ev\",[7]]", subscriber.Read().text);
    EXPECT_EQ("[2,\"ev2\",[8]]", other.Read().text);
    EXPECT_FALSE(subscriber.HasInput(0));
}

TEST(Server, TellsOfASubscriptionOnceAName)
{
    CRunningService service;
    CRawClient client(service.Port());
    client.Send(Subscription("ev") + Subscription("ev2") + Subscription("ev"));
    Settle(client);
    const std::vector<std::string> expected = {"connected 1", "subscribed ev", "subscribed ev2",
                                               "request settle of 0"};
    EXPECT_EQ(expected, service.Notes());
}

TEST(Server, LetsTheHandlerPushThePresentStateOnASubscription)
{
    CRunningService service;
    service.On("subscribed",
               [](auto& server, auto client, auto) { server.PushTo(client, "ev", *ListOfOne(1)); });
    CRawClient client(service.Port());
    client.Send(Subscription("ev"));
    EXPECT_EQ("[2,\"ev\",[1]]", client.Read().text);
}

TEST(Server, NotesASubscriptionWithoutANameAndGoesOn)
{
    const std::string longName = "\x91\xda\x01\x01" + std::string(257, 'x');
    const std::string rows[] = {"\x90", FromHex("91 07"), FromHex("92 a1 61 a1 62"), longName};
    CRunningService service;
    CRawClient client(service.Port());
    for (const std::string& arguments : rows) {
        client.Send(Notification("subscribe", arguments));
    }
    Settle(client);
    EXPECT_TRUE(service.WaitForNotes("failed 1 subscribe wants the name of one event", 4));
}

TEST(Server, EndsAClientThatSubscribesWithoutEnd)
{
    CRunningService service;
    CRawClient client(service.Port());
    std::string packet;
    for (int number = 0; number < 1025; ++number) {
        packet += Subscription("ev" + std::to_string(number));
    }
    client.Send(packet);
    client.WaitForEnd();
    EXPECT_TRUE(service.WaitForNotes("disconnected 1 subscribed to too many events"));
}

TEST(Server, LetsTheHandlerDisconnectAClientFromEveryCall)
{
    for (const char* const call : {"connected", "request", "note", "subscribed"}) {
        CRunningService service;
        service.On(call, [](auto& server, auto client, auto) {
            server.Disconnect(client, "unwanted");
            server.PushTo(client, "ev", *ListOfOne(1));
        });
        CRawClient client(service.Port());
        client.Send(Subscription("ev") + Notification("note", "\x90") +
                    Request(1, "request", "\x90"));
        client.WaitForEnd();
        EXPECT_TRUE(service.WaitForNotes("disconnected 1 unwanted")) << call;
        EXPECT_EQ(0U, service.ClientCount()) << call;
    }
}

TEST(Server, MayBeDestroyedFromInsideACall)
{
    CRunningService service;
    service.On("end", [&](auto&, auto, auto) { service.DestroyServer(); });
    CRawClient client(service.Port());
    client.Send(Notification("end", "\x90") + Notification("end", "\x90"));
    client.WaitForEnd();
    EXPECT_TRUE(service.WaitForNotes("notification end"));
}

TEST(Server, DeliversAnAnswerThatADisconnectionFollows)
{
    CRunningService service;
    service.On("bye", [](auto& server, auto client, auto number) {
        server.Reply(client, number, ListOfOne(1).get());
        server.Disconnect(client, "bye");
    });
    CRawClient client(service.Port());
    client.Send(Request(1, "bye", "\x90"));
    EXPECT_EQ("[1,1,null,[1]]", client.Read().text);
    EXPECT_EQ(0, client.WaitForEnd());
}

TEST(Server, ResetsConnectionsWhenAskedTo)
{
    CRunningService service;
    CRawClient client(service.Port());
    Settle(client);
    service.OnLoop([](MPISocketServerC& server) { server.DisconnectAll(true); });
    EXPECT_EQ(ECONNRESET, client.WaitForEnd());
}

TEST(Server, IgnoresAnswersToAClientThatIsGone)
{
    CRunningService service;
    service.OnLoop([](MPISocketServerC& server) {
        server.Reply(1, 1, nullptr);
        server.ReplyError(77, 1, "too late");
        server.PushTo(77, "ev", *ListOfOne(1));
        server.Disconnect(77, "gone");
    });
    CRawClient client(service.Port());
    Settle(client);
}

TEST(Server, AnswersWithAnErrorInsteadOfAValueThatNoClientTakes)
{
    CRunningService service;
    service.On("deep", [](auto& server, auto client, auto number) {
        auto deep = std::make_unique<BListC>(nullptr);
        for (int level = 0; level < 70; ++level) {
            auto outer = std::make_unique<BListC>(nullptr);
            outer->Add(deep.release());
            deep = std::move(outer);
        }
        server.Reply(client, number, deep.get());
    });
    CRawClient client(service.Port());
    client.Send(Request(1, "deep", "\x90"));
    EXPECT_EQ("[1,1,\"the answer is nested too deep\",null]", client.Read().text);
}
