#include <cerrno>
#include <ctime>
#include <memory>
#include <string>

#include <poll.h>

#include <gtest/gtest.h>

#include "tests/faults/Calls.h"
#include "tests/faults/Process.h"
#include "tests/faults/SystemCalls.h"
#include "tests/support/Stopwatch.h"

namespace {

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

constexpr int kTimeoutMilliseconds = 10000;
// The connect limit, the time-out and half a second.
constexpr int kLongestCall = 1000 + kTimeoutMilliseconds + 500;

/// A service that ends its first connection behind its first reply, ahead of which it has sent an
/// event that came by itself.
void EndAfterOneReply(CRawLink& link)
{
    if (link.Number() > 1) {
        Serve(link);
        return;
    }
    const CRawMessage call = NextCall(link);
    link.Send(OffsetEvent(1.0));
    link.WaitUntilTaken();
    link.Send(ReplyTo(call));
}

/// A client, one of whose system calls fails: it is made, subscribed, called, listening, and called
/// again after the service has ended the connection.
class CFailingLife
{
public:
    CFailingLife(const FailureRow& row, int nth) : m_row(row)
    {
        m_watch.LetFail(row.call, nth, row.error);
    }
    ~CFailingLife();
    CFailingLife(const CFailingLife&) = delete;
    CFailingLife& operator=(const CFailingLife&) = delete;

    /// @return whether the call that was to fail has been reached.
    bool Live();

private:
    double Make(const CCall& call);
    void MakeUnderTheFailure(const CCall& call);
    void AwaitTheEnd();
    void WorkAgain();

    const FailureRow& m_row;
    CRawPeer m_service{EndAfterOneReply};
    CSystemCallWatch m_watch;
    std::unique_ptr<CNavigationAPI> m_navigation;
    std::size_t m_timesSent = 0; // the last call
    int m_functorCalls = 0;
};

CFailingLife::~CFailingLife()
{
    m_navigation->SetOffsetCallback(nullptr); // deletes the functor
}

bool CFailingLife::Live()
{
    m_navigation = std::make_unique<CNavigationAPI>();
    m_navigation->SetTimeout(kTimeoutMilliseconds);
    m_navigation->SetOffsetCallback(
        Core::Functors::MakeFunctor([this](double) { ++m_functorCalls; }));
    MakeUnderTheFailure(kCalls[0]);
    m_navigation->ReceiveMessage(false);
    AwaitTheEnd();
    for (const CCall& call : {kCalls[1], kCalls[2], kCalls[0]}) {
        MakeUnderTheFailure(call);
        m_navigation->ReceiveMessage(false);
        m_navigation->ProcessMessages(false);
    }
    const bool hasFailed = m_watch.HasFailed();
    m_watch.LetFail(m_row.call, -1, 0);
    WorkAgain();
    return hasFailed;
}

/// Makes a call and checks what each owes, whatever fails inside it.
double CFailingLife::Make(const CCall& call)
{
    m_watch.BeginMessage();
    const int functorCalls = m_functorCalls;
    const CStopwatch stopwatch;
    const double value = call.make(*m_navigation);
    EXPECT_LE(stopwatch.Milliseconds(), kLongestCall) << call.serviceName;
    EXPECT_EQ(functorCalls, m_functorCalls) << call.serviceName;
    EXPECT_LE(m_watch.AttemptsPerAddress(), 1) << call.serviceName;
    const std::string& sent = m_watch.Sent();
    EXPECT_EQ(sent.find(call.serviceName), sent.rfind(call.serviceName)) << call.serviceName;
    m_timesSent = sent.find(call.serviceName) == std::string::npos ? 0 : 1;
    return value;
}

/// Makes a call, which may fail only if it is the one that meets the failure.
void CFailingLife::MakeUnderTheFailure(const CCall& call)
{
    const bool hadFailed = m_watch.HasFailed();
    const double value = Make(call);
    const LinkErrorC error = m_navigation->LastError();
    if (!hadFailed && m_watch.HasFailed() && error.code != ELinkError::None) {
        EXPECT_EQ(call.failure, value) << call.serviceName << ": " << error.text;
        return;
    }
    EXPECT_EQ(ELinkError::None, error.code) << call.serviceName << ": " << error.text;
    EXPECT_EQ(call.value, value) << call.serviceName;
    EXPECT_EQ(1U, m_timesSent) << call.serviceName;
}

/// Waits, behind the first call, until the first connection has ended if it is still in use; by a
/// system call that is not counted.
void CFailingLife::AwaitTheEnd()
{
    pollfd watched = {m_navigation->Descriptor(), POLLRDHUP, 0};
    const timespec longest = {10, 0};
    if (watched.fd >= 0 && m_service.WaitForConnections(1) == 1) {
        EXPECT_EQ(1, ::ppoll(&watched, 1, &longest, nullptr));
    }
}

/// Makes every call once nothing fails any more.
void CFailingLife::WorkAgain()
{
    m_navigation->SetTimeout(10000);
    EXPECT_EQ(kCalls[0].value, Make(kCalls[0]));
    Make(kCalls[2]);
    EXPECT_EQ(1U, m_timesSent);
    EXPECT_EQ(kSecondLookAheadTime, Make(kCalls[1]));
    EXPECT_TRUE(m_navigation->ProcessMessages(false));
    EXPECT_GT(m_functorCalls, 0);
}

} // namespace

TEST(SystemCallFault, OfTheNthCallOfEachKindCostsAtMostTheCallThatMeetsIt)
{
    for (const FailureRow& row : kFailures) {
        const int descriptors = CountDescriptors();
        int nth = 1;
        for (bool hasFailed = true; hasFailed; ++nth) {
            ASSERT_LT(nth, 200) << row.what;
            SCOPED_TRACE(row.what + (' ' + std::to_string(nth)));
            std::string output;
            {
                const CCapturedOutput captured;
                hasFailed = CFailingLife(row, nth).Live();
                output = captured.Text();
            }
            EXPECT_EQ("", output);
            ASSERT_EQ(descriptors, CountDescriptors());
        }
        EXPECT_GT(nth, 2) << row.what << ": made nowhere";
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
