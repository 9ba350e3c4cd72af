// Where the members of the wayline classes lie. Sizes, bases and slots are held against
// wayline_layout.txt by a test of its own.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

// A pointer to the slots and the type code come first, then the kind's own members.
constexpr std::size_t kTypeCodeOffset = sizeof(void*);
constexpr std::size_t kFirstMemberOffset = 2 * sizeof(void*);

std::size_t OffsetIn(const CWayline& wayline, const void* member)
{
    return static_cast<std::size_t>(static_cast<const char*>(member) -
                                    reinterpret_cast<const char*>(&wayline));
}

std::int32_t TypeCodeInside(const CWayline& wayline)
{
    std::int32_t code = 0;
    std::memcpy(&code, reinterpret_cast<const char*>(&wayline) + kTypeCodeOffset, sizeof code);
    return code;
}

void ExpectInOrder(const CWayline& wayline, const std::vector<const double*>& members)
{
    for (std::size_t i = 0; i < members.size(); ++i) {
        EXPECT_EQ(OffsetIn(wayline, members[i]), kFirstMemberOffset + i * sizeof(double))
            << "value " << i + 1;
    }
}

TEST(WaylineLayout, HasTheTypeCodeBehindTheSlots)
{
    EXPECT_EQ(TypeCodeInside(CEmptyWayline()), -1);
    EXPECT_EQ(TypeCodeInside(CABWayline()), 0);
    EXPECT_EQ(TypeCodeInside(CAHeadingWayline()), 1);
    EXPECT_EQ(TypeCodeInside(CCircleWayline()), 2);
    EXPECT_EQ(TypeCodeInside(CSplineWayline()), 3);
    EXPECT_EQ(TypeCodeInside(CABCurveWayline()), 4);
    EXPECT_EQ(TypeCodeInside(CPathWayline()), 5);
    EXPECT_EQ(TypeCodeInside(CReplayWayline()), 6);
}

TEST(WaylineLayout, HasThePlainDoublesOfTheFixedKindsInOrder)
{
    const CABWayline line;
    const CAHeadingWayline heading;
    const CCircleWayline circle;

    ExpectInOrder(line, {&line.pointAX, &line.pointAY, &line.pointAZ, &line.pointBX, &line.pointBY,
                         &line.pointBZ});
    ExpectInOrder(heading,
                  {&heading.pointAX, &heading.pointAY, &heading.pointAZ, &heading.heading});
    ExpectInOrder(circle, {&circle.firstPointX, &circle.firstPointY, &circle.firstPointZ,
                           &circle.secondPointX, &circle.secondPointY, &circle.secondPointZ,
                           &circle.thirdPointX, &circle.thirdPointY, &circle.thirdPointZ});
}

TEST(WaylineLayout, HasThePointsOfThePointKindsFirst)
{
    const CSplineWayline spline;
    const CABCurveWayline curve;

    EXPECT_EQ(OffsetIn(spline, &spline.points), kFirstMemberOffset);
    EXPECT_EQ(OffsetIn(curve, &curve.points), kFirstMemberOffset);
}

/// Whether a kind takes and gives lists by the very signatures that applications were linked with:
/// the lists are not constant.
template <typename Kind>
constexpr bool kHasTheSignatures =
    std::is_same_v<decltype(&Kind::LoadBList), bool (Kind::*)(BListC*)>&&
        std::is_same_v<decltype(&Kind::ToBList), BListC* (Kind::*)() const>;

static_assert(kHasTheSignatures<CWayline>);
static_assert(kHasTheSignatures<CEmptyWayline>);
static_assert(kHasTheSignatures<CABWayline>);
static_assert(kHasTheSignatures<CAHeadingWayline>);
static_assert(kHasTheSignatures<CCircleWayline>);
static_assert(kHasTheSignatures<CSplineWayline>);
static_assert(kHasTheSignatures<CABCurveWayline>);
static_assert(kHasTheSignatures<CPathWayline>);
static_assert(kHasTheSignatures<CReplayWayline>);
static_assert(std::is_same_v<decltype(&CWayline::FromBList), WaylinePtr (*)(BListC*)>);
static_assert(std::is_same_v<decltype(&CWayline::FromString), WaylinePtr (*)(const std::string&)>);

TEST(WaylineLayout, HasCounterAndObjectInTheSharedPointer)
{
    static_assert(sizeof(WaylinePtr) == 2 * sizeof(void*));
    auto* line = new CABWayline;
    const WaylinePtr pointer(line);
    const void* halves[2] = {};

    std::memcpy(halves, static_cast<const void*>(&pointer), sizeof halves);
    std::uint32_t count = 0;
    std::memcpy(&count, halves[0], sizeof count);

    EXPECT_EQ(count, 1u);
    EXPECT_EQ(halves[1], static_cast<CWayline*>(line));
}

} // namespace
} // namespace Kestrove
