#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/faults/Fault.h"
#include "tests/faults/Scripts.h"
#include "tests/support/Bytes.h"

using Bytes::FromHex;

namespace {

// As long as the shortest of the right replies, less one.
constexpr std::size_t kLastCut = 16;

Scripts::Bytes FirstBytes(std::size_t count)
{
    return [count](const CRawMessage& call) { return ReplyTo(call).substr(0, count); };
}

CFault::Script CutAndClose(std::size_t at)
{
    return Scripts::SendAndClose(FirstBytes(at));
}

CFault::Script CutAndReset(std::size_t at)
{
    return Scripts::SendAndReset(FirstBytes(at));
}

CFault::Script CutAndStall(std::size_t at)
{
    return Scripts::SendAndStall(FirstBytes(at));
}

/// The second part is sent when the first has been read.
CFault::Script SplitAt(std::size_t at)
{
    return Scripts::OnFirstConnection([at](CRawLink& link) {
        const std::string reply = ReplyTo(NextCall(link));
        link.Send(reply.substr(0, at));
        link.WaitUntilTaken();
        link.Send(reply.substr(at));
        Serve(link);
    });
}

/// A response with the number's or the error's place filled in, followed by the right one.
CFault::Script NumberedOtherwise(const std::string& number)
{
    return Scripts::SendAhead(FromHex("94 01") + number + FromHex("c0 09"));
}

CFault::Script AnswerWithError(const std::string& error)
{
    return Scripts::Send([error](const CRawMessage& call) {
        return FromHex("94 01 cf") + Bytes::BigEndian(call.number, 8) + error + '\xc0';
    });
}

CFault::Script AnswerWith(const std::string& result)
{
    return Scripts::Send(
        [result](const CRawMessage& call) { return Bytes::Response(call.number, result); });
}

/// Answers the first call when it has been given up.
void AnswerLate(CRawLink& link)
{
    const CRawMessage call = NextCall(link);
    link.Pause(500);
    link.Send(ReplyTo(call));
    Serve(link);
}

/// Answers the first call together with the second, the first first.
void AnswerLateTogether(CRawLink& link)
{
    const CRawMessage first = NextCall(link);
    const CRawMessage second = NextCall(link);
    link.Send(Bytes::Response(first.number, "\x09") + ReplyTo(second));
    Serve(link);
}

std::vector<CFault> LostReplies()
{
    const auto nothing = [](const CRawMessage&) { return std::string(); };
    const auto whole = [](const CRawMessage& call) { return ReplyTo(call); };
    return {
        CFault("CutAfterEveryByte", Each(0, kLastCut, CutAndClose))
            .EndsTheConnection()
            .Fails(ELinkError::Closed)
            .ThenWorksOnConnection(2),
        CFault("ResetAfterEveryByte", Each(0, kLastCut, CutAndReset))
            .EndsTheConnection()
            .Fails(ELinkError::Closed)
            .ThenWorksOnConnection(2),
        CFault("StalledAfterEveryByte", Each(1, kLastCut, CutAndStall))
            .BeginsInTime()
            .WithTimeout(20)
            .Fails(ELinkError::TimedOut)
            .ThenWorksOnConnection(2)
            .NotificationsStayOnConnection(1),
        CFault("CompleteThenClosed", Scripts::SendAndClose(whole)).EndsTheConnection().Succeeds(),
        CFault("CompleteThenReset", Scripts::SendAndReset(whole)).EndsTheConnection().Succeeds(),
        CFault("Never", Scripts::Send(nothing))
            .SaysNothingToNotifications()
            .Fails(ELinkError::TimedOut)
            .ThenWorksOnConnection(1),
        CFault("AfterTheTimeout", AnswerLate).Fails(ELinkError::TimedOut).ThenWorksOnConnection(1),
        CFault("AfterTheTimeoutWithTheNextOne", AnswerLateTogether)
            .SaysNothingToNotifications()
            .Fails(ELinkError::TimedOut)
            .ThenWorksOnConnection(1),
        CFault("AByteAtATimeBeyondTheTimeout", Scripts::Trickle(whole, 20))
            .BeginsInTime()
            .Fails(ELinkError::TimedOut)
            .ThenWorksOnConnection(2)
            .NotificationsStayOnConnection(1),
    };
}

std::vector<CFault> OddReplies()
{
    const auto whole = [](const CRawMessage& call) { return ReplyTo(call); };
    const auto twice = [](const CRawMessage& call) {
        return ReplyTo(call) + Bytes::Response(call.number, "\x09");
    };
    const auto early = [](const CRawMessage& call) {
        return ReplyTo(call) + Bytes::Response(call.number + 1, "\x09");
    };
    const auto alike = [](const CRawMessage& call) {
        const std::uint64_t more = call.number + (std::uint64_t{1} << 32U);
        return FromHex("94 01 cf") + Bytes::BigEndian(more, 8) + FromHex("c0 09") + ReplyTo(call);
    };
    const auto errorAndResult = [](const CRawMessage& call) {
        return FromHex("94 01 cf") + Bytes::BigEndian(call.number, 8) + FromHex("a1 6e 07");
    };
    const std::vector<std::string> whatIsNoNumber = {
        "c0", "c2", "c3", "a1 31", "c4 01 31", "ca 3f 80 00 00", "cb 3f f0 00 00 00 00 00 00",
        "90", "80"};
    const std::vector<std::string> otherNumbers = {
        "00", "7f",    "cc ff",    "cd ff ff",       "cf ff ff ff ff ff ff ff ff",
        "ff", "d0 80", "d1 80 00", "d2 80 00 00 00", "d3 80 00 00 00 00 00 00 00"};
    const std::vector<std::string> errors = {
        "a2 6e 6f", "a0", "c4 01 6e", "07",         "ff", "c2", "c3", "cb 3f f0 00 00 00 00 00 00",
        "90",       "80", "91 91 01", "81 a1 61 01"};
    const std::vector<std::string> wrongTypes = {"90", "91 07", "80", "81 a1 61 07"};
    return {
        CFault("AByteAtATimeWithinTheTimeout", Scripts::Trickle(whole, 0))
            .Succeeds()
            .ThenWorksOnConnection(1),
        CFault("SplitAtEveryByte", Each(1, kLastCut, SplitAt)).Succeeds().ThenWorksOnConnection(1),
        CFault("Twice", Scripts::Send(twice)).Succeeds().ThenWorksOnConnection(1),
        CFault("BeforeItsRequest", Scripts::Send(early)).Succeeds().ThenWorksOnConnection(1),
        CFault("UnderAnotherNumber", EachOf(otherNumbers, NumberedOtherwise))
            .Succeeds()
            .ThenWorksOnConnection(1),
        CFault("UnderANumberAlikeIn32Bits", Scripts::Send(alike))
            .Succeeds()
            .ThenWorksOnConnection(1),
        CFault("UnderWhatIsNoNumber", EachOf(whatIsNoNumber, NumberedOtherwise))
            .Fails(ELinkError::BadMessage)
            .ThenWorksOnConnection(2),
        CFault("SeveralInOnePacket",
               Scripts::SendAhead(FromHex("94 01 ff c0 09") + OffsetEvent(1.0)))
            .Succeeds()
            .ThenWorksOnConnection(1),
        CFault("AnErrorOfEveryType", EachOf(errors, AnswerWithError))
            .Fails(ELinkError::ServiceError)
            .ThenWorksOnConnection(1),
        CFault("AnErrorAndAResult", Scripts::Send(errorAndResult))
            .Fails(ELinkError::ServiceError)
            .ThenWorksOnConnection(1),
        CFault("Nil", AnswerWith("\xc0")).Fails(ELinkError::NoValue).ThenWorksOnConnection(1),
        CFault("OfTheWrongType", EachOf(wrongTypes, AnswerWith)).Fails().ThenWorksOnConnection(1),
        CFault("AText", AnswerWith("\xa1x")).Gives(0.0).ThenWorksOnConnection(1),
    };
}

} // namespace

INSTANTIATE_TEST_SUITE_P(LostReply, Fault, testing::ValuesIn(LostReplies()), NameOfFault);
INSTANTIATE_TEST_SUITE_P(OddReply, Fault, testing::ValuesIn(OddReplies()), NameOfFault);
