#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/faults/Fault.h"
#include "tests/faults/Process.h"
#include "tests/faults/Scripts.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/Bytes.h"

using Bytes::FromHex;
using Core::Functors::MakeFunctor;

namespace {

using Points = std::vector<Core::Maths::Vector2<double>>;

/// An event of the offsets split across the packets around the reply.
CFault::Script SplitAcrossTheReply(std::size_t at)
{
    return Scripts::OnFirstConnection([at](CRawLink& link) {
        const CRawMessage call = NextCall(link);
        const std::string event = OffsetEvent(1.0);
        const std::string bytes = event + ReplyTo(call) + event;
        link.Send(bytes.substr(0, at));
        link.WaitUntilTaken();
        link.Send(bytes.substr(at));
        Serve(link);
    });
}

CFault::Script SendWithPayload(const std::string& payload)
{
    return Scripts::SendAhead(Bytes::Notification("cb_offsets", payload));
}

std::vector<CFault> EventFaults()
{
    const auto ahead = [](const CRawMessage& call) { return OffsetEvent(1.0) + ReplyTo(call); };
    const auto around = [](const CRawMessage& call) {
        return OffsetEvent(1.0) + ReplyTo(call) + OffsetEvent(2.0);
    };
    const std::size_t size = OffsetEvent(1.0).size();
    const std::vector<std::string> wrongCounts = {"90",    "92 07 07", "91 90",
                                                  "91 c0", "91 a1 78", "91 81 a1 61 07"};
    return {
        CFault("AheadOfTheReply", Scripts::Send(ahead)).Succeeds().ThenWorksOnConnection(1),
        CFault("AroundTheReply", Scripts::Send(around)).Succeeds().ThenWorksOnConnection(1),
        CFault("SplitAcrossTheReply", Each(1, 2 * size, SplitAcrossTheReply))
            .Succeeds()
            .ThenWorksOnConnection(1),
        CFault("WithTheWrongPayload", EachOf(wrongCounts, SendWithPayload))
            .Succeeds()
            .ThenWorksOnConnection(1),
        CFault("AStormInPlaceOfTheReply", Scripts::SendWithoutEnd("", OffsetEvent(1.0)))
            .Fails(ELinkError::TimedOut),
    };
}

/// A client that has made a call, ahead of whose reply a service has sent events: they wait.
class CEventFault : public testing::Test
{
public:
    void Call(const std::string& events)
    {
        m_service = std::make_unique<CRawPeer>([events](CRawLink& link) {
            const CRawMessage call = NextCall(link);
            link.Send(events + ReplyTo(call));
            Serve(link);
        });
        m_navigation = std::make_unique<CNavigationAPI>();
        TakeOffsets([this](double offset) { m_offsets.push_back(offset); });
        m_navigation->SetDrawPointsCallback(
            MakeFunctor([this](const Points& points) { m_points.push_back(points.size()); }));
        ASSERT_EQ(7, m_navigation->EngageSteering());
    }
    void TakeOffsets(std::function<void(double)> function)
    {
        m_navigation->SetOffsetCallback(MakeFunctor(std::move(function)));
    }
    void TearDown() override
    {
        if (m_navigation != nullptr) {
            m_navigation->SetOffsetCallback(nullptr); // deletes the functor that is held
            m_navigation->SetDrawPointsCallback(nullptr);
        }
    }

    std::unique_ptr<CRawPeer> m_service;
    std::unique_ptr<CNavigationAPI> m_navigation;
    std::vector<double> m_offsets;
    std::vector<std::size_t> m_points;
};

std::string DrawPointsEvent(int count, int carried)
{
    std::string payload(1, static_cast<char>(0x91 + 2 * carried));
    payload += '\xd2' + Bytes::BigEndian(static_cast<std::uint32_t>(count), 4);
    for (int number = 0; number < 2 * carried; ++number) {
        payload += Bytes::Float64(number);
    }
    return Bytes::Notification("cb_draw_points", payload);
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Events, Fault, testing::ValuesIn(EventFaults()), NameOfFault);

TEST_F(CEventFault, NegativePointCountsLeaveTheOthersQueued)
{
    const int least = std::numeric_limits<int>::min();
    Call(OffsetEvent(1.0) + DrawPointsEvent(-1, 1) + OffsetEvent(2.0) + DrawPointsEvent(least, 0) +
         OffsetEvent(3.0));
    EXPECT_THROW(m_navigation->ProcessMessages(false), std::length_error);
    EXPECT_EQ(std::vector<double>{1.0}, m_offsets);
    EXPECT_THROW(m_navigation->ProcessMessages(false), std::length_error);
    EXPECT_TRUE(m_navigation->ProcessMessages(false));
    EXPECT_EQ((std::vector<double>{1.0, 2.0, 3.0}), m_offsets);
    EXPECT_TRUE(m_points.empty());
    EXPECT_EQ(7, m_navigation->EngageSteering());
}

TEST_F(CEventFault, TheHighestPointCountClaimsNoMemoryForPointsThatAreNotThere)
{
    Call(DrawPointsEvent(std::numeric_limits<int>::max(), 2));
    const CAllocationMeter meter;
    EXPECT_TRUE(m_navigation->ProcessMessages(false));
    EXPECT_LE(meter.LargestBlock(), 65536U);
    EXPECT_EQ(std::vector<std::size_t>{2}, m_points);
}

TEST_F(CEventFault, FunctorsMayCallOperations)
{
    Call(OffsetEvent(1.0) + OffsetEvent(2.0));
    std::vector<int> replies;
    TakeOffsets([&](double offset) {
        m_offsets.push_back(offset);
        replies.push_back(m_navigation->EngageSteering());
        m_navigation->SetLookAheadTime(kSecondLookAheadTime, true);
        EXPECT_EQ(kSecondLookAheadTime, m_navigation->GetLookAheadTime());
    });
    EXPECT_TRUE(m_navigation->ProcessMessages(false));
    EXPECT_EQ((std::vector<double>{1.0, 2.0}), m_offsets);
    EXPECT_EQ((std::vector<int>{7, 7}), replies);
}

TEST_F(CEventFault, FunctorsMayReplaceAnotherSlotsFunctorAndTheirOwn)
{
    Call(OffsetEvent(1.0) + DrawPointsEvent(1, 1) + OffsetEvent(2.0));
    int others = 0;
    // The functor is deleted when it replaces itself; what it needs afterwards is copied before.
    TakeOffsets([this, &others](double offset) {
        CEventFault* const test = this;
        int* const count = &others;
        test->m_offsets.push_back(-offset);
        test->m_navigation->SetDrawPointsCallback(
            MakeFunctor([count](const Points&) { ++*count; }));
        test->TakeOffsets([test](double later) { test->m_offsets.push_back(later); });
    });
    EXPECT_TRUE(m_navigation->ProcessMessages(false));
    EXPECT_EQ((std::vector<double>{-1.0, 2.0}), m_offsets);
    EXPECT_EQ(1, others);
    EXPECT_TRUE(m_points.empty());
}

TEST_F(CEventFault, ExceptionsOfFunctorsPassThroughAndLeaveTheOthersQueued)
{
    Call(OffsetEvent(1.0) + OffsetEvent(2.0) + OffsetEvent(3.0));
    TakeOffsets([this](double offset) {
        if (offset == 2.0) {
            throw std::runtime_error("not now");
        }
        m_offsets.push_back(offset);
    });
    EXPECT_THROW(m_navigation->ProcessMessages(true), std::runtime_error);
    EXPECT_EQ(7, m_navigation->EngageSteering());
    EXPECT_TRUE(m_navigation->ProcessMessages(false));
    EXPECT_EQ((std::vector<double>{1.0, 3.0}), m_offsets);
}

TEST_F(CEventFault, ClientsMayBeDestroyedWithEventsQueued)
{
    const int before = CountDescriptors();
    std::string events;
    for (int count = 0; count < 1000; ++count) {
        events += OffsetEvent(count);
    }
    Call(events);
    m_navigation->SetOffsetCallback(nullptr);
    m_navigation->SetDrawPointsCallback(nullptr);
    m_navigation.reset();
    m_service.reset();
    EXPECT_EQ(before, CountDescriptors());
    EXPECT_TRUE(m_offsets.empty());
}
