#include "tests/api/ApiTest.h"
#include "tests/api/ContractTable.h"

namespace {

using Doubles::Recording;

TEST(ClientConstruction, ConnectsOnceAndDoesNotLookAtTheOutcome)
{
    Recording().Reset();
    Recording().SetServiceReachable(false);

    const CNavigationAPI api;

    EXPECT_EQ(Recording().Transcript(),
              (Lines{"client made, reconnects: true", "Connect localhost 5010 -1"}));
}

TEST(ClientConstruction, WithoutAServiceGivesAClientWhoseOperationsFail)
{
    Recording().Reset();
    Recording().SetServiceReachable(false);
    Recording().SetVerified(false);
    CNavigationAPI api;
    Recording().ClearTranscript();

    EXPECT_EQ(api.EngageSteering(), -1);
    EXPECT_FALSE(api.IsSteeringEngaged());
    EXPECT_EQ(api.GetLookAheadTime(), 0.0);

    EXPECT_EQ(Recording().Transcript(),
              kUnreachable + kUnreachable + Lines{"VerifyConnection: false"});
}

TEST(ClientConstruction, WithoutAServiceIsMadeGoodByTheNextReconnectingCall)
{
    Recording().Reset();
    Recording().SetServiceReachable(false);
    CNavigationAPI api;
    Recording().SetServiceReachable(true);
    Recording().ReplyWith(new BAtomC(1));
    Recording().ClearTranscript();

    EXPECT_EQ(api.EngageSteering(), 1);

    const Lines call = {"list made", "CallMethod EngageSteering [int 1]", "reply destroyed",
                        "list destroyed"};
    EXPECT_EQ(Recording().Transcript(), kReconnected + call);
}

TEST(ClientDestruction, ClosesTheConnection)
{
    Recording().Reset();
    {
        const CNavigationAPI api;
        Recording().ClearTranscript();
    }
    EXPECT_EQ(Recording().Transcript(), Lines{"connection closed"});
}

class ClientLink : public CApiTest
{
};

TEST_F(ClientLink, ThatWasTakenOverCountsAsUp)
{
    recording.SetServiceReachable(false);
    recording.DropLink();
    EXPECT_EQ(api.StopNavigation(), -1);
    api.Accept(3);
    recording.ReplyWith(new BAtomC(1));

    EXPECT_EQ(api.StopNavigation(), 1);

    EXPECT_EQ(recording.CountStartingWith("Connect"), 1);
}

TEST_F(ClientLink, IsTriedAgainByEveryReconnectingCall)
{
    TakeServiceDown();

    EXPECT_EQ(api.StopNavigation(), -1);
    EXPECT_EQ(api.StopNavigation(), -1);

    EXPECT_EQ(recording.Transcript(), kUnreachable + kUnreachable);
}

TEST_F(ClientLink, IsNeverOpenedByAVerifyingGuard)
{
    TakeServiceDown();

    api.SetLookAheadTime(1.1, true);

    EXPECT_EQ(recording.Transcript(), Lines{"VerifyConnection: false"});
}

TEST_F(ClientLink, ThatGivesNoReplyLeavesNothingBehind)
{
    EXPECT_EQ(api.EngageSteering(), -1);

    EXPECT_EQ(recording.LiveElements(), 0);
}

TEST_F(ClientLink, GivesTheFailureValueForAListWhereAValueBelongs)
{
    recording.ReplyWith(Contract::ListOf(1, 2.1).release());

    EXPECT_EQ(api.GetLookAheadTime(), 0.0);

    EXPECT_EQ(recording.LiveElements(), 0);
}

} // namespace
