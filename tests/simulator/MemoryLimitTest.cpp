#include "simulator/program/MemoryLimit.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/simulator/Directory.h"

namespace {

constexpr std::uint64_t kMiB = std::uint64_t{1024} * 1024;

TEST(MemoryLimit, IsThatOfTheMachineWithoutAnotherOne)
{
    const Directory directory;

    const std::uint64_t allowed = MemoryLimit::Allowed("", directory.File(""));

    EXPECT_GT(allowed, 16 * kMiB);
    EXPECT_EQ(allowed, MemoryLimit::Allowed("1:memory:/group\n", directory.File("")));
    EXPECT_EQ(allowed, MemoryLimit::Allowed("0::/nowhere\n", directory.File("")));
}

TEST(MemoryLimit, IsTheLeastOfItsControlGroupAndThoseAroundIt)
{
    const Directory directory;
    std::filesystem::create_directories(directory.File("outer/inner"));
    const auto allowed = [&](const char* outer, const char* inner) {
        directory.Write("outer/memory.max", outer);
        directory.Write("outer/inner/memory.max", inner);
        return MemoryLimit::Allowed("0::/outer/inner\n", directory.File(""));
    };

    EXPECT_EQ(1000000u, allowed("2000000\n", "1000000\n"));
    EXPECT_EQ(1000000u, allowed("1000000\n", "2000000\n"));
    EXPECT_EQ(1000000u, allowed("max\n", "1000000\n"));
    EXPECT_EQ(1000000u, allowed("1000000\n", "max\n"));
    EXPECT_LT(1000000u, allowed("max\n", "max\n"));
}

TEST(MemoryLimit, IsDividedSoThatTheProcessKeepsTwoThirds)
{
    for (std::uint64_t allowed = MemoryLimit::kLeast; allowed < 4096 * kMiB; allowed += 64 * kMiB) {
        const MemoryLimit::Shares shares = MemoryLimit::Divide(allowed);

        EXPECT_LE(shares.clients + shares.page, allowed / 3);
        EXPECT_GE(shares.clients, 16 * kMiB);
        EXPECT_GE(shares.page, 4 * kMiB) << "a body of the most bytes";
    }
    const MemoryLimit::Shares shares = MemoryLimit::Divide(1024 * kMiB);
    EXPECT_EQ(256 * kMiB, shares.clients);
    EXPECT_EQ(32 * kMiB, shares.page);
    EXPECT_EQ(16 * kMiB, MemoryLimit::Divide(0).clients);
}

} // namespace
