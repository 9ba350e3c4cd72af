// What the list form asks of the platform, as the recording double shows it.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/BElement.h"
#include "tests/doubles/Recording.h"
#include "tests/wayline/Generator.h"
#include "tests/wayline/ListOf.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

using Doubles::Recording;
using Lines = std::vector<std::string>;

/// The elements that AddInt() and AddDouble() make.
bool HasNumbersAlone(const BListC& list)
{
    bool numbers = true;
    for (int i = 0; i < list.Size(); ++i) {
        numbers = numbers && (list.TypeAt(i) == EBElementType::Integer ||
                              list.TypeAt(i) == EBElementType::Double);
    }
    return numbers;
}

TEST(ListFormCalls, OfEveryKindAreANewListWithoutParentAndItsNumbers)
{
    CGenerator generator;
    for (int code = EWaylineTypeEmpty; code <= EWaylineTypeReplay; ++code) {
        SCOPED_TRACE("code " + std::to_string(code));
        const WaylinePtr wayline = AnyWayline(generator, code, &CGenerator::FiniteDouble, 1);
        Recording().Reset();

        const std::unique_ptr<BListC> first(wayline->ToBList());
        const std::unique_ptr<BListC> second(wayline->ToBList());

        EXPECT_EQ(Recording().Transcript(), (Lines{"list made", "list made"}))
            << "nothing but AddInt() and AddDouble() goes without a line";
        EXPECT_TRUE(HasNumbersAlone(*first)) << Doubles::Describe(*first);
        EXPECT_EQ(first->Parent(), nullptr);
        EXPECT_NE(first, second);
    }
}

TEST(ListFormCalls, OfTheFactoryNeitherMakeNorDestroyAList)
{
    for (const std::vector<Value>& values :
         {std::vector<Value>{0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0}, {4, 1, 1.0, 2.0, 3.0}, {5}, {7}}) {
        const auto list = ListOf(values);
        SCOPED_TRACE(Doubles::Describe(*list));
        Recording().Reset();

        static_cast<void>(CWayline::FromBList(list.get()));

        EXPECT_EQ(Recording().Transcript(), Lines());
    }
}

} // namespace
} // namespace Kestrove
