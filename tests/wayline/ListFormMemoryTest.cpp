// How much memory the list form takes with the bundled runtime's lists.

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "core/Vector3.h"
#include "platform/BElement.h"
#include "tests/wayline/AllocationCount.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

TEST(ListFormMemory, OfAMillionPointsIsThatOfTheListAtNoMomentMore)
{
    constexpr std::size_t kHighestBytesPerElement = 17;
    const CABCurveWayline curve(
        std::vector<Core::Maths::Vector3<double>>(1000000, Core::Maths::Vector3<double>(1, 2, 3)));
    const std::size_t before = LiveBytes();
    ForgetPeakBytes();

    const std::unique_ptr<BListC> list(curve.ToBList());

    const auto elements = static_cast<std::size_t>(list->Size());
    EXPECT_EQ(elements, 3000002u);
    EXPECT_LE(PeakBytes() - before, kHighestBytesPerElement * elements);
    EXPECT_GE(LiveBytes() - before, 2 * sizeof(double) * elements) << "the count sees the list";
}

} // namespace
} // namespace Kestrove
