#include "tools/navctl/feed/FeedProgress.h"

#include <gtest/gtest.h>

TEST(FeedProgress, ShowsABarAndTheCounts)
{
    const FeedState state{50, 100, 1234, 5, 75.0};
    EXPECT_EQ("########--------  50 %  1234 samples, 5 skipped  1:15",
              ProgressLine(state, {54, false, false}));
}

TEST(FeedProgress, ShowsNoBarForAStream)
{
    EXPECT_EQ("1 sample  0:01", ProgressLine({0, 0, 1, 0, 1.0}, {80, false, false}));
    EXPECT_EQ("7 samples  1:01:05", ProgressLine({0, 0, 7, 0, 3665.0}, {80, false, false}));
}

TEST(FeedProgress, StaysShorterThanTheTerminal)
{
    const FeedState state{100, 100, 1234567, 89, 7200.0};
    for (int columns = 1; columns < 120; ++columns) {
        const std::string line = ProgressLine(state, {columns, false, false});
        EXPECT_LT(line.size(), static_cast<std::size_t>(std::max(columns, 2))) << columns;
    }
}

TEST(FeedProgress, WritesEscapeSequencesWithColoursAlone)
{
    const FeedState state{30, 100, 1, 0, 1.0};
    EXPECT_EQ(std::string::npos, ProgressLine(state, {80, false, true}).find('\x1b'));
    const std::string coloured = ProgressLine(state, {80, true, true});
    EXPECT_NE(std::string::npos, coloured.find("\x1b[32m"));
    EXPECT_NE(std::string::npos, coloured.find("\x1b[0m"));
}

TEST(FeedProgress, IsFullAtTheEndAndNotBeyond)
{
    EXPECT_EQ(std::string::npos, ProgressLine({150, 100, 1, 0, 1.0}, {60, false, false}).find('-'));
}
