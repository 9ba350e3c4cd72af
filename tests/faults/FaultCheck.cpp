#include "tests/faults/FaultCheck.h"

#include <chrono>

#include <poll.h>

#include "tests/faults/Process.h"
#include "tests/faults/SystemCalls.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/Bytes.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kConnectLimitMilliseconds = 1000; // the library's own
#if defined(__SANITIZE_THREAD__)
constexpr int kSlackMilliseconds = 10000; // decodes a flood some twenty times more slowly
#else
constexpr int kSlackMilliseconds = 500;
#endif
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

int MillisecondsSince(Clock::time_point start)
{
    return static_cast<int>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

/// What a client needs for the legal replies that take most: the longest text, and the longest
/// list.
std::size_t GrowthForALegalMessage()
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
        navigation.SetTimeout(kHealthyTimeoutMilliseconds);
        navigation.EngageSteering();
        EXPECT_NE(ELinkError::TimedOut, navigation.LastError().code);
        most = std::max(most, meter.PeakGrowth());
    }
    return most;
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
        MakeTheCall();
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

void CFaultCheck::Prepare()
{
    std::unique_ptr<Core::Functors::Functor1<void, double>> functor(
        Core::Functors::MakeFunctor([this](double offset) { m_offsets.push_back(offset); }));
    if (m_fault.m_condition) {
        m_condition = m_fault.m_condition();
    }
    if (!m_fault.m_startsLate) {
        StartService();
    }
    m_navigation = std::make_unique<CNavigationAPI>();
    m_navigation->SetTimeout(m_fault.m_timeoutMilliseconds);
    m_navigation->SetOffsetCallback(functor.release());
    if (m_fault.m_startsLate) {
        StartService();
    }
    if (m_fault.m_comesAfterAGoodCall) {
        EXPECT_EQ(kCalls[0].value, kCalls[0].make(*m_navigation));
        pollfd watched = {m_navigation->Descriptor(), POLLIN, 0};
        EXPECT_EQ(1, ::poll(&watched, 1, kHealthyTimeoutMilliseconds));
    }
}

void CFaultCheck::MakeTheCall()
{
    const CSystemCallWatch watch;
    const Clock::time_point start = Clock::now();
    const double value = m_call.make(*m_navigation);
    EXPECT_LE(MillisecondsSince(start),
              kConnectLimitMilliseconds + m_fault.m_timeoutMilliseconds + kSlackMilliseconds);
    CheckOutcome(value);
    EXPECT_TRUE(m_offsets.empty());
    EXPECT_LE(CountIn(watch.Sent(), m_call.serviceName), 1U);
    EXPECT_LE(watch.AttemptsPerAddress(), 1);
}

void CFaultCheck::CheckOutcome(double value)
{
    if (!m_call.isRequest || m_fault.m_outcome == CFault::EOutcome::Any) {
        return;
    }
    const bool fails = m_fault.m_outcome == CFault::EOutcome::Failure;
    EXPECT_EQ(fails ? m_call.failure : m_call.value, value) << m_navigation->LastError().text;
    if (m_fault.m_error) {
        EXPECT_EQ(*m_fault.m_error, m_navigation->LastError().code)
            << m_navigation->LastError().text;
    }
}

void CFaultCheck::CallTheSameServiceAgain()
{
    // What a service sends after a notification may come before or after the next call.
    if (m_fault.m_workingConnection == 0 || !m_call.isRequest) {
        return;
    }
    m_navigation->SetTimeout(kHealthyTimeoutMilliseconds);
    EXPECT_EQ(m_call.value, m_call.make(*m_navigation)) << m_navigation->LastError().text;
    EXPECT_EQ(m_fault.m_workingConnection,
              m_service->WaitForConnections(m_fault.m_workingConnection));
}

void CFaultCheck::CallAHealthyService()
{
    m_service.reset();
    m_condition.reset();
    m_service = std::make_unique<CRawPeer>(Serve);
    m_navigation->SetTimeout(kHealthyTimeoutMilliseconds);
    const double value = m_call.make(*m_navigation);
    EXPECT_EQ(m_call.value, value) << m_navigation->LastError().text;
    if (!m_call.isRequest) {
        EXPECT_EQ(kSecondLookAheadTime, m_navigation->GetLookAheadTime());
    }
    EXPECT_TRUE(m_navigation->ProcessMessages(false));
    ASSERT_FALSE(m_offsets.empty());
    EXPECT_EQ(kToldOffset, m_offsets.back());
    m_navigation->SetOffsetCallback(nullptr); // deletes the functor
}
