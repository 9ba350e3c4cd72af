// The text form of A-B line, A-plus-heading line and circle.

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "tests/wayline/CapturedOutput.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

/// What printf writes for the code and the values.
std::string Printed(int code, const std::vector<double>& values)
{
    std::string text = std::to_string(code);
    for (const double value : values) {
        char buffer[400];
        const int length = std::snprintf(buffer, sizeof buffer, " %lf", value);
        text.append(buffer, static_cast<std::size_t>(length));
    }
    return text;
}

TEST(FixedTextForm, HasTheCodeAndThenTheValuesWithSixDecimals)
{
    EXPECT_EQ(CABWayline({1, 2, 3}, {4, 5, 6}).ToString(),
              "0 1.000000 2.000000 3.000000 4.000000 5.000000 6.000000");
    EXPECT_EQ(CAHeadingWayline({-0.5, 1234567.1234567, 1e-7}, -0.0).ToString(),
              "1 -0.500000 1234567.123457 0.000000 -0.000000");
    EXPECT_EQ(CCircleWayline({1, 2, 3}, {4, 5, 6}, {7, 8, 9}).ToString(),
              "2 1.000000 2.000000 3.000000 4.000000 5.000000 6.000000 7.000000 8.000000 9.000000");
}

TEST(FixedTextForm, HasTheBytesOfPrintf)
{
    const double values[] = {0.0, -0.0, 0.1, -0.1, 0.0000005, 2.5e-6, 5e-7, 1.9999995, 0.9999999,
                             999999.9999995, 1e15, -1e22, 1.0 / 3, DBL_MIN, DBL_TRUE_MIN, DBL_MAX,
                             -DBL_MAX, 0.00000025, 123456789.125, 4503599627370497.5,
                             // Exactly between two texts of six decimals.
                             0.0078125, -0.0078125, 0.0234375, -0.0234375};
    for (const double value : values) {
        EXPECT_EQ(CAHeadingWayline({value, -value, 0}, value).ToString(),
                  Printed(1, {value, -value, 0, value}));
    }
}

TEST(FixedTextForm, RoundsWhatIsExactlyBetweenTwoTextsToTheEvenDigit)
{
    EXPECT_EQ(CAHeadingWayline({0.0078125, -0.0078125, 0.0234375}, -0.0234375).ToString(),
              "1 0.007812 -0.007812 0.023438 -0.023438");
}

TEST(FixedTextForm, WritesTheLargestCircleWhole)
{
    const double largest = DBL_MAX;
    const CCircleWayline circle({largest, largest, largest}, {largest, largest, largest},
                                {largest, largest, largest});

    const std::string text = circle.ToString();

    EXPECT_EQ(text, Printed(2, std::vector<double>(9, largest)));
    EXPECT_EQ(text.size(), 1u + 9 * (1 + 309 + 1 + 6));
}

TEST(FixedTextForm, WritesAndReadsWhatIsNoNumber)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const CAHeadingWayline written({infinity, -infinity, nan}, std::copysign(nan, -1.0));

    EXPECT_EQ(written.ToString(), "1 inf -inf nan -nan");
    EXPECT_EQ(written.ToString(), Printed(1, {infinity, -infinity, nan, -nan}));
    CAHeadingWayline read;
    EXPECT_TRUE(read.LoadString(written.ToString()));
    EXPECT_EQ(read.pointAX, infinity);
    EXPECT_EQ(read.pointAY, -infinity);
    EXPECT_TRUE(std::isnan(read.pointAZ));
    EXPECT_TRUE(std::isnan(read.heading));
    EXPECT_EQ(read.ToString(), written.ToString()) << "the signs come back too";
}

TEST(FixedTextForm, ReadsTheLargestCircleBack)
{
    const double largest = DBL_MAX;
    const CCircleWayline circle({largest, -largest, largest}, {largest, largest, largest},
                                {largest, largest, largest});
    CCircleWayline read;

    EXPECT_TRUE(read.LoadString(circle.ToString()));

    EXPECT_EQ(read.firstPointY, -largest);
    EXPECT_EQ(read.ToString(), circle.ToString());
}

/// What becomes of a wayline all of whose values were 9.
struct FixedReadRow
{
    const char* text;
    bool accepted;
    const char* afterwards;
};

template <typename Kind>
void ExpectReads(const Kind& nines, const std::vector<FixedReadRow>& rows)
{
    for (const FixedReadRow& row : rows) {
        SCOPED_TRACE(row.text);
        Kind wayline = nines;
        CCapturedOutput output;

        const bool accepted = wayline.LoadString(row.text);

        EXPECT_EQ(output.Text(), "");
        EXPECT_EQ(accepted, row.accepted);
        EXPECT_EQ(wayline.ToString(), row.afterwards);
    }
}

TEST(FixedTextForm, OfAnABLineIsRead)
{
    const char* unchanged = "0 9.000000 9.000000 9.000000 9.000000 9.000000 9.000000";
    ExpectReads(
        CABWayline({9, 9, 9}, {9, 9, 9}),
        {{"0 1 2 3 4 5 6", true, "0 1.000000 2.000000 3.000000 4.000000 5.000000 6.000000"},
         {"0 1 2 3 4 5", false, unchanged},
         {"0 1 2 3 4 5 6 7", false, unchanged},
         {"1 1 2 3 4 5 6", false, unchanged},
         {"-1 1 2 3 4 5 6", false, unchanged},
         {"0.0 1 2 3 4 5 6", false, unchanged},
         {"4294967296 1 2 3 4 5 6", false, unchanged},
         {"x 1 2 3 4 5 6", false, unchanged},
         {"", false, unchanged},
         {" ", false, unchanged},
         {"0 x 2 3 4 5 6", false, unchanged},
         {"0 1 2 x 4 5 6", false, "0 1.000000 2.000000 9.000000 9.000000 9.000000 9.000000"},
         {"0 1 2 3 4 5 6x", false, "0 1.000000 2.000000 3.000000 4.000000 5.000000 9.000000"},
         {"0 1,5 2 3 4 5 6", false, unchanged}});
}

TEST(FixedTextForm, OfAnAPlusHeadingLineIsRead)
{
    const char* unchanged = "1 9.000000 9.000000 9.000000 9.000000";
    ExpectReads(CAHeadingWayline({9, 9, 9}, 9),
                {{"1 1 2 3 0.5", true, "1 1.000000 2.000000 3.000000 0.500000"},
                 {"1 1e3 -2 +3 .5", true, "1 1000.000000 -2.000000 3.000000 0.500000"},
                 {"1 1 2 3", false, unchanged},
                 {"1 1 2 3 4 5", false, unchanged},
                 {"0 1 2 3 4", false, unchanged},
                 {"1 1 2 3 x", false, "1 1.000000 2.000000 3.000000 9.000000"}});
}

TEST(FixedTextForm, OfACircleIsRead)
{
    const char* unchanged = "2 9.000000 9.000000 9.000000 9.000000 9.000000 9.000000 9.000000 "
                            "9.000000 9.000000";
    ExpectReads(CCircleWayline({9, 9, 9}, {9, 9, 9}, {9, 9, 9}),
                {{"2 1 2 3 4 5 6 7 8 9", true,
                  "2 1.000000 2.000000 3.000000 4.000000 5.000000 6.000000 7.000000 8.000000 "
                  "9.000000"},
                 {"2 1 2 3 4 5 6 7 8", false, unchanged},
                 {"2 1 2 3 4 5 6 7 8 9 10", false, unchanged},
                 {"3 1 2 3 4 5 6 7 8 9", false, unchanged},
                 {"2 1 2 3 4 x 6 7 8 9", false,
                  "2 1.000000 2.000000 3.000000 4.000000 9.000000 9.000000 9.000000 9.000000 "
                  "9.000000"}});
}

TEST(FixedTextForm, LeavesTheTypeCodeAlone)
{
    CABWayline line;

    static_cast<void>(line.LoadString("0 1 2 3 4 5 6"));
    static_cast<void>(line.LoadString("1 1 2 3 4 5 6"));

    EXPECT_EQ(line.Type(), EWaylineTypeAB);
}

} // namespace
} // namespace Kestrove
