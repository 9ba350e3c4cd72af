#include <memory>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "api/NavigationAPI.h"
#include "testing/ScriptedService.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"

using Bytes::FromHex;
using Bytes::Response;
using Kestrove::Testing::CAnswer;
using Kestrove::Testing::CScriptedService;

namespace {

/// Answers every request with bytes made of its number, cut in two at `at`, wherever that lies. The
/// second part is sent when the client has read the first.
CRawPeer::Script ReplyCutAt(const std::size_t& at, const std::string& result)
{
    return [&at, result](CRawLink& link) {
        while (true) {
            const std::string reply = Response(link.Read().number, result);
            link.Send(reply.substr(0, at));
            link.WaitUntilTaken();
            link.Send(reply.substr(at));
        }
    };
}

} // namespace

TEST(Reply, OfOneValueMayBeSplitAtEveryByte)
{
    const std::string result = FromHex("d2 00 01 e2 40");
    const std::size_t size = Response(0, result).size();
    std::size_t at = 1;
    CRawPeer peer(ReplyCutAt(at, result));
    CNavigationAPI navigation;
    for (; at < size; ++at) {
        EXPECT_EQ(123456, navigation.EngageSteering()) << at;
    }
}

TEST(Reply, OfAListMayBeSplitAtEveryByte)
{
    const std::string result =
        '\x93' + Bytes::Float64(0.5) + Bytes::Float64(-1e300) + Bytes::Float64(3.0);
    const std::size_t size = Response(0, result).size();
    std::size_t at = 1;
    CRawPeer peer(ReplyCutAt(at, result));
    CNavigationAPI navigation;
    for (; at < size; ++at) {
        Core::Maths::Vector3<double> nudge{};
        EXPECT_TRUE(navigation.GetNudgeVector(nudge)) << at;
        EXPECT_EQ(-1e300, nudge.y) << at;
    }
}

TEST(Reply, BehindAnotherInOnePacketIsDroppedByItsNumber)
{
    CRawPeer peer([](CRawLink& link) {
        while (true) {
            const std::uint64_t number = link.Read().number;
            link.Send(Response(number, "\x07") + Response(number, "\x08") +
                      Response(number + 1, "\x09"));
        }
    });
    CNavigationAPI navigation;
    for (int call = 0; call < 10; ++call) {
        EXPECT_EQ(7, navigation.EngageSteering()) << call;
    }
    EXPECT_EQ(1, peer.WaitForConnections(1));
}

TEST(Reply, AheadOfAnotherInOnePacketIsDroppedByItsNumber)
{
    CRawPeer peer([](CRawLink& link) {
        while (true) {
            const std::uint64_t number = link.Read().number;
            link.Send(Response(number - 1, "\x09") + Response(number + 1000, "\x09") +
                      Response(number, "\x07"));
        }
    });
    CNavigationAPI navigation;
    for (int call = 0; call < 10; ++call) {
        EXPECT_EQ(7, navigation.EngageSteering()) << call;
    }
}

TEST(Reply, UnderANumberThatWasNeverAskedIsDropped)
{
    CRawPeer peer([](CRawLink& link) {
        const CRawMessage request = link.Read();
        link.Send(FromHex("94 01 ff c0 09 94 01 cf ff ff ff ff ff ff ff ff c0 09"));
        link.Reply(request, "\x07");
        link.WaitForEnd();
    });
    CNavigationAPI navigation;
    EXPECT_EQ(7, navigation.EngageSteering());
}

TEST(Reply, OfNothingOrAnErrorGivesTheFailureValueAndKeepsTheLink)
{
    CScriptedService service;
    CNavigationAPI navigation;
    for (const CAnswer& answer :
         {CAnswer::Nothing(), CAnswer::Error("no line"), CAnswer::Error("")}) {
        for (const char* const name :
             {"EngageSteering", "IsSteeringEngaged", "get_lookahead_time", "GetFieldOffset",
              "get_wayline", "calculate_headings", "Nudge", "get_nudge_vector"}) {
            service.Answer(name, answer);
        }
        Core::Maths::Vector3<double> nudge{1.0, 2.0, 3.0};
        EXPECT_EQ(-1, navigation.EngageSteering());
        EXPECT_FALSE(navigation.IsSteeringEngaged());
        EXPECT_EQ(0.0, navigation.GetLookAheadTime());
        EXPECT_EQ(-1.0, navigation.GetFieldOffset());
        EXPECT_EQ(nullptr, navigation.GetWayline().Get());
        EXPECT_TRUE(navigation.CalculateHeadings({}).empty());
        EXPECT_EQ(-1, navigation.Nudge(nudge, true, 0.5));
        EXPECT_FALSE(navigation.GetNudgeVector(nudge));
        EXPECT_EQ(2.0, nudge.y);
    }
    EXPECT_EQ(1U, service.AcceptedCount());
}

TEST(Reply, TellsTheTextOfAServiceErrorAndThatNothingCame)
{
    CScriptedService service;
    CNavigationAPI navigation;
    service.Answer("EngageSteering", CAnswer::Error("machine is too fast"));
    EXPECT_EQ(-1, navigation.EngageSteering());
    EXPECT_EQ(ELinkError::ServiceError, navigation.LastError().code);
    EXPECT_NE(std::string::npos, navigation.LastError().text.find("machine is too fast"));
    service.Answer("EngageSteering", CAnswer::Nothing());
    EXPECT_EQ(-1, navigation.EngageSteering());
    EXPECT_EQ(ELinkError::NoValue, navigation.LastError().code);
    service.Answer("EngageSteering", -1);
    EXPECT_EQ(-1, navigation.EngageSteering());
    EXPECT_EQ(ELinkError::None, navigation.LastError().code);
}

TEST(Reply, OfTheWrongTypeGivesTheFailureValueAndKeepsTheLink)
{
    CScriptedService service;
    CNavigationAPI navigation;
    service.Answer("EngageSteering", CAnswer::List({1}));
    service.Answer("get_lookahead_time", CAnswer::List({2.5}));
    service.Answer("calculate_headings", 2.5);
    EXPECT_EQ(-1, navigation.EngageSteering());
    EXPECT_EQ(0.0, navigation.GetLookAheadTime());
    EXPECT_TRUE(navigation.CalculateHeadings({}).empty());
    EXPECT_EQ(1U, service.AcceptedCount());
}

TEST(Reply, ThatFailsAsAWaylinePassesTheLengthErrorAndTheNextCallWorks)
{
    CScriptedService service;
    service.Answer("get_wayline", CAnswer::List({3, -1, 0.0}));
    service.Answer("EngageSteering", 1);
    CNavigationAPI navigation;
    EXPECT_THROW(static_cast<void>(navigation.GetWayline()), std::length_error);
    EXPECT_EQ(1, navigation.EngageSteering());
    EXPECT_EQ(1U, service.AcceptedCount());
}

TEST(Reply, MayComeBetweenEvents)
{
    CRawPeer peer([](CRawLink& link) {
        link.Read(); // the subscription
        const std::uint64_t number = link.Read().number;
        const std::string event = Bytes::Notification("cb_offsets", '\x91' + Bytes::Float64(0.5));
        link.Send(event + event + Response(number, "\x07") + event);
        link.WaitForEnd();
    });
    CNavigationAPI navigation;
    int calls = 0;
    const std::unique_ptr<Core::Functors::Functor1<void, double>> functor(
        Core::Functors::MakeFunctor([&](double) { ++calls; }));
    navigation.SetOffsetCallback(functor.get());
    EXPECT_EQ(7, navigation.EngageSteering());
    EXPECT_EQ(0, calls);
    EXPECT_EQ(3, navigation.CheckCallbacks());
    EXPECT_EQ(3, calls);
}
