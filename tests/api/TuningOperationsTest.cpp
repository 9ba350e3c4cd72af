#include <limits>

#include "tests/api/ApiTest.h"
#include "tests/api/ContractTable.h"

namespace {

using Contract::ListOf;

class TuningOperations : public CApiTest
{
protected:
    void ExpectSent(const std::string& line)
    {
        EXPECT_EQ(recording.CountStartingWith(line), 1) << line;
    }
    double lowest = 7.0;
    double start = 8.0;
    double highest = 9.0;
};

TEST_F(TuningOperations, ShortcutsAskForTheirParameter)
{
    static_cast<void>(api.GetSensitivity());
    static_cast<void>(api.GetAggressiveness());
    static_cast<void>(api.GetOvershoot());
    static_cast<void>(api.GetSpeedAdjust());

    for (const char* parameter : {"[int 0]", "[int 1]", "[int 2]", "[int 3]"}) {
        ExpectSent(std::string("CallMethod get_tuning_parameter ") + parameter);
    }
}

TEST_F(TuningOperations, ShortcutsSetTheirParameter)
{
    api.SetSpeedAdjust(0.1F, true);
    api.SetSensitivity(2.0F, false);

    ExpectSent("SendNotification set_tuning_parameter [int 3, double 0.10000000149011612, int 1]");
    ExpectSent("SendNotification set_tuning_parameter [int 0, double 2, int 0]");
}

TEST_F(TuningOperations, TakeExactlyThreeLimitsOrNone)
{
    for (const int count : {0, 1, 2, 4}) {
        auto reply = std::make_unique<BListC>(nullptr);
        for (int i = 0; i < count; ++i) {
            reply->AddDouble(i);
        }
        recording.ReplyWith(reply.release());
        EXPECT_FALSE(api.GetTuningLimits(Kestrove::Overshoot, lowest, start, highest)) << count;
        EXPECT_EQ(recording.CountStartingWith("reply destroyed"), 1) << count;
        recording.ClearTranscript();
    }
    EXPECT_EQ(lowest, 7.0);
    EXPECT_EQ(start, 8.0);
    EXPECT_EQ(highest, 9.0);
}

TEST_F(TuningOperations, GiveTheLimitsInTheServicesOrder)
{
    recording.ReplyWith(ListOf(1.1, 2.1, 3.1).release());

    EXPECT_TRUE(api.GetTuningLimits(Kestrove::Overshoot, lowest, start, highest));

    EXPECT_EQ(lowest, 1.1);
    EXPECT_EQ(start, 2.1);
    EXPECT_EQ(highest, 3.1);
}

TEST_F(TuningOperations, GiveZeroForAParameterThatComesAsAList)
{
    recording.ReplyWith(ListOf(0.5).release());

    EXPECT_EQ(api.GetTuningParameter(Kestrove::Overshoot), 0.0F);
}

TEST_F(TuningOperations, NarrowAParameterToFloatAndWidenItBack)
{
    recording.ReplyWith(new BAtomC(0.1));
    EXPECT_EQ(api.GetTuningParameter(Kestrove::Overshoot), 0.1F);

    api.SetTuningParameter(Kestrove::Overshoot, 0.1F, false);
    ExpectSent("SendNotification set_tuning_parameter [int 2, double " +
               Doubles::Describe(static_cast<double>(0.1F)) + ", int 0]");
}

TEST_F(TuningOperations, SendAParameterWithoutANameAsItIs)
{
    static_cast<void>(api.GetTuningParameter(static_cast<Kestrove::ETuningParameter>(-7)));

    ExpectSent("CallMethod get_tuning_parameter [int -7]");
}

TEST_F(TuningOperations, PutTheLeadingOneBeforeTheCurveFilterSize)
{
    EXPECT_EQ(api.GetCurveFilterSize(), -1);
    api.SetCurveFilterSize(7);

    ExpectSent("CallMethod GetCurveFilterSize [int 1]");
    ExpectSent("SendNotification SetCurveFilterSize [int 1, int 7]");
}

TEST_F(TuningOperations, SetLimitsIsTrueOnceItIsHandedToTheConnection)
{
    EXPECT_TRUE(api.SetTuningLimits(Kestrove::Overshoot, 0.1, 0.3, 0.9));

    ExpectSent("SendNotification SetTuningLimits [int 2, double 0.1, double 0.3, double 0.9]");
}

TEST_F(TuningOperations, ResetIntegralTellsWhetherTheConnectionIsUsable)
{
    EXPECT_TRUE(api.ResetIntegral());
    ExpectSent("SendNotification reset_integral []");

    recording.SetVerified(false);
    EXPECT_FALSE(api.ResetIntegral());
    ExpectSent("SendNotification reset_integral []");
}

TEST_F(TuningOperations, KeepOneListForEveryCallThatLeavesItToTheConnection)
{
    static_cast<void>(api.GetTuningLimits(Kestrove::Overshoot, lowest, start, highest));
    EXPECT_EQ(recording.LiveLists(), 1) << "GetTuningLimits";
    api.SetTuningLimits(Kestrove::Overshoot, 0.1, 0.3, 0.9);
    EXPECT_EQ(recording.LiveLists(), 2) << "SetTuningLimits";
    api.SetVelocitySetPoint(2.5F);
    EXPECT_EQ(recording.LiveLists(), 3) << "SetVelocitySetPoint";
    static_cast<void>(api.GetVelocitySetPoint());
    EXPECT_EQ(recording.LiveLists(), 4) << "GetVelocitySetPoint without a reply";
}

TEST_F(TuningOperations, GetVelocitySetPointDestroysItsListWithAReplyOfAnotherTypeToo)
{
    recording.ReplyWith(new BAtomC(2.5));

    EXPECT_EQ(api.GetVelocitySetPoint(), 0.0F);

    EXPECT_EQ(recording.LiveElements(), 0);
}

TEST_F(TuningOperations, GetVelocitySetPointReadsAnEmptyReplyAsZero)
{
    recording.ReplyWith(ListOf().release());

    EXPECT_EQ(api.GetVelocitySetPoint(), 0.0F);

    EXPECT_EQ(recording.LiveElements(), 0);
}

} // namespace
