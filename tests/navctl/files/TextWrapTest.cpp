#include "tools/navctl/TextWrap.h"

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

namespace {

std::size_t LongestLine(const std::string& text)
{
    std::size_t longest = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        longest = std::max(longest, line.size());
    }
    return longest;
}

std::string Words(const std::string& text)
{
    std::string words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;) {
        words += word + " ";
    }
    return words;
}

} // namespace

TEST(TextWrap, LeavesLinesThatFitAsTheyAre)
{
    EXPECT_EQ("a  b\n\n  c\n", Wrapped("a  b\n\n  c\n", 10));
    EXPECT_EQ("", Wrapped("", 10));
}

TEST(TextWrap, BreaksBetweenWordsAndNeverWithinThem)
{
    const std::string text = "  --count NUMBER      End after so many events\n"
                             "[no] link       nothing listens: the port is free\n"
                             "                              set far in, behind nothing";
    for (std::size_t columns = 12; columns < 60; ++columns) {
        EXPECT_LE(LongestLine(Wrapped(text, columns)), columns) << Wrapped(text, columns);
        EXPECT_EQ(Words(text), Words(Wrapped(text, columns)));
    }
}

TEST(TextWrap, StartsALineWithAWordThatHasNoRoomBesideTheFirstColumn)
{
    const std::string text = "12:00:00.000  implement-width-changed   3.00 m";
    EXPECT_EQ("12:00:00.000\n    implement-width-changed 3.00 m", Wrapped(text, 36));
    for (std::size_t columns = 27; columns < 60; ++columns) {
        EXPECT_LE(LongestLine(Wrapped(text, columns)), columns) << Wrapped(text, columns);
    }
}

TEST(TextWrap, GoesOnBelowTheSecondColumn)
{
    EXPECT_EQ("name    one two\n        three", Wrapped("name    one two three", 16));
    EXPECT_EQ("one two three\n  four", Wrapped("one two three four", 14));
    EXPECT_EQ("one two three\nfour", WrappedProse("one two three four", 14));
}

TEST(TextWrap, GivesAnOverlongWordALineOfItsOwn)
{
    EXPECT_EQ("a\nabcdefghijkl\nb", WrappedProse("a abcdefghijkl b", 5));
}

TEST(TextWrap, CountsLettersAndNoEscapes)
{
    EXPECT_EQ("\xc3\xa4\xc3\xa4\xc3\xa4 \xc3\xa4",
              WrappedProse("\xc3\xa4\xc3\xa4\xc3\xa4 \xc3\xa4", 5));
    EXPECT_EQ("\033[31m[no]\033[0m a", WrappedProse("\033[31m[no]\033[0m a", 6));
}
