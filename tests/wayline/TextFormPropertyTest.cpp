// What holds of the text form whatever the values and texts.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platform/BElement.h"
#include "tests/wayline/AllocationCount.h"
#include "tests/wayline/CapturedOutput.h"
#include "tests/wayline/Generator.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

/// Whether every value of `read` is that of `written` to the six decimals of the text form.
bool AreCloseEnough(const BListC& written, const BListC& read)
{
    bool close = written.Size() == read.Size();
    for (int i = 0; close && i < written.Size(); ++i) {
        const double number = written.GetDouble(i);
        const double tolerance = 0.5e-6 + std::abs(number) * std::numeric_limits<double>::epsilon();
        close = std::abs(number - read.GetDouble(i)) <= tolerance;
    }
    return close;
}

TEST(TextFormProperty, EveryKindWithValuesComesBackToSixDecimals)
{
    const CCapturedOutput quiet;
    CGenerator generator;
    for (int code = EWaylineTypeAB; code <= EWaylineTypeABCurve; ++code) {
        for (int i = 0; i < kCases; ++i) {
            const WaylinePtr written = AnyWayline(generator, code, &CGenerator::FiniteDouble);
            const std::string text = written->ToString();

            const WaylinePtr read = CWayline::FromString(text);

            ASSERT_TRUE(read) << text;
            const std::unique_ptr<BListC> before(written->ToBList());
            const std::unique_ptr<BListC> after(read->ToBList());
            ASSERT_TRUE(AreCloseEnough(*before, *after)) << text;
            ASSERT_EQ(read->ToString(), text) << "what was read is written alike";
        }
    }
}

TEST(TextFormProperty, EveryTextHasTheBytesOfPrintf)
{
    CGenerator generator;
    for (int i = 0; i < kCases; ++i) {
        const double x = generator.AnyDouble();
        const double heading = generator.FiniteDouble();
        char printed[1024];

        std::snprintf(printed, sizeof printed, "%d %lf %lf %lf %lf", 1, x, -x, 0.0, heading);

        ASSERT_EQ(CAHeadingWayline({x, -x, 0.0}, heading).ToString(), printed);
    }
}

// Multiples of 2^-7 lie half-way between two texts, and so do, as near as a double comes, halves of
// millionths; nines carry into the whole part; the powers of two stand at either end of the sizes
// that have a way of their own.
TEST(TextFormProperty, NumbersOfUsualSizeRoundAsPrintfDoes)
{
    CGenerator generator;
    std::vector<double> numbers = {4.0,       9.9999995, 9.99999949999, 99.9999999, 4.0078125,
                                   5.0234375, 0x1p30,    1000.234375,   0x1p29,     0x1p31,
                                   0.5e-6,    0.9999995, 0x1p-27,       0x1p-28,    0x1p-29,
                                   5e-324,    1e-300,    0.0078125};
    for (int i = 0; i < kCases; ++i) {
        const double part = generator.Int(0, 1 << 30) / static_cast<double>(1 << 30);
        numbers.push_back(std::ldexp(1.0 + part, generator.Int(-40, 34)));
        numbers.push_back(generator.Int(0, 1 << 30) + generator.Int(0, 127) / 128.0);
        numbers.push_back(generator.Int(0, 10) + generator.Int(0, 127) / 128.0);
        numbers.push_back(0.5e-6 * generator.Int(0, 1 << 30));
    }
    for (const double number : numbers) {
        const double below = std::nextafter(number, 0.0);
        char printed[1024];

        std::snprintf(printed, sizeof printed, "%d %lf %lf %lf %lf", 1, number, -number, below,
                      -below);

        ASSERT_EQ(CAHeadingWayline({number, -number, below}, -below).ToString(), printed);
    }
}

/// Bytes of every value, the NUL included.
std::string AnyBytes(CGenerator& generator)
{
    std::string text;
    for (int left = generator.Int(0, 40); left > 0; --left) {
        text += static_cast<char>(generator.Int(0, 255));
    }
    return text;
}

/// Words that look like the ones of a text form.
std::string AnyWords(CGenerator& generator)
{
    static const std::vector<std::string> kWords = {
        "0",    "1",  "2",          "3",           "4",          "5",   "6",    "-1",
        "7",    "x",  "",           "2147483647",  "2147483648", "1e5", "-0.5", "nan",
        "-inf", "0x", "1431655766", "-2147483648", "1.5",        "%s",  "%n",   "+4"};
    std::string text;
    for (int left = generator.Int(0, 12); left > 0; --left) {
        text += generator.OneOf(kWords) + (left > 1 ? " " : "");
    }
    return text;
}

/// A text form with some of its bytes changed.
std::string DamagedText(CGenerator& generator)
{
    const int code = generator.Int(EWaylineTypeEmpty, EWaylineTypeReplay);
    std::string text = AnyWayline(generator, code, &CGenerator::FiniteDouble)->ToString();
    for (int left = generator.Int(0, 3); left > 0 && !text.empty(); --left) {
        const auto place =
            static_cast<std::size_t>(generator.Int(0, static_cast<int>(text.size()) - 1));
        text[place] = generator.OneOf<char>({' ', 'x', '0', '9', '-', '.', 'e', '\0', '\n'});
    }
    return text;
}

std::string AnyText(CGenerator& generator)
{
    switch (generator.Int(0, 2)) {
    case 0:
        return AnyBytes(generator);
    case 1:
        return AnyWords(generator);
    default:
        return DamagedText(generator);
    }
}

int WordsIn(const std::string& text)
{
    int words = 0;
    std::istringstream stream(text);
    for (std::string word; std::getline(stream, word, ' ');) {
        words += word.empty() ? 0 : 1;
    }
    return words;
}

/// Whether what was built from a text can have come from it.
void ExpectPlausible(const CWayline& wayline, const std::string& text)
{
    EXPECT_EQ(std::stoi(text), wayline.Type());
    const auto* curve = dynamic_cast<const CABCurveWayline*>(&wayline);
    if (curve != nullptr && !curve->points.empty()) {
        EXPECT_EQ(static_cast<int>(curve->points.size()) * 3 + 2, WordsIn(text));
    }
}

TEST(TextFormProperty, AnyTextGivesAWaylineOrNullAndLeaksNothing)
{
    const CCapturedOutput quiet;
    CGenerator generator;
    int built = 0;
    for (int i = 0; i < kCases; ++i) {
        const std::string text = AnyText(generator);
        SCOPED_TRACE(testing::PrintToString(text));
        const long before = LiveAllocations();
        {
            const WaylinePtr wayline = CWayline::FromString(text);
            if (wayline) {
                ++built;
                ExpectPlausible(*wayline, text);
            }
        }
        ASSERT_EQ(LiveAllocations(), before);
        ASSERT_FALSE(testing::Test::HasFailure());
    }
    EXPECT_GT(built, kCases / 50) << "the generator reaches texts that are accepted";
    EXPECT_LT(built, kCases - kCases / 50);
}

TEST(TextFormProperty, AnyTextIsReadByAnyKind)
{
    const CCapturedOutput quiet;
    CGenerator generator;
    for (int i = 0; i < kCases; ++i) {
        const std::string text = AnyText(generator);
        const int code = generator.Int(EWaylineTypeEmpty, EWaylineTypeReplay);
        const WaylinePtr wayline = AnyWayline(generator, code, &CGenerator::AnyDouble);
        const std::string before = wayline->ToString();

        const bool accepted = wayline->LoadString(text);

        ASSERT_EQ(wayline->Type(), code);
        if (accepted) {
            ASSERT_EQ(std::stoi(text), code) << testing::PrintToString(text);
        } else if (WordsIn(text) < 2) {
            ASSERT_EQ(wayline->ToString(), before) << testing::PrintToString(text);
        }
    }
}

} // namespace
} // namespace Kestrove
