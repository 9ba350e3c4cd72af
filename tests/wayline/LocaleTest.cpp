#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <string>

#include "tests/wayline/CapturedOutput.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

/// A program that has set a locale with a decimal comma.
class CommaLocale : public testing::Test
{
protected:
    void SetUp() override
    {
        if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
            GTEST_SKIP() << "there is no locale with a decimal comma on this machine";
        }
        char printed[16];
        std::snprintf(printed, sizeof printed, "%.1f", 0.5);
        ASSERT_STREQ(printed, "0,5");
    }
    void TearDown() override { std::setlocale(LC_ALL, "C"); }
};

TEST_F(CommaLocale, WritesTheSameText)
{
    EXPECT_EQ(CABWayline({0.5, 1234567.25, 3}, {4, 5, 6}).ToString(),
              "0 0.500000 1234567.250000 3.000000 4.000000 5.000000 6.000000");
    EXPECT_EQ(CABCurveWayline({{0.5, 1000, -2.5}}).ToString(),
              "4 1 0.500000 1000.000000 -2.500000");
}

TEST_F(CommaLocale, ReadsTheSameText)
{
    CCapturedOutput output;
    CAHeadingWayline heading;
    CABCurveWayline curve;

    EXPECT_TRUE(heading.LoadString("1 0.5 1 2 3"));
    EXPECT_FALSE(CAHeadingWayline().LoadString("1 0,5 1 2 3"));
    EXPECT_TRUE(curve.LoadString("4 1 0.5 1000.25 3"));

    EXPECT_EQ(heading.pointAX, 0.5);
    ASSERT_EQ(curve.points.size(), 1u);
    EXPECT_EQ(curve.points[0].y, 1000.25);
    EXPECT_NE(output.Text().find("split string length: 5\n"), std::string::npos);
}

} // namespace
} // namespace Kestrove
