#include <string>

#include <gtest/gtest.h>

#include "api/NavigationAPI.h"
#include "testing/ScriptedService.h"
#include "tests/support/Stopwatch.h"

using Kestrove::Testing::CAnswer;
using Kestrove::Testing::CScriptedService;
using Kestrove::Testing::EListen;

namespace {

/// An operation of either guard.
struct GuardRow
{
    const char* guard;
    const char* serviceName;
    bool (*succeeds)(CNavigationAPI&);
};

const GuardRow kGuards[] = {
    {"reconnecting", "EngageSteering",
     [](CNavigationAPI& navigation) { return navigation.EngageSteering() == 1; }},
    {"verifying", "get_lookahead_time",
     [](CNavigationAPI& navigation) { return navigation.GetLookAheadTime() == 2.5; }},
};

void AnswerBoth(CScriptedService& service)
{
    service.Answer("EngageSteering", 1);
    service.Answer("get_lookahead_time", 2.5);
    service.Answer("set_lookahead_time", CAnswer::Nothing());
}

/// The ways in which a service can lose its clients, and be there again.
struct LossRow
{
    const char* what;
    void (*happens)(CScriptedService&);
};

const LossRow kLosses[] = {
    {"the service restarts",
     [](CScriptedService& service) {
         service.Stop();
         service.Listen(EListen::Both);
     }},
    {"the service drops the link", [](CScriptedService& service) { service.DropLink(); }},
    {"the service resets the link", [](CScriptedService& service) { service.ResetLink(); }},
};

} // namespace

TEST(Link, GivesTheFailureValueWhileThereIsNoService)
{
    CNavigationAPI navigation;
    for (const GuardRow& row : kGuards) {
        const CStopwatch stopwatch;
        EXPECT_FALSE(row.succeeds(navigation)) << row.guard;
        EXPECT_LT(stopwatch.Milliseconds(), 1000) << row.guard;
        EXPECT_EQ(ELinkError::Refused, navigation.LastError().code) << row.guard;
    }
    EXPECT_EQ(-1, navigation.EngageSteering());
    EXPECT_EQ(0.0, navigation.GetLookAheadTime());
}

TEST(Link, ConnectsOnTheFirstCallAfterTheServiceHasStarted)
{
    for (const GuardRow& row : kGuards) {
        CScriptedService service(EListen::Not);
        AnswerBoth(service);
        CNavigationAPI navigation;
        EXPECT_FALSE(row.succeeds(navigation)) << row.guard;
        service.Listen(EListen::Both);
        EXPECT_TRUE(row.succeeds(navigation)) << row.guard;
        EXPECT_EQ(1U, service.AcceptedCount()) << row.guard;
    }
}

TEST(Link, IsReopenedByTheFirstCallOfEitherGuardAfterItWasLost)
{
    for (const LossRow& loss : kLosses) {
        for (const GuardRow& row : kGuards) {
            CScriptedService service;
            AnswerBoth(service);
            CNavigationAPI navigation;
            ASSERT_TRUE(row.succeeds(navigation)) << row.guard;
            loss.happens(service);
            EXPECT_TRUE(row.succeeds(navigation)) << row.guard << ", " << loss.what;
            EXPECT_EQ(2U, service.AcceptedCount()) << row.guard << ", " << loss.what;
        }
    }
}

TEST(Link, DeliversTheFirstNotificationAfterItWasLost)
{
    for (const LossRow& loss : kLosses) {
        CScriptedService service;
        AnswerBoth(service);
        CNavigationAPI navigation;
        ASSERT_EQ(2.5, navigation.GetLookAheadTime());
        loss.happens(service);
        navigation.SetLookAheadTime(1.5, true);
        EXPECT_TRUE(service.WaitForCalls("set_lookahead_time", 1)) << loss.what;
    }
}

TEST(Link, FailsAtOnceWhenTheServiceGoesWhileAReplyIsAwaited)
{
    for (const CAnswer& end : {CAnswer::DropLink(), CAnswer::ResetLink()}) {
        for (const GuardRow& row : kGuards) {
            CScriptedService service;
            service.Answer(row.serviceName, end);
            CNavigationAPI navigation;
            navigation.SetTimeout(30000);
            const CStopwatch stopwatch;
            EXPECT_FALSE(row.succeeds(navigation)) << row.guard;
            EXPECT_LT(stopwatch.Milliseconds(), 5000) << row.guard;
            EXPECT_EQ(ELinkError::Closed, navigation.LastError().code) << row.guard;
        }
    }
}

TEST(Link, NeverSendsARequestTwice)
{
    for (const GuardRow& row : kGuards) {
        CScriptedService service;
        service.Answer(row.serviceName, CAnswer::DropLink());
        CNavigationAPI navigation;
        EXPECT_FALSE(row.succeeds(navigation)) << row.guard;
        EXPECT_EQ(1U, service.CallCount(row.serviceName)) << row.guard;
        AnswerBoth(service);
        EXPECT_TRUE(row.succeeds(navigation)) << row.guard;
        EXPECT_EQ(2U, service.CallCount(row.serviceName)) << row.guard;
    }
}

TEST(Link, IsMadeToWhicheverLoopbackAddressTheServiceListensOn)
{
    for (const EListen addresses : {EListen::IPv4Only, EListen::IPv6Only, EListen::Both}) {
        CScriptedService service(addresses);
        AnswerBoth(service);
        CNavigationAPI navigation;
        EXPECT_EQ(1, navigation.EngageSteering()) << static_cast<int>(addresses);
        EXPECT_EQ(1U, service.AcceptedCount()) << static_cast<int>(addresses);
    }
}

TEST(Link, IsTriedOnceACallWhenTheServiceClosesAtAccept)
{
    CScriptedService service;
    AnswerBoth(service);
    service.SetClosesAtAccept(true);
    CNavigationAPI navigation;
    std::size_t attempts = 1;
    for (const GuardRow& row : {kGuards[0], kGuards[1], kGuards[0], kGuards[1]}) {
        ASSERT_TRUE(service.WaitForAccepted(attempts) && service.WaitForClients(0)) << row.guard;
        EXPECT_FALSE(row.succeeds(navigation)) << row.guard;
        ++attempts;
    }
    ASSERT_TRUE(service.WaitForAccepted(attempts) && service.WaitForClients(0));
    service.SetClosesAtAccept(false);
    EXPECT_EQ(1, navigation.EngageSteering());
    EXPECT_EQ(attempts + 1, service.AcceptedCount());
    EXPECT_EQ(1U, service.CallCount("EngageSteering"));
}

TEST(Link, StaysUpAfterATimeoutAndTheLateReplyAnswersNothing)
{
    CScriptedService service;
    service.Answer("EngageSteering", CAnswer(5).Held());
    service.Answer("StopNavigation", 1);
    CNavigationAPI navigation;
    navigation.SetTimeout(50);
    EXPECT_EQ(-1, navigation.EngageSteering());
    EXPECT_EQ(ELinkError::TimedOut, navigation.LastError().code);
    service.ReleaseHeld();
    navigation.SetTimeout(10000);
    EXPECT_EQ(1, navigation.StopNavigation());
    EXPECT_EQ(1U, service.AcceptedCount());
}

TEST(Link, ServesSeveralClientsOfOneProcess)
{
    CScriptedService service;
    AnswerBoth(service);
    CNavigationAPI first;
    CNavigationAPI second;
    EXPECT_EQ(1, first.EngageSteering());
    EXPECT_EQ(1, second.EngageSteering());
    EXPECT_TRUE(service.WaitForClients(2));
    EXPECT_EQ(2.5, first.GetLookAheadTime());
}

TEST(Link, IsClosedByTheDestructor)
{
    CScriptedService service;
    {
        const CNavigationAPI navigation;
        EXPECT_TRUE(service.WaitForClients(1));
    }
    EXPECT_TRUE(service.WaitForClients(0));
    EXPECT_EQ("", service.Problems());
}
