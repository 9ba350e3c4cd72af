#include <cerrno>
#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "tests/faults/Calls.h"
#include "tests/faults/Process.h"
#include "tests/faults/SystemCalls.h"

namespace {

using Clock = std::chrono::steady_clock;

/// A system call and the errors with which it may fail.
struct FailureRow
{
    const char* what;
    ESystemCall call;
    int error;
};

const FailureRow kFailures[] = {
    {"socket: EMFILE", ESystemCall::Socket, EMFILE},
    {"socket: ENOBUFS", ESystemCall::Socket, ENOBUFS},
    {"connect: ECONNREFUSED", ESystemCall::Connect, ECONNREFUSED},
    {"connect: EADDRNOTAVAIL", ESystemCall::Connect, EADDRNOTAVAIL},
    {"connect: EAGAIN", ESystemCall::Connect, EAGAIN},
    {"send: EINTR", ESystemCall::Send, EINTR},
    {"send: EAGAIN", ESystemCall::Send, EAGAIN},
    {"send: EPIPE", ESystemCall::Send, EPIPE},
    {"send: ENOBUFS", ESystemCall::Send, ENOBUFS},
    {"recv: EINTR", ESystemCall::Recv, EINTR},
    {"recv: EAGAIN", ESystemCall::Recv, EAGAIN},
    {"recv: ECONNRESET", ESystemCall::Recv, ECONNRESET},
    {"recv: ENOMEM", ESystemCall::Recv, ENOMEM},
    {"poll: EINTR", ESystemCall::Poll, EINTR},
    {"poll: ENOMEM", ESystemCall::Poll, ENOMEM},
};

/// The life of a client: made, subscribed, called, listening, and called again after the service
/// has closed the connection.
bool LiveAndFail(const FailureRow& row, int nth)
{
    CRawPeer service([](CRawLink& link) {
        if (link.Number() == 1) {
            const CRawMessage call = NextCall(link);
            link.Send(OffsetEvent(1.0));
            link.WaitUntilTaken();
            link.Send(ReplyTo(call));
            return;
        }
        Serve(link);
    });
    CSystemCallWatch watch;
    watch.LetFail(row.call, nth, row.error);
    CNavigationAPI navigation;
    navigation.SetTimeout(200);
    navigation.SetOffsetCallback(Core::Functors::MakeFunctor([](double) {}));
    for (const CCall& call : kCalls) {
        const std::size_t sentBefore = watch.Sent().size();
        const double value = call.make(navigation);
        const std::string sent = watch.Sent().substr(sentBefore);
        EXPECT_EQ(sent.find(call.serviceName), sent.rfind(call.serviceName)) << row.what;
        EXPECT_TRUE(value == call.value || value == call.failure || value == kSecondLookAheadTime)
            << row.what << ' ' << nth << ": " << call.serviceName << " gave " << value;
        navigation.ProcessMessages(false);
        navigation.ReceiveMessage(false);
    }
    const bool hasFailed = watch.HasFailed();
    watch.LetFail(row.call, -1, 0);
    navigation.SetTimeout(10000);
    EXPECT_EQ(7, navigation.EngageSteering()) << row.what << ' ' << nth;
    navigation.SetOffsetCallback(nullptr);
    return hasFailed;
}

} // namespace

TEST(SystemCallFault, OfTheNthCallOfEachKindCostsAtMostTheCallThatMeetsIt)
{
    for (const FailureRow& row : kFailures) {
        const int descriptors = CountDescriptors();
        int nth = 1;
        for (bool hasFailed = true; hasFailed; ++nth) {
            ASSERT_LT(nth, 200) << row.what;
            const Clock::time_point start = Clock::now();
            hasFailed = LiveAndFail(row, nth);
            EXPECT_LT(Clock::now() - start, std::chrono::seconds(3)) << row.what << ' ' << nth;
            ASSERT_EQ(descriptors, CountDescriptors()) << row.what << ' ' << nth;
        }
        RecordProperty(row.what, nth - 2);
    }
}

TEST(SystemCallCount, OfAMessageIsOneSend)
{
    CRawPeer service(Serve);
    CNavigationAPI navigation;
    for (const CCall& call : kCalls) {
        const CSystemCallWatch watch;
        call.make(navigation);
        EXPECT_EQ(1, watch.Count(ESystemCall::Send)) << call.serviceName;
        EXPECT_EQ(0, watch.Count(ESystemCall::Poll)) << call.serviceName;
    }
}
