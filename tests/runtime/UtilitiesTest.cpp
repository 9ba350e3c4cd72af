#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Utilities.h"

using Core::Utilities::ParseDouble;
using Core::Utilities::ParseInt;
using Core::Utilities::SplitString;
using testing::ElementsAre;

namespace {

constexpr int kUntouched = 4711;
constexpr int kRandomTexts = 20000;

std::string Digits(std::size_t count, std::mt19937& random)
{
    std::string digits;
    for (; count > 0; --count) {
        digits += static_cast<char>('0' + random() % 10);
    }
    return digits;
}

struct IntText
{
    const char* text;
    int value;
};

const IntText kInts[] = {
    {"0", 0},
    {"-0", 0},
    {"7", 7},
    {"+7", 7},
    {"-7", -7},
    {"007", 7},
    {"2147483647", std::numeric_limits<int>::max()},
    {"-2147483648", std::numeric_limits<int>::min()},
};

const char* const kNoInts[] = {"",           " ",           "-",  "+",   "--7", "+-7",
                               "-+7",        "7 ",          " 7", "7.0", "1e3", "0x10",
                               "2147483648", "-2147483649", "7a", "a",   "1,0", "++7"};

struct TextOfDouble
{
    const char* text;
    double value;
};

const TextOfDouble kTextsOfDoubles[] = {
    {"0", 0.0},
    {"-0.0", -0.0},
    {"+1.5", 1.5},
    {"-2.5e3", -2500.0},
    {"1e-3", 0.001},
    {"1E3", 1000.0},
    {".5", 0.5},
    {"5.", 5.0},
    {"0.1", 0.1},
    {"1e+22", 1e22},
    {"5e-324", std::numeric_limits<double>::denorm_min()},
    {"1.7976931348623157e+308", std::numeric_limits<double>::max()},
    {"inf", std::numeric_limits<double>::infinity()},
    {"-inf", -std::numeric_limits<double>::infinity()},
};

const char* const kNoDoubles[] = {"",   " ",  ".",     "-",    "+-1", "1.5 ", " 1.5", "1,5",
                                  "1e", "e5", "0x1p3", "1.5x", "--1", "1..5", "nul",  "in"};

} // namespace

TEST(ParseInt, TakesADecimalNumberWithAnOptionalSign)
{
    for (const IntText& row : kInts) {
        int value = kUntouched;
        EXPECT_NE(0, ParseInt(row.text, value)) << row.text;
        EXPECT_EQ(row.value, value) << row.text;
    }
}

TEST(ParseInt, RefusesEverythingElseAndLeavesTheValue)
{
    for (const char* const text : kNoInts) {
        int value = kUntouched;
        EXPECT_EQ(0, ParseInt(text, value)) << '"' << text << '"';
        EXPECT_EQ(kUntouched, value) << '"' << text << '"';
    }
}

TEST(ParseInt, RefusesATextWithAZeroByte)
{
    int value = kUntouched;
    EXPECT_EQ(0, ParseInt(std::string("7\0", 2), value));
}

TEST(ParseDouble, TakesADecimalNumberWithAnOptionalSign)
{
    for (const TextOfDouble& row : kTextsOfDoubles) {
        double value = kUntouched;
        EXPECT_NE(0, ParseDouble(row.text, value)) << row.text;
        EXPECT_EQ(row.value, value) << row.text;
        EXPECT_EQ(std::signbit(row.value), std::signbit(value)) << row.text;
    }
}

TEST(ParseDouble, TakesNan)
{
    double value = kUntouched;
    EXPECT_NE(0, ParseDouble("nan", value));
    EXPECT_TRUE(std::isnan(value));
    EXPECT_FALSE(std::signbit(value));
    EXPECT_NE(0, ParseDouble("-nan", value));
    EXPECT_TRUE(std::isnan(value));
    EXPECT_TRUE(std::signbit(value));
}

TEST(ParseDouble, RefusesEverythingElseAndLeavesTheValue)
{
    for (const char* const text : kNoDoubles) {
        double value = kUntouched;
        EXPECT_EQ(0, ParseDouble(text, value)) << '"' << text << '"';
        EXPECT_EQ(static_cast<double>(kUntouched), value) << '"' << text << '"';
    }
}

TEST(ParseDouble, ReadsWhatHasSixDecimalsAsTheStandardLibraryDoes)
{
    std::mt19937 random(1);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    int numbers = 0;
    for (int i = 0; i < kRandomTexts; ++i) {
        std::string text = below(2) == 0 ? "-" : "";
        text += Digits(below(12), random) + '.' + Digits(below(8) == 0 ? below(8) : 6, random);
        if (below(3) == 0) {
            text[below(text.size())] = "x-. e9\xba\xff"[below(9)];
        }
        double expected = kUntouched;
        const char* const end = text.data() + text.size();
        const std::from_chars_result read = std::from_chars(text.data(), end, expected);
        const bool isNumber = read.ec == std::errc() && read.ptr == end;
        double value = kUntouched;

        ASSERT_EQ(isNumber, ParseDouble(text, value) != 0) << text;

        ASSERT_EQ(isNumber ? expected : kUntouched, value) << text;
        ASSERT_EQ(isNumber && std::signbit(expected), std::signbit(value)) << text;
        numbers += isNumber ? 1 : 0;
    }
    EXPECT_GT(numbers, kRandomTexts / 2);
    EXPECT_LT(numbers, kRandomTexts);
}

TEST(ParseDouble, DoesNotDependOnTheLocale)
{
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
        GTEST_SKIP() << "there is no locale with a decimal comma on this machine";
    }
    char printed[16];
    std::snprintf(printed, sizeof printed, "%.1f", 0.5);
    double value = kUntouched;

    const int withPoint = ParseDouble("1.5", value);
    const int withComma = ParseDouble("2,5", value);
    std::setlocale(LC_ALL, "C");

    EXPECT_STREQ(printed, "0,5") << "the locale has a decimal comma";
    EXPECT_NE(0, withPoint);
    EXPECT_EQ(0, withComma);
    EXPECT_EQ(1.5, value);
}

TEST(SplitIntoWords, MakesNoEmptyWords)
{
    const char* const texts[] = {"a bc d", " a bc d", "a bc d ", "a   bc  d", "  a bc   d  "};
    for (const char* const text : texts) {
        std::vector<std::string> parts = {"old"};
        EXPECT_NE(0, SplitString(text, ' ', parts, 0)) << '"' << text << '"';
        EXPECT_THAT(parts, ElementsAre("a", "bc", "d")) << '"' << text << '"';
    }
}

TEST(SplitIntoWords, FailsWithoutAWordAndEmptiesTheParts)
{
    for (const char* const text : {"", " ", "    "}) {
        std::vector<std::string> parts = {"old"};
        EXPECT_EQ(0, SplitString(text, ' ', parts, 0)) << '"' << text << '"';
        EXPECT_TRUE(parts.empty()) << '"' << text << '"';
    }
}

TEST(SplitIntoWords, SplitsAtTheSeparatorAlone)
{
    std::vector<std::string> parts;
    EXPECT_NE(0, SplitString("a\tb,c d", ',', parts, 0));
    EXPECT_THAT(parts, ElementsAre("a\tb", "c d"));
}

TEST(SplitIntoWords, MakesRoomForTheWordsAloneHoweverLongTheTextIs)
{
    std::mt19937 random(1);
    for (int i = 0; i < kRandomTexts / 10; ++i) {
        std::string text;
        for (auto left = random() % 600; left > 0; --left) {
            text += "ab\xff  "[random() % 5];
        }
        std::vector<std::string> words;
        std::istringstream stream(text);
        for (std::string word; std::getline(stream, word, ' ');) {
            if (!word.empty()) {
                words.push_back(word);
            }
        }
        std::vector<std::string> parts;

        ASSERT_EQ(!words.empty(), SplitString(text, ' ', parts, 0) != 0) << text;

        ASSERT_EQ(words, parts) << text;
        ASSERT_EQ(words.size(), parts.capacity()) << text;
    }
}

TEST(SplitAtFirst, GivesTheWordAndTheRestAsItStands)
{
    std::string first;
    std::string rest;
    EXPECT_NE(0, SplitString("kind 1  2 ", ' ', first, rest));
    EXPECT_EQ("kind", first);
    EXPECT_EQ("1  2 ", rest);
}

TEST(SplitAtFirst, TakesATextWithoutASeparatorAsTheFirstWord)
{
    std::string first;
    std::string rest = "old";
    EXPECT_NE(0, SplitString("kind", ' ', first, rest));
    EXPECT_EQ("kind", first);
    EXPECT_EQ("", rest);
}

TEST(SplitAtFirst, GivesAnEmptyFirstWordForALeadingSeparator)
{
    std::string first = "old";
    std::string rest;
    EXPECT_NE(0, SplitString(" kind", ' ', first, rest));
    EXPECT_EQ("", first);
    EXPECT_EQ("kind", rest);
}

TEST(SplitAtFirst, FailsForAnEmptyTextAndLeavesBoth)
{
    std::string first = "old";
    std::string rest = "older";
    EXPECT_EQ(0, SplitString("", ' ', first, rest));
    EXPECT_EQ("old", first);
    EXPECT_EQ("older", rest);
}

TEST(SplitAtFirst, MaySplitATextIntoItself)
{
    std::string text = "a b c";
    std::string first;
    EXPECT_NE(0, SplitString(text, ' ', first, text));
    EXPECT_EQ("a", first);
    EXPECT_EQ("b c", text);
    EXPECT_NE(0, SplitString(text, ' ', text, first));
    EXPECT_EQ("b", text);
    EXPECT_EQ("c", first);
}
