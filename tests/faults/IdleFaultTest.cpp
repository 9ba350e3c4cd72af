#include <gtest/gtest.h>

#include "tests/faults/Fault.h"
#include "tests/faults/Scripts.h"

namespace {

/// Answers one call and then does something to the connection.
CFault::Script AfterOneReply(void (*happens)(CRawLink&))
{
    return Scripts::OnFirstConnection([happens](CRawLink& link) {
        link.Send(ReplyTo(NextCall(link)));
        link.WaitUntilTaken();
        happens(link);
    });
}

void Close(CRawLink&) {}

void Reset(CRawLink& link)
{
    link.Reset();
}

void HalfClose(CRawLink& link)
{
    link.EndSending();
    link.WaitForEnd();
}

void SayGarbage(CRawLink& link)
{
    link.Send("\xc1");
    link.WaitForEnd();
}

std::vector<CFault> IdleConnectionFaults()
{
    const auto nothing = [](const CRawMessage&) { return std::string(); };
    return {
        CFault("Closed", AfterOneReply(Close)).AfterAGoodCall().Succeeds().ThenWorksOnConnection(2),
        CFault("Reset", AfterOneReply(Reset)).AfterAGoodCall().Succeeds().ThenWorksOnConnection(2),
        CFault("HalfClosed", AfterOneReply(HalfClose))
            .AfterAGoodCall()
            .Succeeds()
            .ThenWorksOnConnection(2),
        CFault("SpoiltByGarbage", AfterOneReply(SayGarbage))
            .AfterAGoodCall()
            .Succeeds()
            .ThenWorksOnConnection(2),
        CFault("RestartedInPlaceOfAReply", Scripts::SendAndClose(nothing))
            .EndsTheConnection()
            .Fails(ELinkError::Closed)
            .ThenWorksOnConnection(2),
        CFault("RestartedWithResetInPlaceOfAReply", Scripts::SendAndReset(nothing))
            .EndsTheConnection()
            .Fails(ELinkError::Closed)
            .ThenWorksOnConnection(2),
    };
}

} // namespace

INSTANTIATE_TEST_SUITE_P(IdleConnection, Fault, testing::ValuesIn(IdleConnectionFaults()),
                         NameOfFault);
