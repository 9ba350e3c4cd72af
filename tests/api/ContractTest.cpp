#include <map>

#include "tests/api/ApiTest.h"
#include "tests/api/ContractTable.h"

namespace {

using Contract::EDisposal;
using Contract::EGuard;
using Contract::EKind;
using Contract::Row;

std::string TestName(const testing::TestParamInfo<Row>& info)
{
    return info.param.Name() + "_" + std::to_string(info.index);
}

/// A reply that the row's operation cannot read: a list for a value, a value for a list.
BElementC* WrongReply(const Row& row)
{
    const std::unique_ptr<BElementC> normal(row.reply());
    if (normal->Type() == EBElementType::List) {
        return new BAtomC(5);
    }
    return Contract::ListOf(5, 5.5).release();
}

Lines GuardPassed(const Row& row)
{
    return row.guard == EGuard::Reconnecting ? kLinkUp : Lines{"VerifyConnection: true"};
}

Lines Call(const Row& row)
{
    const char* verb = row.kind == EKind::Request ? "CallMethod " : "SendNotification ";
    return row.building + Lines{verb + row.service + " " + row.arguments};
}

Lines ListDestroyed(const Row& row)
{
    return Lines{"list destroyed"} + row.cleaning;
}

/// What the platform sees after a call that brought a reply, or after a notification.
Lines Disposal(const Row& row)
{
    const Lines reply = row.kind == EKind::Request ? Lines{"reply destroyed"} : Lines{};
    switch (row.disposal) {
    case EDisposal::AtOnce:
        return ListDestroyed(row) + reply;
    case EDisposal::Kept:
        return reply;
    default:
        return reply + ListDestroyed(row);
    }
}

bool KeptWithoutReply(const Row& row)
{
    return row.disposal == EDisposal::Kept || row.disposal == EDisposal::KeptWithoutReply;
}

class WireContract : public CApiTest, public testing::WithParamInterface<Row>
{
protected:
    const Row& row = GetParam();

    void ScriptNormalReply()
    {
        if (row.kind == EKind::Request) {
            recording.ReplyWith(row.reply());
        }
        recording.ClearTranscript();
    }
};

TEST_P(WireContract, ReadsANormalReply)
{
    ScriptNormalReply();

    EXPECT_EQ(row.run(api), row.result) << row.operation;

    EXPECT_EQ(recording.Transcript(), GuardPassed(row) + Call(row) + Disposal(row));
    EXPECT_EQ(recording.LiveElements(), row.disposal == EDisposal::Kept ? 1 : 0);
}

TEST_P(WireContract, ConnectsOnceWhenTheLinkIsDownOnlyIfItReconnects)
{
    ScriptNormalReply();
    recording.DropLink();

    EXPECT_EQ(row.run(api), row.result) << row.operation;

    const Lines guard = row.guard == EGuard::Reconnecting ? kReconnected : GuardPassed(row);
    EXPECT_EQ(recording.Transcript(), guard + Call(row) + Disposal(row));
}

TEST_P(WireContract, MakesAndSendsNothingBehindARefusedGuard)
{
    TakeServiceDown();

    EXPECT_EQ(row.run(api), row.failure) << row.operation;

    const bool reconnects = row.guard == EGuard::Reconnecting;
    // A wayline that a call is given by value is made by the caller; nothing else may appear.
    EXPECT_EQ(recording.Transcript(), reconnects ? kUnreachable : Lines{"VerifyConnection: false"});
    EXPECT_EQ(recording.LiveElements(), 0);
}

/// What only notifications do.
class NotificationContract : public WireContract
{
};

TEST_P(NotificationContract, ReturnsTheSameWhateverTheSendingDid)
{
    recording.SetSending(false);

    EXPECT_EQ(row.run(api), row.result) << row.operation;

    EXPECT_EQ(recording.Transcript(), GuardPassed(row) + Call(row) + Disposal(row));
    EXPECT_EQ(recording.LiveElements(), row.disposal == EDisposal::Kept ? 1 : 0);
    EXPECT_EQ(api.LastError().code, ELinkError::Closed);
}

/// What only requests do.
class RequestContract : public WireContract
{
protected:
    void ExpectFailureWithoutReply()
    {
        EXPECT_EQ(row.run(api), row.failure);
        const Lines disposal = KeptWithoutReply(row) ? Lines{} : ListDestroyed(row);
        EXPECT_EQ(recording.Transcript(), GuardPassed(row) + Call(row) + disposal);
        EXPECT_EQ(recording.LiveLists(), KeptWithoutReply(row) ? 1 : 0);
    }
};

TEST_P(RequestContract, FailsWithoutAReply)
{
    ExpectFailureWithoutReply();
    EXPECT_EQ(api.LastError().code, ELinkError::TimedOut);
}

TEST_P(RequestContract, FailsWhenItCannotBeSent)
{
    recording.SetSending(false);
    recording.ReplyWith(row.reply()); // stays where it is: nothing has asked for it
    recording.ClearTranscript();

    EXPECT_EQ(row.run(api), row.failure) << row.operation;

    const Lines disposal = KeptWithoutReply(row) ? Lines{} : ListDestroyed(row);
    EXPECT_EQ(recording.Transcript(), GuardPassed(row) + Call(row) + disposal);
    EXPECT_EQ(api.LastError().code, ELinkError::Closed);
}

TEST_P(RequestContract, FailsOnAnErrorOfTheService)
{
    recording.ReplyWithError("out of order");

    ExpectFailureWithoutReply();
    EXPECT_EQ(api.LastError().text, "out of order");
}

TEST_P(RequestContract, FailsOnAReplyOfAnotherTypeAndDestroysIt)
{
    recording.ReplyWith(WrongReply(row));
    recording.ClearTranscript();

    EXPECT_EQ(row.run(api), row.resultOfWrongType) << row.operation;

    EXPECT_EQ(recording.Transcript(), GuardPassed(row) + Call(row) + Disposal(row));
    EXPECT_EQ(recording.LiveElements(), row.disposal == EDisposal::Kept ? 1 : 0);
}

/// What requests do whose reply is an int.
class IntReplyContract : public WireContract
{
protected:
    std::string ResultOf(double reply)
    {
        recording.ReplyWith(new BAtomC(reply));
        return row.run(api);
    }
    /// What the row returns for a reply of 0.
    std::string ResultOfZero() const
    {
        if (row.service == "set_wayline") {
            return "true"; // any reply will do
        }
        return row.result == "true" ? "false" : "0";
    }
};

TEST_P(IntReplyContract, ReadsADoubleWithoutItsFraction)
{
    const std::unique_ptr<BElementC> normal(row.reply());
    const int number = dynamic_cast<const BAtomC&>(*normal).IntValue();

    EXPECT_EQ(ResultOf(number < 0 ? number - 0.5 : number + 0.5), row.result) << row.operation;
    EXPECT_EQ(ResultOf(0.5), ResultOfZero()) << row.operation;
    EXPECT_EQ(ResultOf(-0.9), ResultOfZero()) << row.operation;
}

std::vector<Row> RowsWithIntReply()
{
    std::vector<Row> rows;
    for (const Row& row : Contract::Table()) {
        const std::unique_ptr<BElementC> normal(row.reply ? row.reply() : nullptr);
        if (normal != nullptr && normal->Type() == EBElementType::Integer) {
            rows.push_back(row);
        }
    }
    return rows;
}

std::vector<Row> RowsOf(EKind kind)
{
    std::vector<Row> rows;
    for (const Row& row : Contract::Table()) {
        if (row.kind == kind) {
            rows.push_back(row);
        }
    }
    return rows;
}

INSTANTIATE_TEST_SUITE_P(Operation, WireContract, testing::ValuesIn(Contract::Table()), TestName);
INSTANTIATE_TEST_SUITE_P(Operation, RequestContract, testing::ValuesIn(RowsOf(EKind::Request)),
                         TestName);
INSTANTIATE_TEST_SUITE_P(Operation, IntReplyContract, testing::ValuesIn(RowsWithIntReply()),
                         TestName);
INSTANTIATE_TEST_SUITE_P(Operation, NotificationContract,
                         testing::ValuesIn(RowsOf(EKind::Notification)), TestName);

/// A notification gets nothing back, so the few that return something say that the service could be
/// reached; the others return nothing at all.
TEST(WireContractTable, HasThreeNotificationsThatReturnSomething)
{
    std::map<std::string, std::string> returned;
    for (const Row& row : RowsOf(EKind::Notification)) {
        if (row.result != "nothing") {
            returned[row.Name()] = row.result;
        }
    }
    const std::map<std::string, std::string> expected = {
        {"ResetIntegral", "true"}, {"SetPositionData", "0"}, {"SetTuningLimits", "true"}};
    EXPECT_EQ(returned, expected);
}

} // namespace
