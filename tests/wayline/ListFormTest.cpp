#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/BElement.h"
#include "tests/doubles/Describe.h"
#include "tests/wayline/AllocationCount.h"
#include "tests/wayline/ListOf.h"
#include "tests/wayline/Owners.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

using Doubles::Describe;
using Points = std::vector<Core::Maths::Vector3<double>>;

std::string ListFormOf(const CWayline& wayline)
{
    const std::unique_ptr<BListC> list(wayline.ToBList());
    return Describe(*list);
}

template <typename Kind>
std::string LengthErrorOf(Kind& wayline, BListC* list)
{
    try {
        static_cast<void>(wayline.LoadBList(list));
    } catch (const std::length_error& error) {
        return error.what();
    }
    return "no length error";
}

TEST(ListForm, HasTheCodeAndThenTheValues)
{
    const CABWayline line({1.5, -2, 3}, {4, 5, 6});
    const CAHeadingWayline heading({1, 2, 3}, 4);
    const CCircleWayline circle({1, 2, 3}, {4, 5, 6}, {7, 8, 9});

    EXPECT_EQ(ListFormOf(line),
              "[int 0, double 1.5, double -2, double 3, double 4, double 5, double 6]");
    EXPECT_EQ(ListFormOf(heading), "[int 1, double 1, double 2, double 3, double 4]");
    EXPECT_EQ(ListFormOf(circle), "[int 2, double 1, double 2, double 3, double 4, double 5, "
                                  "double 6, double 7, double 8, double 9]");
    EXPECT_EQ(ListFormOf(CPathWayline()), "[int 5]");
    EXPECT_EQ(ListFormOf(CReplayWayline()), "[int 6]");
}

TEST(ListForm, HasTheNumberOfPointsBeforeThePoints)
{
    const Points points = {{1, 2, 3}, {4, 5, 6}};

    EXPECT_EQ(ListFormOf(CABCurveWayline(points)), "[int 4, int 2, double 1, double 2, double 3, "
                                                   "double 4, double 5, double 6]");
    EXPECT_EQ(ListFormOf(CSplineWayline(points)), "[int 3, int 2, double 1, double 2, double 3, "
                                                  "double 4, double 5, double 6]");
}

TEST(ListForm, OfAnEmptyWaylineHasNotEvenTheCode)
{
    EXPECT_EQ(ListFormOf(CEmptyWayline()), "[]");
}

TEST(ListForm, OfAFixedKindIsReadInOrder)
{
    CABWayline line;
    CAHeadingWayline heading;
    CCircleWayline circle;

    EXPECT_TRUE(line.LoadBList(ListOf({0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0}).get()));
    EXPECT_TRUE(heading.LoadBList(ListOf({1, 1.0, 2.0, 3.0, 4.0}).get()));
    EXPECT_TRUE(circle.LoadBList(ListOf({2, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0}).get()));

    EXPECT_EQ(line.pointAX, 1.0);
    EXPECT_EQ(line.pointBZ, 6.0);
    EXPECT_EQ(heading.heading, 4.0);
    EXPECT_EQ(ListFormOf(line), Describe(*ListOf({0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0})));
    EXPECT_EQ(ListFormOf(heading), Describe(*ListOf({1, 1.0, 2.0, 3.0, 4.0})));
    EXPECT_EQ(ListFormOf(circle),
              Describe(*ListOf({2, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0})));
}

TEST(ListForm, OfAFixedKindMustHaveItsLength)
{
    CABWayline line({9, 9, 9}, {9, 9, 9});
    CAHeadingWayline heading({9, 9, 9}, 9);
    CCircleWayline circle({9, 9, 9}, {9, 9, 9}, {9, 9, 9});
    const std::pair<CWayline*, int> rows[] = {{&line, 7}, {&heading, 5}, {&circle, 10}};
    for (const auto& [wayline, length] : rows) {
        for (const int wrong : {0, 1, length - 1, length + 1, 2 * length}) {
            SCOPED_TRACE(std::to_string(wrong) + " instead of " + std::to_string(length));
            const std::string before = ListFormOf(*wayline);
            const auto list = ListOf(std::vector<Value>(static_cast<std::size_t>(wrong), 1.0));

            EXPECT_FALSE(wayline->LoadBList(list.get()));
            EXPECT_EQ(ListFormOf(*wayline), before);
        }
    }
}

TEST(ListForm, IsReadByAFixedKindWhateverTheCode)
{
    CAHeadingWayline heading;

    EXPECT_TRUE(heading.LoadBList(ListOf({6, 1.0, 2.0, 3.0, 4.0}).get()));
    EXPECT_TRUE(heading.LoadBList(ListOf({"a word", 1.0, 2.0, 3.0, 4.0}).get()));

    EXPECT_EQ(heading.Type(), EWaylineTypeAHeading);
    EXPECT_EQ(heading.heading, 4.0);
}

template <typename Kind>
class PointListForm : public testing::Test
{
};
using PointKinds = testing::Types<CSplineWayline, CABCurveWayline>;
TYPED_TEST_SUITE(PointListForm, PointKinds);

TYPED_TEST(PointListForm, AddsThePointsToThoseThatAreThere)
{
    TypeParam wayline({{9, 9, 9}});

    EXPECT_TRUE(wayline.LoadBList(ListOf({4, 2, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0}).get()));
    EXPECT_TRUE(wayline.LoadBList(ListOf({3, 1, 7.0, 8.0, 9.0}).get()));

    EXPECT_EQ(wayline.points, (Points{{9, 9, 9}, {1, 2, 3}, {4, 5, 6}, {7, 8, 9}}));
}

TYPED_TEST(PointListForm, NeedsThreeElements)
{
    for (const std::vector<Value>& values : {std::vector<Value>{}, {4}, {4, 0}, {4, 1}, {4, -1}}) {
        SCOPED_TRACE(values.size());
        TypeParam wayline({{9, 9, 9}});

        EXPECT_FALSE(wayline.LoadBList(ListOf(values).get()));
        EXPECT_EQ(wayline.points, (Points{{9, 9, 9}}));
    }
}

TYPED_TEST(PointListForm, AWaylineWithoutPointsDoesNotComeBackFromItsList)
{
    const TypeParam written;
    const std::unique_ptr<BListC> list(written.ToBList());
    TypeParam read;

    EXPECT_EQ(list->Size(), 2);
    EXPECT_FALSE(read.LoadBList(list.get()));
    EXPECT_FALSE(CWayline::FromBList(list.get()));
}

TYPED_TEST(PointListForm, WithoutPointsIsAcceptedWithASurplusElement)
{
    TypeParam wayline({{9, 9, 9}});

    EXPECT_TRUE(wayline.LoadBList(ListOf({4, 0, 0.0}).get()));
    EXPECT_TRUE(wayline.LoadBList(ListOf({4, 0, 1.0, 2.0, 3.0}).get()));

    EXPECT_EQ(wayline.points, (Points{{9, 9, 9}}));
}

TYPED_TEST(PointListForm, IgnoresElementsBeyondTheCount)
{
    TypeParam wayline;

    EXPECT_TRUE(wayline.LoadBList(ListOf({4, 1, 1.0, 2.0, 3.0, 9.0}).get()));

    EXPECT_EQ(wayline.points, (Points{{1, 2, 3}}));
}

TYPED_TEST(PointListForm, TakesWhatTheListGivesForPlacesPastItsEnd)
{
    TypeParam wayline;

    EXPECT_TRUE(wayline.LoadBList(ListOf({4, 3, 1.0, 2.0, 3.0, 4.0}).get()));

    EXPECT_EQ(wayline.points, (Points{{1, 2, 3}, {4, 0, 0}, {0, 0, 0}}));
}

TYPED_TEST(PointListForm, MakesRoomForAllPointsAtOnce)
{
    TypeParam wayline;
    const auto list = ListOf({4, 3, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0});
    const long before = AllocationsSoFar();

    static_cast<void>(wayline.LoadBList(list.get()));

    EXPECT_EQ(AllocationsSoFar() - before, 1);
}

TYPED_TEST(PointListForm, ThrowsTheLengthErrorForANegativeCount)
{
    for (const int count : {-1, -2, std::numeric_limits<int>::min()}) {
        SCOPED_TRACE(count);
        TypeParam wayline({{9, 9, 9}});
        const auto list = ListOf({4, count, 1.0, 2.0, 3.0});

        EXPECT_EQ(LengthErrorOf(wayline, list.get()), "vector::reserve");
        EXPECT_EQ(wayline.points, (Points{{9, 9, 9}}));
    }
}

TEST(ListForm, OfPathAndReplayIsAnyListButAnEmptyOne)
{
    CPathWayline path;
    CReplayWayline replay;
    for (CWayline* wayline : {static_cast<CWayline*>(&path), static_cast<CWayline*>(&replay)}) {
        SCOPED_TRACE(wayline->Type());
        EXPECT_TRUE(wayline->LoadBList(ListOf({wayline->Type()}).get()));
        EXPECT_TRUE(wayline->LoadBList(ListOf({0, 1.0, 2.0}).get()));
        EXPECT_TRUE(wayline->LoadBList(ListOf({"a word"}).get()));
        EXPECT_FALSE(wayline->LoadBList(ListOf({}).get()));
    }
}

TEST(ListForm, IsNeverReadByAnEmptyWayline)
{
    CEmptyWayline wayline;

    EXPECT_FALSE(wayline.LoadBList(ListOf({}).get()));
    EXPECT_FALSE(wayline.LoadBList(ListOf({-1}).get()));
    EXPECT_FALSE(wayline.LoadBList(ListOf({0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0}).get()));
}

struct FactoryRow
{
    std::vector<Value> list;
    const char* listForm; // of the wayline that is built; null when none is
};

// Every code, and lists that are not a wayline.
const FactoryRow kFactoryRows[] = {
    {{0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0},
     "[int 0, double 1, double 2, double 3, double 4, double 5, double 6]"},
    {{0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0}, nullptr},
    {{0, 1.0, 2.0, 3.0, 4.0, 5.0}, nullptr},
    {{1, 1.0, 2.0, 3.0, 4.0}, "[int 1, double 1, double 2, double 3, double 4]"},
    {{1, 1.0, 2.0, 3.0}, nullptr},
    {{2, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0},
     "[int 2, double 1, double 2, double 3, double 4, double 5, double 6, double 7, double 8, "
     "double 9]"},
    {{2}, nullptr},
    {{3, 0}, nullptr},
    {{3, 0, 0.0}, "[int 3, int 0]"},
    {{3, 1, 1.0, 2.0, 3.0}, "[int 3, int 1, double 1, double 2, double 3]"},
    {{4, 1, 1.0, 2.0, 3.0}, "[int 4, int 1, double 1, double 2, double 3]"},
    {{4, 1, 1.0, 2.0, 3.0, 9.0}, "[int 4, int 1, double 1, double 2, double 3]"},
    {{4, 1.9, 1.0, 2.0, 3.0, 9.0, 9.0, 9.0}, "[int 4, int 1, double 1, double 2, double 3]"},
    {{3, -0.9, 1.0, 2.0, 3.0}, "[int 3, int 0]"}, // so is the number of points
    {{5}, "[int 5]"},
    {{6, 1, 2}, "[int 6]"},
    {{-1}, nullptr},
    {{-1, 0, 0.0}, nullptr},
    {{-2}, nullptr},
    {{7}, nullptr},
    {{std::numeric_limits<int>::max(), 1.0}, nullptr},
    {{std::numeric_limits<int>::min(), 1.0}, nullptr},
    {{5.9}, "[int 5]"}, // a code is what the list gives for element 0 as an int
    {{-0.5, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0},
     "[int 0, double 1, double 2, double 3, double 4, double 5, double 6]"},
    {{7.0}, nullptr},
    {{"5"}, nullptr}, // a text gives 0, and the list is too short for an A-B line
    {{"5", 1.0, 2.0, 3.0, 4.0, 5.0, 6.0},
     "[int 0, double 1, double 2, double 3, double 4, double 5, double 6]"},
    {{}, nullptr},
};

TEST(WaylineFromBList, BuildsTheKindOfTheCode)
{
    for (const FactoryRow& row : kFactoryRows) {
        const auto list = ListOf(row.list);
        const std::string before = Describe(*list);
        SCOPED_TRACE(before);

        const WaylinePtr wayline = CWayline::FromBList(list.get());

        ASSERT_EQ(static_cast<bool>(wayline), row.listForm != nullptr);
        if (wayline) {
            EXPECT_EQ(ListFormOf(*wayline), row.listForm);
            EXPECT_EQ(OwnersOf(wayline), 1u);
        }
        EXPECT_EQ(Describe(*list), before) << "the list stays the caller's";
    }
}

TEST(WaylineFromBList, LeavesNothingBehind)
{
    for (const FactoryRow& row : kFactoryRows) {
        const auto list = ListOf(row.list);
        SCOPED_TRACE(Describe(*list));
        const long before = LiveAllocations();

        static_cast<void>(CWayline::FromBList(list.get()));

        EXPECT_EQ(LiveAllocations(), before);
    }
}

TEST(WaylineFromBList, GivesNullForANullList)
{
    EXPECT_FALSE(CWayline::FromBList(nullptr));
}

TEST(WaylineFromBList, LetsTheLengthErrorThroughAndReleasesTheHalfBuiltWayline)
{
    for (const int code : {3, 4}) {
        SCOPED_TRACE(code);
        const auto list = ListOf({code, -1, 0.0});
        const long before = LiveAllocations();

        try {
            static_cast<void>(CWayline::FromBList(list.get()));
            ADD_FAILURE() << "no length error";
        } catch (const std::length_error& error) {
            EXPECT_STREQ(error.what(), "vector::reserve");
        }

        EXPECT_EQ(LiveAllocations(), before);
    }
}

TEST(WaylineFromBList, NeverGivesAnEmptyWaylineBack)
{
    const std::unique_ptr<BListC> list(CEmptyWayline().ToBList());

    EXPECT_FALSE(CWayline::FromBList(list.get()));
}

} // namespace
} // namespace Kestrove
