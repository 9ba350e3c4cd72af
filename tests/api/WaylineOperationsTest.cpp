#include <stdexcept>

#include "tests/api/ApiTest.h"
#include "tests/api/ContractTable.h"

namespace {

using Contract::ListOf;
using Kestrove::WaylinePtr;

class WaylineOperations : public CApiTest
{
protected:
    void Reply(BElementC* reply)
    {
        recording.ReplyWith(reply);
        recording.ClearTranscript();
    }
    void ExpectSent(const std::string& line)
    {
        EXPECT_EQ(recording.CountStartingWith(line), 1) << line;
    }
};

TEST_F(WaylineOperations, CalculateHeadingsOfNoWaylinesGiveWhatTheServiceReplies)
{
    Reply(ListOf(0.1, 1, 2.1).release());
    EXPECT_EQ(api.CalculateHeadings({}), (std::vector<double>{0.1, 1.0, 2.1}));
    ExpectSent("CallMethod calculate_headings []");

    Reply(ListOf().release());
    EXPECT_TRUE(api.CalculateHeadings({}).empty());
}

TEST_F(WaylineOperations, CalculateHeadingsMakeRoomForAllHeadingsAtOnce)
{
    Reply(ListOf(0.1, 1.1, 2.1, 3.1, 4.1).release());

    EXPECT_EQ(api.CalculateHeadings({}).capacity(), 5U) << "room that has grown would be for 8";
}

TEST_F(WaylineOperations, CalculateHeadingsGiveNothingForAReplyThatIsNoList)
{
    Reply(new BAtomC(0.1));

    EXPECT_TRUE(api.CalculateHeadings({}).empty());
}

TEST_F(WaylineOperations, CalculateHeadingsLeaveTheWaylinesToTheCaller)
{
    const std::vector<WaylinePtr> waylines = {WaylinePtr(new Kestrove::CPathWayline()),
                                              WaylinePtr(new Kestrove::CReplayWayline())};
    Reply(ListOf(0.1).release());

    EXPECT_EQ(api.CalculateHeadings(waylines), std::vector<double>{0.1});

    ExpectSent("CallMethod calculate_headings [[int 5], [int 6]]");
    EXPECT_EQ(recording.LiveElements(), 0);
    EXPECT_EQ(waylines[1]->Type(), Kestrove::EWaylineTypeReplay);
}

TEST_F(WaylineOperations, GetWaylineGivesNoWaylineWithoutAUsableConnection)
{
    recording.SetVerified(false);

    EXPECT_FALSE(api.GetWayline());
}

TEST_F(WaylineOperations, GetWaylineRebuildsTheWayline)
{
    Reply(ListOf(4, 1, 1.1, 2.1, 3.1).release());

    const WaylinePtr wayline = api.GetWayline();

    const auto& curve = dynamic_cast<const Kestrove::CABCurveWayline&>(*wayline);
    ASSERT_EQ(curve.points.size(), 1U);
    EXPECT_EQ(curve.points[0], Core::Maths::Vector3<double>(1.1, 2.1, 3.1));
}

TEST_F(WaylineOperations, GetWaylineGivesNoWaylineForAReplyThatIsNoList)
{
    Reply(new BAtomC(4));

    EXPECT_FALSE(api.GetWayline());

    EXPECT_EQ(recording.LiveElements(), 0);
}

TEST_F(WaylineOperations, GetWaylineLetsTheLengthErrorPassAndLeavesNothingBehind)
{
    Reply(ListOf(3, -1, 0.0).release());

    EXPECT_THROW(static_cast<void>(api.GetWayline()), std::length_error);

    EXPECT_EQ(recording.Transcript(),
              (Lines{"VerifyConnection: true", "list made", "CallMethod get_wayline []",
                     "reply destroyed", "list destroyed"}));
    EXPECT_EQ(recording.LiveElements(), 0);
    Reply(ListOf(5).release());
    EXPECT_EQ(api.GetWayline()->Type(), Kestrove::EWaylineTypePath);
}

TEST_F(WaylineOperations, SetWaylineIsTrueForARefusalToo)
{
    Reply(new BAtomC(0));

    EXPECT_TRUE(api.SetWayline(WaylinePtr(new Kestrove::CPathWayline())));

    ExpectSent("CallMethod set_wayline [int 5]");
}

TEST_F(WaylineOperations, SetWaylineSendsAnEmptyListForTheEmptyKind)
{
    api.SetWayline(WaylinePtr(new Kestrove::CEmptyWayline()));

    ExpectSent("CallMethod set_wayline []");
}

TEST_F(WaylineOperations, IsWaypointSetCountsOnlyOneAsTrue)
{
    for (const int value : {1, 0, 2, -1}) {
        Reply(new BAtomC(value));
        EXPECT_EQ(api.IsWaypointSet(0), value == 1) << value;
    }
}

TEST_F(WaylineOperations, ClearWaylineIsFalseForAListInPlaceOfAValue)
{
    Reply(ListOf(1).release());

    EXPECT_FALSE(api.ClearWayline());
}

TEST_F(WaylineOperations, CountEveryReplyButZeroAsDone)
{
    for (const int value : {1, 0, 2, -1}) {
        recording.ReplyWith(new BAtomC(value));
        recording.ReplyWith(new BAtomC(value));
        recording.ReplyWith(new BAtomC(value));
        EXPECT_EQ(api.ClearWayline(), value != 0) << value;
        EXPECT_EQ(api.StartWayline(Kestrove::EWaylineTypeSpline), value != 0) << value;
        EXPECT_EQ(api.SetWaypoint(0, 0.0, 0.0, 0.0, 0.0), value != 0) << value;
    }
}

TEST_F(WaylineOperations, StartWaylineSendsAKindWithoutANameAsItIs)
{
    api.StartWayline(static_cast<Kestrove::EWaylineType>(1000));

    ExpectSent("CallMethod start_wayline [int 1000]");
}

TEST_F(WaylineOperations, RestoreWaypointsFailsWhenTheServiceIsDown)
{
    TakeServiceDown();

    EXPECT_EQ(api.RestoreWaypoints(), -1);
}

} // namespace
