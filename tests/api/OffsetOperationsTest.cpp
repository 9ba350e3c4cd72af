#include "tests/api/ApiTest.h"
#include "tests/api/ContractTable.h"

namespace {

using Contract::ListOf;
using Vector = Core::Maths::Vector3<double>;

class OffsetOperations : public CApiTest
{
protected:
    void ExpectSent(const std::string& line)
    {
        EXPECT_EQ(recording.CountStartingWith(line), 1) << line;
    }
    Vector nudge{7.0, 8.0, 9.0};
};

TEST_F(OffsetOperations, NudgeFillsTheVectorWithAStatusOfZeroToo)
{
    recording.ReplyWith(ListOf(0, 1.1, 2.1, 3.1).release());

    EXPECT_EQ(api.Nudge(nudge, false, -0.1), 0);

    EXPECT_EQ(nudge, Vector(1.1, 2.1, 3.1));
    ExpectSent("CallMethod Nudge [int 1, int 0, double -0.1]");
}

TEST_F(OffsetOperations, LeaveTheVectorAloneWhenTheServiceIsDown)
{
    TakeServiceDown();

    EXPECT_EQ(api.Nudge(nudge, true, 0.1), -1);
    EXPECT_EQ(api.AutoSetNudge(nudge), -1);

    EXPECT_EQ(nudge, Vector(7.0, 8.0, 9.0));
}

TEST_F(OffsetOperations, ReadMissingElementsOfANudgeAsZero)
{
    recording.ReplyWith(ListOf(5, 1.1).release());
    EXPECT_EQ(api.Nudge(nudge, true, 0.1), 5);
    EXPECT_EQ(nudge, Vector(1.1, 0.0, 0.0));

    recording.ReplyWith(ListOf().release());
    EXPECT_EQ(api.AutoSetNudge(nudge), 0);
    EXPECT_EQ(nudge, Vector(0.0, 0.0, 0.0));

    recording.ReplyWith(ListOf(2.1).release());
    EXPECT_TRUE(api.GetNudgeVector(nudge));
    EXPECT_EQ(nudge, Vector(2.1, 0.0, 0.0));
}

TEST_F(OffsetOperations, ReadADoubleInThePlaceOfTheStatusWithoutItsFraction)
{
    recording.ReplyWith(ListOf(0.5, 1.1, 2.1, 3.1).release());
    EXPECT_EQ(api.Nudge(nudge, true, 0.1), 0);

    recording.ReplyWith(ListOf(-1.9, 1.1, 2.1, 3.1).release());
    EXPECT_EQ(api.AutoSetNudge(nudge), -1);
    EXPECT_EQ(nudge, Vector(1.1, 2.1, 3.1));
}

TEST_F(OffsetOperations, IgnoreFurtherElementsOfANudge)
{
    recording.ReplyWith(ListOf(1.1, 2.1, 3.1, 4.1, 5.1).release());

    EXPECT_TRUE(api.GetNudgeVector(nudge));

    EXPECT_EQ(nudge, Vector(1.1, 2.1, 3.1));
}

TEST_F(OffsetOperations, GiveMinusOneForNumbersWithoutAReply)
{
    EXPECT_EQ(api.GetFieldOffset(), -1.0);
    EXPECT_EQ(api.GetImplementOffset(), -1.0);
    EXPECT_EQ(api.GetImplementWidth(), -1.0);
    EXPECT_EQ(api.GetNudgeScalar(), -1.0);
}

TEST_F(OffsetOperations, SendTheUseOfTheImplementOffsetWithoutALeadingOne)
{
    api.SetSplinesUseImplementOffset(true);
    api.SetSplinesUseImplementOffset(false);

    ExpectSent("SendNotification SetSplinesUseImplementOffset [int 1]");
    ExpectSent("SendNotification SetSplinesUseImplementOffset [int 0]");
}

TEST_F(OffsetOperations, SendAFieldOffsetBehindTheLeadingOne)
{
    api.SetFieldOffset(2.1);

    ExpectSent("CallMethod SetFieldOffset [int 1, double 2.1]");
}

TEST_F(OffsetOperations, MakeRoomForTheirTwoElementsWhereTheyAlwaysHave)
{
    api.SetFieldOffset(2.1);
    api.SetImplementOffset(2.1);
    api.SetImplementWidth(2.1);
    EXPECT_EQ(recording.CountStartingWith("Reserve 2"), 3);

    api.SetNudge(2.1);
    EXPECT_EQ(recording.CountStartingWith("Reserve"), 3);
}

} // namespace
