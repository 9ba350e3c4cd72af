#include "tests/api/ApiTest.h"
#include "tests/api/ContractTable.h"

namespace {

class SteeringOperations : public CApiTest
{
protected:
    void Reply(int value) { recording.ReplyWith(new BAtomC(value)); }
    void ExpectSent(const std::string& line)
    {
        EXPECT_EQ(recording.CountStartingWith(line), 1) << line;
    }
};

TEST_F(SteeringOperations, MakeOneAttemptToConnectWhenTheServiceIsDown)
{
    TakeServiceDown();

    EXPECT_EQ(api.EngageSteering(), -1);
    EXPECT_EQ(recording.Transcript(), kUnreachable);
    EXPECT_FALSE(api.IsSteeringEngaged());
}

TEST_F(SteeringOperations, CountOnlyOneAsTrueInTheQueries)
{
    for (const int value : {1, 0, 2, -1}) {
        Reply(value);
        Reply(value);
        EXPECT_EQ(api.IsSteeringEngaged(), value == 1) << value;
        EXPECT_EQ(api.IsNavigationActivated(), value == 1) << value;
    }
}

TEST_F(SteeringOperations, CountEveryReplyButZeroAsTrueInTheSettings)
{
    for (const int value : {1, 0, 2, -1}) {
        Reply(value);
        Reply(value);
        Reply(value);
        EXPECT_EQ(api.GetReverseEngageEnabled(), value != 0) << value;
        EXPECT_EQ(api.GetAllowReverseEngage(), value != 0) << value;
        EXPECT_EQ(api.GetLowSpeedEngageEnabled(), value != 0) << value;
    }
}

TEST_F(SteeringOperations, SendTheTimeOutWithoutALeadingOne)
{
    api.SetLowSpeedEngageTimeout(2.1, true);

    ExpectSent("SendNotification set_low_speed_engage_timeout [double 2.1, int 1]");
}

TEST_F(SteeringOperations, SendTheValueFirstAndTheWishToPersistLast)
{
    api.SetReverseEngageEnabled(false, true);

    ExpectSent("SendNotification set_reverse_engage_enabled [int 0, int 1]");
}

TEST_F(SteeringOperations, SendTheLeadingOneBeforeTheFlagOfStartNavigation)
{
    Reply(1);

    EXPECT_EQ(api.StartNavigation(false), 1);

    ExpectSent("CallMethod StartNavigation [int 1, int 0]");
}

TEST_F(SteeringOperations, GiveZeroForALookAheadTimeThatCannotBeHad)
{
    EXPECT_EQ(api.GetLookAheadTime(), 0.0) << "no reply";
    recording.ReplyWith(Contract::ListOf(2.1).release());
    EXPECT_EQ(api.GetLookAheadTime(), 0.0) << "no single value";
    recording.SetVerified(false);
    EXPECT_EQ(api.GetLookAheadTime(), 0.0) << "no usable connection";
}

TEST_F(SteeringOperations, SendEmptyListsWhereTheServiceTakesNoLeadingOne)
{
    api.ClearNavigation();
    static_cast<void>(api.IsSteeringEngaged());

    ExpectSent("CallMethod ClearNavigation []");
    ExpectSent("CallMethod IsSteeringEngaged []");
}

TEST_F(SteeringOperations, DestroyTheListOfClearNavigationBeforeTheReply)
{
    Reply(1);
    recording.ClearTranscript();

    EXPECT_EQ(api.ClearNavigation(), 1);

    const Lines call = {"list made", "CallMethod ClearNavigation []", "list destroyed",
                        "reply destroyed"};
    EXPECT_EQ(recording.Transcript(), kLinkUp + call);
}

TEST_F(SteeringOperations, PassTheServicesIntegerOn)
{
    for (const int value : {0, -1, 2147483647, -2147483647 - 1}) {
        Reply(value);
        EXPECT_EQ(api.EngageSteering(), value);
    }
}

} // namespace
