#include "simulator/program/DescriptorLimit.h"

#include <gtest/gtest.h>

namespace {

constexpr std::size_t kPage = 256;
// Listeners, the page's loop, the track, and what saving and refusing take for a moment.
constexpr std::size_t kNeeded = 15;
constexpr std::size_t kNeededWithoutPage = 9;

TEST(DescriptorLimit, LeavesEnoughForTheProgramWhateverThereIs)
{
    for (std::size_t left = DescriptorLimit::kFewestWithPage - 8; left < 2000; ++left) {
        const DescriptorLimit::Shares shares = DescriptorLimit::Divide(left, kPage);

        EXPECT_LE(shares.clients + shares.page + kNeeded, left);
        EXPECT_GE(shares.page, 16u) << "viewers, commands that take long, and others";
        EXPECT_LE(shares.page, kPage);
        EXPECT_GE(shares.clients, shares.page);
    }
    for (std::size_t left = DescriptorLimit::kFewest - 8; left < 2000; ++left) {
        const DescriptorLimit::Shares shares = DescriptorLimit::Divide(left, 0);

        EXPECT_LE(shares.clients + kNeededWithoutPage, left);
        EXPECT_GE(shares.clients, 8u);
        EXPECT_EQ(0u, shares.page);
    }
}

TEST(DescriptorLimit, GivesThePageAllItMayHaveWhereThereArePlenty)
{
    const DescriptorLimit::Shares shares = DescriptorLimit::Divide(1010, kPage);

    EXPECT_EQ(kPage, shares.page);
    EXPECT_EQ(1010 - kPage - DescriptorLimit::kOwn, shares.clients);
}

} // namespace
