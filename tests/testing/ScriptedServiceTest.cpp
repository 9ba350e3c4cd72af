#include "testing/ScriptedService.h"

#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

#include "tests/support/Bytes.h"
#include "tests/support/RawClient.h"

using Bytes::FromHex;
using Bytes::Notification;
using Bytes::Request;
using Kestrove::Testing::CAnswer;
using Kestrove::Testing::CScriptedService;
using Kestrove::Testing::CValue;
using Kestrove::Testing::EListen;

namespace {

constexpr std::uint16_t kPort = CScriptedService::kPort;

bool Connects(const std::string& address)
{
    try {
        CRawClient client(kPort, address);
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

struct AnswerRow
{
    CAnswer answer;
    const char* reply;
};

const AnswerRow kAnswers[] = {
    {7, "[1,1,null,7]"},
    {2.5, "[1,1,null,2.5]"},
    {"text", "[1,1,null,\"text\"]"},
    {CAnswer::List({1, 2.5, {"x"}}), "[1,1,null,[1,2.5,[\"x\"]]]"},
    {CAnswer::List({}), "[1,1,null,[]]"},
    {CAnswer::Nothing(), "[1,1,null,null]"},
    {CAnswer::Error("no line"), "[1,1,\"no line\",null]"},
    {CAnswer(7).After(20), "[1,1,null,7]"},
};

} // namespace

TEST(ScriptedService, GivesEveryKindOfAnswer)
{
    CScriptedService service;
    CRawClient client(kPort);
    for (const AnswerRow& row : kAnswers) {
        service.Answer("a", row.answer);
        client.Send(Request(1, "a", "\x90"));
        EXPECT_EQ(row.reply, client.Read().text);
    }
}

TEST(ScriptedService, GivesADelayedAnswerNoSooner)
{
    CScriptedService service;
    CRawClient client(kPort);
    service.Answer("a", CAnswer(7).After(80));
    service.Answer("b", 8);
    const auto start = std::chrono::steady_clock::now();
    client.Send(Request(1, "a", "\x90") + Request(2, "b", "\x90"));
    EXPECT_EQ("[1,2,null,8]", client.Read().text);
    EXPECT_EQ("[1,1,null,7]", client.Read().text);
    EXPECT_LE(std::chrono::milliseconds(80), std::chrono::steady_clock::now() - start);
}

TEST(ScriptedService, HoldsAnAnswerUntilItIsReleased)
{
    CScriptedService service;
    CRawClient client(kPort);
    service.Answer("a", CAnswer(7).Held());
    client.Send(Request(1, "a", "\x90") + Request(2, "a", "\x90"));
    ASSERT_TRUE(service.WaitForCalls("a", 2));
    EXPECT_FALSE(client.HasInput(20));
    service.ReleaseHeld();
    EXPECT_EQ(1U, client.Read().number);
    EXPECT_EQ(2U, client.Read().number);
}

TEST(ScriptedService, StaysSilent)
{
    CScriptedService service;
    CRawClient client(kPort);
    service.Answer("a", CAnswer::Silence());
    service.Answer("b", 8);
    client.Send(Request(1, "a", "\x90") + Request(2, "b", "\x90"));
    EXPECT_EQ(2U, client.Read().number);
    EXPECT_FALSE(client.HasInput(20));
}

TEST(ScriptedService, DropsTheLinkOfTheCallerAlone)
{
    CScriptedService service;
    service.Answer("drop", CAnswer::DropLink());
    service.Answer("reset", CAnswer::ResetLink());
    CRawClient other(kPort);
    CRawClient dropped(kPort);
    CRawClient reset(kPort);
    dropped.Send(Notification("drop", "\x90"));
    reset.Send(Request(1, "reset", "\x90"));
    EXPECT_EQ(0, dropped.WaitForEnd());
    EXPECT_EQ(ECONNRESET, reset.WaitForEnd());
    EXPECT_TRUE(service.WaitForClients(1));
    EXPECT_FALSE(other.HasInput(0));
}

TEST(ScriptedService, ListsWhatItHasReceived)
{
    CScriptedService service;
    CRawClient client(kPort);
    client.Send(Notification("set_nudge", FromHex("92 01 ca 3f 00 00 00")) +
                Bytes::Subscription("cb_offsets") + Request(1, "get_nudge", "\x91\x01"));
    client.Read();
    EXPECT_EQ("notification set_nudge [int 1, double 0.5]\n"
              "subscription cb_offsets []\n"
              "request get_nudge [int 1]\n",
              service.ReceivedText());
    EXPECT_EQ(0.5, service.Received().front().arguments->GetDouble(1));
    EXPECT_EQ(1U, service.CallCount("get_nudge"));
    EXPECT_EQ(1U, service.SubscriptionCount("cb_offsets"));
    service.ForgetReceived();
    EXPECT_EQ("", service.ReceivedText());
    EXPECT_EQ(0U, service.CallCount("get_nudge"));
}

TEST(ScriptedService, TellsWhatDidNotGoByTheScript)
{
    CScriptedService service;
    service.Expect("expected", "[]");
    CRawClient client(kPort);
    client.Send(Request(1, "a", "\x91\x05"));
    EXPECT_EQ("[1,1,\"unexpected: a [int 5]\",null]", client.Read().text);
    client.Send("\xc1");
    client.WaitForEnd();
    EXPECT_EQ("unexpected: a [int 5]\ndid not come: expected []\n"
              "connections that sent what is no message: 1\n",
              service.Problems());
}

struct PushRow
{
    const char* label;
    const char* event;
    std::vector<CValue> payload;
    const char* problem;
};

const PushRow kPushes[] = {
    {"a misspelt name",
     "cb_ofsets",
     {0.5},
     "pushed without a subscriber, and no event of the service: cb_ofsets [double 0.5]\n"},
    {"no subscriber",
     "cb_implement_width_changed",
     {3.5},
     "pushed without a subscriber: cb_implement_width_changed [double 3.5]\n"},
    {"an element too few",
     "cb_engage_status",
     {1, 0, 0, 0},
     "pushed with too few elements, of 5: cb_engage_status [int 1, int 0, int 0, int 0]\n"},
    {"an element too many",
     "cb_offsets",
     {0.5, 1},
     "pushed with too many elements, of 1: cb_offsets [double 0.5, int 1]\n"},
    {"a point too few",
     "cb_draw_points",
     {2, 0.5, 1.5, 2.5},
     "pushed with too few elements, of 5: "
     "cb_draw_points [int 2, double 0.5, double 1.5, double 2.5]\n"},
    {"a number of points that cannot be",
     "cb_draw_points",
     {2147483647},
     "pushed with too few elements, of 2000001: cb_draw_points [int 2147483647]\n"},
    {"a text for a number",
     "cb_offsets",
     {"0.5"},
     "pushed with something else than a number as element 1: cb_offsets [\"0.5\"]\n"},
    {"a list for a number",
     "cb_engage_status",
     {1, 0, 0, 0, {1}},
     "pushed with something else than a number as element 5: "
     "cb_engage_status [int 1, int 0, int 0, int 0, [int 1]]\n"},
    {"nothing for a number, where events may grow",
     "cb_wayline_status",
     {1, CValue::Nothing(), 0, 4, 0.5, 7},
     "pushed with something else than a number as element 2: "
     "cb_wayline_status [int 1, nothing, int 0, int 4, double 0.5, int 7]\n"},
    {"a list of points",
     "cb_draw_points",
     {{0.5, 1.5}},
     "pushed with something else than a number as element 1: "
     "cb_draw_points [[double 0.5, double 1.5]]\n"},
    {"a text in a point",
     "cb_draw_points",
     {1, 0.5, "1.5"},
     "pushed with something else than a number as element 3: "
     "cb_draw_points [int 1, double 0.5, \"1.5\"]\n"},
    {"fewer points than none",
     "cb_draw_points",
     {-1},
     "pushed with a negative number of points: cb_draw_points [int -1]\n"},
    {"all well", "cb_offsets", {0.5}, ""},
    {"whole numbers", "cb_offsets", {5}, ""},
    {"anything behind what is read", "cb_wayline_status", {1, 0, 0, 4, 0.5, "new"}, ""},
    {"more, where events may grow", "cb_wayline_status", {1, 0, 0, 4, 0.5, 7}, ""},
    {"whole points", "cb_draw_points", {1, 0.5, 1.5}, ""},
    {"a name of the application's own", "ev", {}, ""},
};

TEST(ScriptedService, ShowsAPushThatCallsNothing)
{
    CScriptedService service;
    CRawClient client(kPort);
    for (const char* const event :
         {"cb_engage_status", "cb_offsets", "cb_wayline_status", "cb_draw_points", "ev"}) {
        client.Send(Bytes::Subscription(event));
        ASSERT_TRUE(service.WaitForSubscriptions(event, 1));
    }
    for (const PushRow& row : kPushes) {
        service.ForgetScript();
        service.Push(row.event, row.payload);
        EXPECT_EQ(row.problem, service.Problems()) << row.label;
    }
}

TEST(ScriptedService, ShowsAPushWhoseSubscriberHasLeft)
{
    CScriptedService service;
    {
        CRawClient client(kPort);
        client.Send(Bytes::Subscription("cb_offsets"));
        ASSERT_TRUE(service.WaitForSubscriptions("cb_offsets", 1));
    }
    ASSERT_TRUE(service.WaitForClients(0));

    service.PushToAll("cb_ofsets", {});
    EXPECT_EQ("", service.Problems());
    service.Push("cb_offsets", {0.5});
    EXPECT_EQ("pushed without a subscriber: cb_offsets [double 0.5]\n", service.Problems());
}

TEST(ScriptedService, PushesToSubscribersOrToAll)
{
    CScriptedService service;
    CRawClient subscriber(kPort);
    CRawClient other(kPort);
    subscriber.Send(Bytes::Subscription("ev"));
    ASSERT_TRUE(service.WaitForSubscriptions("ev", 1));
    ASSERT_TRUE(service.WaitForClients(2));
    service.Push("ev", {1});
    service.PushToAll("ev", {2});
    service.SendBytes(Notification("raw", "\x90"));
    EXPECT_EQ("[2,\"ev\",[1]]", subscriber.Read().text);
    EXPECT_EQ("[2,\"ev\",[2]]", subscriber.Read().text);
    EXPECT_EQ("[2,\"ev\",[2]]", other.Read().text);
    EXPECT_EQ("[2,\"raw\",[]]", other.Read().text);
}

TEST(ScriptedService, ListensWhereItIsToldTo)
{
    CScriptedService service(EListen::Not);
    EXPECT_FALSE(Connects("127.0.0.1") || Connects("::1"));
    service.Listen(EListen::IPv4Only);
    EXPECT_TRUE(Connects("127.0.0.1") && !Connects("::1"));
    service.Listen(EListen::IPv6Only);
    EXPECT_TRUE(!Connects("127.0.0.1") && Connects("::1"));
    service.Listen(EListen::Both);
    EXPECT_TRUE(Connects("127.0.0.1") && Connects("::1"));
    service.Listen(EListen::Not);
    EXPECT_FALSE(Connects("127.0.0.1") || Connects("::1"));
}

TEST(ScriptedService, ThrowsWhenThePortIsTaken)
{
    const CScriptedService first;
    try {
        const CScriptedService second;
        FAIL() << "listened twice";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("port 5010 is already in use", error.what());
    }
}

TEST(ScriptedService, ClosesAtAcceptUntilToldOtherwise)
{
    CScriptedService service;
    service.SetClosesAtAccept(true);
    CRawClient closed(kPort);
    EXPECT_EQ(0, closed.WaitForEnd());
    service.SetClosesAtAccept(false);
    CRawClient open(kPort);
    EXPECT_TRUE(service.WaitForAccepted(2) && service.WaitForClients(1));
}

TEST(ScriptedService, StopsAndDropsEveryLink)
{
    CScriptedService service;
    CRawClient client(kPort);
    ASSERT_TRUE(service.WaitForClients(1));
    service.Stop();
    EXPECT_EQ(0, client.WaitForEnd());
    EXPECT_FALSE(Connects("127.0.0.1"));
    service.Listen(EListen::Both);
    CRawClient again(kPort);
    EXPECT_TRUE(service.WaitForClients(1));
    service.ResetLink();
    EXPECT_EQ(ECONNRESET, again.WaitForEnd());
}

TEST(ScriptedService, GivesUpWaitingAtTheDeadline)
{
    const CScriptedService service;
    EXPECT_FALSE(service.WaitForCalls("a", 1, 1));
    EXPECT_FALSE(service.WaitForSubscriptions("ev", 1, 1));
    EXPECT_FALSE(service.WaitForClients(1, 1));
    EXPECT_FALSE(service.WaitForAccepted(1, 1));
    EXPECT_TRUE(service.WaitForCalls("a", 0, 1));
}
