// What holds of the list form whatever the values and lists.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

#include "platform/BElement.h"
#include "tests/doubles/Describe.h"
#include "tests/wayline/AllocationCount.h"
#include "tests/wayline/Generator.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

constexpr int kHighestPointCount = 60; // a trusted count costs memory, whatever the list holds

bool HaveSameBits(const BListC& left, const BListC& right)
{
    bool same = left.Size() == right.Size();
    for (int i = 0; same && i < left.Size(); ++i) {
        const double leftNumber = left.GetDouble(i);
        const double rightNumber = right.GetDouble(i);
        same = left.TypeAt(i) == right.TypeAt(i) &&
               std::memcmp(&leftNumber, &rightNumber, sizeof leftNumber) == 0;
    }
    return same;
}

// An empty wayline and one without its points do not come back: other tests show that.
TEST(ListFormProperty, EveryKindWithItsPointsComesBackToTheBit)
{
    CGenerator generator;
    for (int code = EWaylineTypeAB; code <= EWaylineTypeReplay; ++code) {
        for (int i = 0; i < kCases; ++i) {
            const WaylinePtr written = AnyWayline(generator, code, &CGenerator::AnyDouble, 1);
            const std::unique_ptr<BListC> list(written->ToBList());

            const WaylinePtr read = CWayline::FromBList(list.get());

            ASSERT_TRUE(read) << Doubles::Describe(*list);
            ASSERT_EQ(read->Type(), code);
            const std::unique_ptr<BListC> again(read->ToBList());
            ASSERT_TRUE(HaveSameBits(*list, *again)) << Doubles::Describe(*list);
        }
    }
}

void AddAnything(CGenerator& generator, BListC& list)
{
    switch (generator.Int(0, 9)) {
    case 0:
        list.AddString(generator.OneOf<std::string>({"", "4", "a word"}));
        break;
    case 1:
        list.AddNothing();
        break;
    case 2: {
        auto nested = std::make_unique<BListC>(nullptr);
        nested->AddInt(4);
        list.Add(nested.release());
        break;
    }
    case 3:
        list.AddInt(
            generator.Int(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
        break;
    default:
        list.AddDouble(generator.AnyDouble());
        break;
    }
}

/// Something that stands where the point count is wanted, and never is a high one.
void AddPointCount(CGenerator& generator, BListC& list)
{
    switch (generator.Int(0, 9)) {
    case 0:
        list.AddDouble(generator.OneOf<double>({-1e300, -1.5, -0.5, 0.5, 2.9, 59.9, std::nan("")}));
        break;
    case 1:
        list.AddString(generator.OneOf<std::string>({"", "3", "a word"}));
        break;
    case 2:
        list.Add(new BListC(nullptr));
        break;
    default: {
        const int lowest = generator.OneIn(3) ? std::numeric_limits<int>::min() : 0;
        list.AddInt(generator.Int(lowest, kHighestPointCount));
        break;
    }
    }
}

/// A list whose first two elements are often a code and a point count.
std::unique_ptr<BListC> AnyList(CGenerator& generator)
{
    auto list = std::make_unique<BListC>(nullptr);
    if (generator.OneIn(20)) {
        return list;
    }
    if (generator.OneIn(10)) {
        AddAnything(generator, *list);
    } else {
        list->AddInt(generator.Int(-3, 9));
    }
    const int size =
        generator.OneIn(2) ? generator.OneOf<int>({1, 3, 5, 7, 10}) : generator.Int(1, 40);
    if (size > 1) {
        AddPointCount(generator, *list);
    }
    while (list->Size() < size) {
        AddAnything(generator, *list);
    }
    return list;
}

/// What becomes of a list, taken from the table of the list forms.
enum class EOutcome
{
    Null,
    Wayline,
    LengthError,
};

/// What the kind of a code must make of a list, whatever code the list has.
EOutcome ExpectedOutcome(int code, const BListC& list)
{
    const int size = list.Size();
    const int lengths[] = {7, 5, 10};
    switch (code) {
    case 0:
    case 1:
    case 2:
        return size == lengths[code] ? EOutcome::Wayline : EOutcome::Null;
    case 3:
    case 4:
        return size < 3             ? EOutcome::Null
               : list.GetInt(1) < 0 ? EOutcome::LengthError
                                    : EOutcome::Wayline;
    case 5:
    case 6:
        return size > 0 ? EOutcome::Wayline : EOutcome::Null;
    default:
        return EOutcome::Null;
    }
}

template <typename Read>
EOutcome OutcomeOf(const Read& read)
{
    try {
        return read() ? EOutcome::Wayline : EOutcome::Null;
    } catch (const std::length_error&) {
        return EOutcome::LengthError;
    }
}

TEST(ListFormProperty, AnyListGivesAWaylineNullOrTheLengthErrorAndLeaksNothing)
{
    CGenerator generator;
    int seen[3] = {};
    for (int i = 0; i < kCases; ++i) {
        const auto list = AnyList(generator);
        const long before = LiveAllocations();

        const EOutcome outcome =
            OutcomeOf([&] { return static_cast<bool>(CWayline::FromBList(list.get())); });

        ASSERT_EQ(LiveAllocations(), before) << Doubles::Describe(*list);
        const int code = list->Size() == 0 ? -1 : list->GetInt(0);
        ASSERT_EQ(outcome, ExpectedOutcome(code, *list)) << Doubles::Describe(*list);
        ++seen[static_cast<int>(outcome)];
    }
    for (const int cases : seen) {
        EXPECT_GT(cases, kCases / 50) << "the generator reaches every outcome";
    }
}

TEST(ListFormProperty, AnyKindTakesAnyListByItsOwnRuleOrStaysAsItWas)
{
    CGenerator generator;
    for (int i = 0; i < kCases; ++i) {
        const auto list = AnyList(generator);
        const std::string listBefore = Doubles::Describe(*list);
        const int code = generator.Int(EWaylineTypeEmpty, EWaylineTypeReplay);
        SCOPED_TRACE("kind " + std::to_string(code) + ", list " + listBefore);
        const WaylinePtr wayline = AnyWayline(generator, code, &CGenerator::AnyDouble);
        const std::unique_ptr<BListC> before(wayline->ToBList());

        const EOutcome outcome = OutcomeOf([&] { return wayline->LoadBList(list.get()); });

        ASSERT_EQ(outcome, ExpectedOutcome(code, *list));
        if (outcome != EOutcome::Wayline) {
            const std::unique_ptr<BListC> after(wayline->ToBList());
            ASSERT_TRUE(HaveSameBits(*before, *after));
        }
        ASSERT_EQ(wayline->Type(), code);
        ASSERT_EQ(Doubles::Describe(*list), listBefore);
    }
}

} // namespace
} // namespace Kestrove
