#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>

#include "platform/BElement.h"
#include "tests/doubles/Describe.h"
#include "tests/wayline/AllocationCount.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

static_assert(std::is_abstract_v<CWayline>);
static_assert(std::has_virtual_destructor_v<CWayline>);
static_assert(!std::is_copy_assignable_v<CWayline>, "a copy through the base could mix kinds");
static_assert(std::is_copy_assignable_v<CABWayline> && std::is_copy_constructible_v<CABWayline>);
static_assert(std::is_same_v<std::underlying_type_t<EWaylineType>, int>);
static_assert(std::is_convertible_v<EWaylineType, int>, "the enumeration is unscoped");

struct KindRow
{
    const char* name;
    std::shared_ptr<CWayline> (*make)();
    int code;
    const char* listForm;
    const char* textForm;
};

template <typename Kind>
std::shared_ptr<CWayline> Make()
{
    return std::make_shared<Kind>();
}

const KindRow kKinds[] = {
    {"empty", Make<CEmptyWayline>, -1, "[]", ""},
    {"A-B line", Make<CABWayline>, 0,
     "[int 0, double 0, double 0, double 0, double 0, double 0, double 0]",
     "0 0.000000 0.000000 0.000000 0.000000 0.000000 0.000000"},
    {"A-plus-heading line", Make<CAHeadingWayline>, 1,
     "[int 1, double 0, double 0, double 0, double 0]", "1 0.000000 0.000000 0.000000 0.000000"},
    {"circle", Make<CCircleWayline>, 2,
     "[int 2, double 0, double 0, double 0, double 0, double 0, double 0, double 0, double 0, "
     "double 0]",
     "2 0.000000 0.000000 0.000000 0.000000 0.000000 0.000000 0.000000 0.000000 0.000000"},
    {"spline", Make<CSplineWayline>, 3, "[int 3, int 0]", "3 0"},
    {"A-B curve", Make<CABCurveWayline>, 4, "[int 4, int 0]", "4 0"},
    {"path", Make<CPathWayline>, 5, "[int 5]", "5"},
    {"replay", Make<CReplayWayline>, 6, "[int 6]", "6"},
};

TEST(WaylineKinds, StartWithTheirCodeAndZeroValues)
{
    for (const KindRow& row : kKinds) {
        SCOPED_TRACE(row.name);
        const auto wayline = row.make();

        const std::unique_ptr<BListC> list(wayline->ToBList());

        EXPECT_EQ(wayline->Type(), row.code);
        EXPECT_EQ(Doubles::Describe(*list), row.listForm);
        EXPECT_EQ(wayline->ToString(), row.textForm);
    }
}

template <typename Kind>
class FixedKind : public testing::Test
{
};
using FixedKinds = testing::Types<CABWayline, CAHeadingWayline, CCircleWayline>;
TYPED_TEST_SUITE(FixedKind, FixedKinds);

TYPED_TEST(FixedKind, StartsWithZeroMembersInMemoryThatWasUsed)
{
    alignas(TypeParam) unsigned char memory[sizeof(TypeParam)];
    std::fill(std::begin(memory), std::end(memory), static_cast<unsigned char>(0x5A));

    auto* wayline = new (memory) TypeParam;
    const std::unique_ptr<BListC> list(wayline->ToBList());

    for (int i = 1; i < list->Size(); ++i) {
        EXPECT_EQ(list->GetDouble(i), 0.0) << "value " << i;
        EXPECT_FALSE(std::signbit(list->GetDouble(i))) << "value " << i;
    }
    EXPECT_EQ(list->GetInt(0), wayline->Type());
    wayline->~TypeParam();
}

TEST(WaylineKinds, AreBuiltFromTheirPoints)
{
    const CABWayline line({1, 2, 3}, {4, 5, 6});
    const CAHeadingWayline heading({1, 2, 3}, 0.5);
    const CCircleWayline circle({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    const CSplineWayline spline({{1, 2, 3}});
    const CABCurveWayline curve({{1, 2, 3}, {4, 5, 6}});

    EXPECT_EQ(line.ToString(), "0 1.000000 2.000000 3.000000 4.000000 5.000000 6.000000");
    EXPECT_EQ(heading.ToString(), "1 1.000000 2.000000 3.000000 0.500000");
    EXPECT_EQ(circle.ToString(), "2 1.000000 2.000000 3.000000 4.000000 5.000000 6.000000 7.000000 "
                                 "8.000000 9.000000");
    EXPECT_EQ(spline.ToString(), "3 1 1.000000 2.000000 3.000000");
    EXPECT_EQ(curve.ToString(), "4 2 1.000000 2.000000 3.000000 4.000000 5.000000 6.000000");
}

TEST(WaylineKinds, AreCopiedWhole)
{
    const CABCurveWayline original({{1, 2, 3}});
    CABCurveWayline copy = original;

    copy.points.push_back({4, 5, 6});

    EXPECT_EQ(original.ToString(), "4 1 1.000000 2.000000 3.000000");
    EXPECT_EQ(copy.Type(), EWaylineTypeABCurve);
    EXPECT_EQ(copy.points.size(), 2u);
}

TEST(WaylineKinds, AreDestroyedWholeThroughTheSharedPointer)
{
    const long before = LiveAllocations();
    {
        const WaylinePtr spline(new CSplineWayline({{1, 2, 3}, {4, 5, 6}}));
        const WaylinePtr curve(new CABCurveWayline({{1, 2, 3}, {4, 5, 6}}));
        EXPECT_GT(LiveAllocations(), before);
    }
    EXPECT_EQ(LiveAllocations(), before);
}

TEST(WaylineKinds, AnEmptyWaylineReadsNoText)
{
    CEmptyWayline wayline;

    EXPECT_FALSE(wayline.LoadString(""));
    EXPECT_FALSE(wayline.LoadString("-1"));
    EXPECT_FALSE(wayline.LoadString("-1 0"));
    EXPECT_FALSE(wayline.LoadString("0 1 2 3 4 5 6"));
}

} // namespace
} // namespace Kestrove
