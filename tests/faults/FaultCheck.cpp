#include "tests/faults/FaultCheck.h"

#include <cerrno>
#include <chrono>

#include <poll.h>

#include "tests/faults/Process.h"
#include "tests/faults/SystemCalls.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/Bytes.h"
#include "tests/support/Stopwatch.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kConnectLimitMilliseconds = 1000; // the library's own
constexpr int kSlackMilliseconds = 500;
constexpr int kShortTimeoutMilliseconds = 100;
constexpr int kHealthyTimeoutMilliseconds = 10000;
constexpr std::size_t kMostGrowth = std::size_t{32} * 1024 * 1024;

std::size_t CountIn(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

/// What a client needs for the legal replies that take most: the longest text, and the longest
/// list.
std::size_t MeasureGrowthForALegalMessage()
{
    const std::string reply = Bytes::Response(0, "");
    const std::string longText = reply + "\xdb" + Bytes::BigEndian((32U << 20) - 64, 4);
    const std::string longList = reply + "\xdd" + Bytes::BigEndian(4'194'304, 4);
    std::size_t most = 0;
    for (const std::string& start : {longText, longList}) {
        const CAllocationMeter meter;
        CRawPeer peer([&](CRawLink& link) {
            const CRawMessage call = NextCall(link);
            link.Send(Bytes::Response(call.number, start.substr(reply.size())));
            const std::string portion(1U << 16, '\x01');
            const std::size_t size = start == longText ? (32U << 20) - 64 : 4'194'304;
            for (std::size_t sent = 0; sent < size; sent += portion.size()) {
                link.Send(portion.substr(0, std::min(portion.size(), size - sent)));
            }
            link.WaitForEnd();
        });
        CNavigationAPI navigation;
        navigation.SetTimeout(-1); // a busy machine takes its time for the longest
        navigation.EngageSteering();
        EXPECT_NE(ELinkError::BadMessage, navigation.LastError().code);
        most = std::max(most, meter.PeakGrowth());
    }
    return most;
}

std::size_t GrowthForALegalMessage()
{
    static const std::size_t growth = MeasureGrowthForALegalMessage();
    return growth;
}

/// Waits until something has come over a connection, or until it has ended.
bool Comes(int descriptor, short events)
{
    const Clock::time_point end = Clock::now() + std::chrono::seconds(60);
    pollfd watched = {descriptor, events, 0};
    int ready = -1;
    do {
        ready = ::poll(&watched, 1, kHealthyTimeoutMilliseconds);
    } while (ready < 0 && errno == EINTR && Clock::now() < end);
    return ready == 1;
}

} // namespace

void CFaultCheck::Run()
{
    const std::size_t legal = m_fault.m_hasLargeMessage ? GrowthForALegalMessage() : 0;
    const int descriptors = CountDescriptors();
    std::size_t growth = 0;
    std::string output;
    {
        const CCapturedOutput captured;
        const CAllocationMeter meter;
        Prepare();
        CallUnderTheFault();
        CallTheSameServiceAgain();
        CallAHealthyService();
        growth = meter.PeakGrowth();
        m_navigation.reset();
        m_service.reset();
        output = captured.Text();
    }
    EXPECT_EQ("", output);
    EXPECT_LE(growth, legal + kMostGrowth);
    EXPECT_EQ(descriptors, CountDescriptors());
}

void CFaultCheck::StartService()
{
    if (m_script) {
        m_service = std::make_unique<CRawPeer>(m_script, std::uint16_t{5010}, m_fault.m_address);
    }
}

void CFaultCheck::RegisterFunctors()
{
    using Core::Functors::MakeFunctor;
    m_navigation->SetOffsetCallback(
        MakeFunctor([this](double offset) { m_offsets.push_back(offset); }));
    m_navigation->SetGuidanceStatusCallback(
        MakeFunctor([this](int state, double, double, double) { m_states.push_back(state); }));
}

void CFaultCheck::Prepare()
{
    if (m_fault.m_condition) {
        m_condition = m_fault.m_condition();
    }
    if (!m_fault.m_startsLate) {
        StartService();
    }
    m_navigation = std::make_unique<CNavigationAPI>();
    RegisterFunctors();
    if (m_fault.m_startsLate) {
        StartService();
    }
    if (m_fault.m_comesAfterAGoodCall) {
        EXPECT_EQ(kCalls[0].value, Make(kCalls[0], kHealthyTimeoutMilliseconds));
        EXPECT_TRUE(Comes(m_navigation->Descriptor(), POLLIN));
    }
}

double CFaultCheck::Make(const CCall& call, int timeoutMilliseconds)
{
    m_navigation->SetTimeout(timeoutMilliseconds);
    const std::size_t delivered = m_offsets.size() + m_states.size();
    CSystemCallWatch watch;
    if (m_isUnderTheFault && m_fault.m_beginsInTime && call.isRequest) {
        watch.AwaitTheFirstBytes();
    }
    const CStopwatch stopwatch;
    const double value = call.make(*m_navigation);
    EXPECT_LE(stopwatch.Milliseconds() - watch.MillisecondsAwaited(),
              kConnectLimitMilliseconds + timeoutMilliseconds + kSlackMilliseconds);
    EXPECT_EQ(delivered, m_offsets.size() + m_states.size());
    EXPECT_LE(watch.AttemptsPerAddress(), 1);
    m_timesSent = CountIn(watch.Sent(), call.serviceName);
    EXPECT_LE(m_timesSent, 1U);
    m_interruptions = watch.Interruptions();
    return value;
}

int CFaultCheck::TimeoutUnderTheFault() const
{
    const bool fails = m_fault.m_outcome == CFault::EOutcome::Failure;
    const bool mayMeetIt =
        fails && m_fault.m_error.value_or(ELinkError::TimedOut) == ELinkError::TimedOut;
    return m_fault.m_timeoutMilliseconds.value_or(mayMeetIt ? kShortTimeoutMilliseconds
                                                            : kHealthyTimeoutMilliseconds);
}

void CFaultCheck::CallUnderTheFault()
{
    m_isUnderTheFault = true;
    const double value = Make(m_call, TimeoutUnderTheFault());
    if (m_call.isRequest) {
        CheckReply(value);
    } else {
        CheckNotification();
        AwaitTheFault();
        Make(m_call, TimeoutUnderTheFault());
        CheckNotification();
    }
    m_isUnderTheFault = false;
}

void CFaultCheck::AwaitTheFault()
{
    const int descriptor = m_navigation->Descriptor();
    const bool isSilent = m_fault.m_arrival == CFault::EArrival::Nothing || !m_script;
    if (isSilent || m_fault.m_comesAfterAGoodCall || descriptor < 0) {
        return;
    }
    const bool ends = m_fault.m_arrival == CFault::EArrival::End;
    EXPECT_TRUE(Comes(descriptor, ends ? POLLRDHUP : POLLIN));
}

void CFaultCheck::CheckReply(double value)
{
    const bool fails = m_fault.m_outcome == CFault::EOutcome::Failure;
    const std::string& text = m_navigation->LastError().text;
    EXPECT_EQ(fails ? m_call.failure : m_fault.m_value.value_or(m_call.value), value) << text;
    if (m_fault.m_error) {
        EXPECT_EQ(*m_fault.m_error, m_navigation->LastError().code) << text;
    }
    if (!fails) {
        EXPECT_EQ(1U, m_timesSent);
    }
    if (m_fault.m_interrupts) {
        EXPECT_GT(m_interruptions, 5);
    }
}

void CFaultCheck::CheckNotification()
{
    const LinkErrorC error = m_navigation->LastError();
    EXPECT_EQ(error.code == ELinkError::None ? 1U : 0U, m_timesSent) << error.text;
    if (!m_script) { // there is no service that could take it
        EXPECT_NE(ELinkError::None, error.code);
        EXPECT_EQ(m_fault.m_error.value_or(error.code), error.code) << error.text;
    } else if (!m_fault.m_mayFailNotifications) {
        EXPECT_EQ(ELinkError::None, error.code) << error.text;
    }
}

void CFaultCheck::CallTheSameServiceAgain()
{
    const bool stays = !m_call.isRequest && m_fault.m_notificationConnection != 0;
    const int connection = stays ? m_fault.m_notificationConnection : m_fault.m_workingConnection;
    if (connection == 0) {
        return;
    }
    if (!stays) { // a notification has been made again already, so that a request shows the link
        const CCall& call = m_call.isRequest ? m_call : kCalls[0];
        EXPECT_EQ(call.value, Make(call, kHealthyTimeoutMilliseconds))
            << m_navigation->LastError().text;
    }
    EXPECT_EQ(connection, m_service->WaitForConnections(connection));
}

void CFaultCheck::CallAHealthyService()
{
    m_service.reset();
    m_condition.reset();
    m_service = std::make_unique<CRawPeer>(Serve);
    const double value = Make(m_call, kHealthyTimeoutMilliseconds);
    EXPECT_EQ(m_call.value, value) << m_navigation->LastError().text;
    EXPECT_EQ(1U, m_timesSent);
    if (!m_call.isRequest) {
        EXPECT_EQ(kSecondLookAheadTime, Make(kCalls[1], kHealthyTimeoutMilliseconds));
    }
    EXPECT_TRUE(m_navigation->ProcessMessages(false));
    EXPECT_EQ(kToldOffset, m_offsets.empty() ? 0.0 : m_offsets.back());
    EXPECT_EQ(kToldState, m_states.empty() ? 0 : m_states.back());
    m_navigation->SetOffsetCallback(nullptr); // deletes the functor
    m_navigation->SetGuidanceStatusCallback(nullptr);
}
