#include "pictures/PlotArea.h"

#include <limits>

#include <gtest/gtest.h>

TEST(PlotArea, ChoosesRoundStepsForTheGrid)
{
    const struct
    {
        double span, count, step;
    } rows[] = {{100, 10, 10}, {100, 8, 20}, {7, 8, 1}, {0.05, 5, 0.01}, {2600, 8, 500}};
    for (const auto& row : rows) {
        EXPECT_NEAR(row.step, RoundStep(row.span, row.count), row.step * 1e-9) << row.span;
    }
}

TEST(PlotArea, ShowsValuesWhereTheyBelong)
{
    const PlotArea area{100, 20, 200, 50, -1, 1, 0, 10};
    EXPECT_EQ(100, area.X(-1));
    EXPECT_EQ(300, area.X(1));
    EXPECT_EQ(70, area.Y(0));
    EXPECT_EQ(20, area.Y(10));
}

TEST(PlotArea, ShowsBothAxesOnOneScaleAndAllThatItShowed)
{
    PlotArea area{0, 0, 200, 100, 0, 10, 0, 40};
    area.UseOneScale();
    EXPECT_DOUBLE_EQ((area.xHigh - area.xLow) / 200, (area.yHigh - area.yLow) / 100);
    EXPECT_LE(area.xLow, 0);
    EXPECT_GE(area.xHigh, 10);
    EXPECT_LE(area.yLow, 0);
    EXPECT_GE(area.yHigh, 40);
}

TEST(SvgWriter, EscapesTextsAndLeavesOutWhatIsNotFinite)
{
    std::string text;
    {
        PictureFrame frame;
        frame.title = "a < b & \"c\"";
        CSvgWriter svg(text, frame);
        svg.Text({1, 2}, "<script>\x01");
        svg.Line({0, 0}, {std::numeric_limits<double>::quiet_NaN(), 1}, "");
        svg.Polyline({{0, 0}, {std::numeric_limits<double>::infinity(), 1}, {2.5, 3}}, "");
    }
    EXPECT_NE(std::string::npos, text.find("a &lt; b &amp; &quot;c&quot;"));
    EXPECT_NE(std::string::npos, text.find("&lt;script&gt; </text>"));
    EXPECT_NE(std::string::npos, text.find("points=\"0,0 2.5,3\""));
    EXPECT_EQ(std::string::npos, text.find("nan"));
    EXPECT_EQ(std::string::npos, text.find("<line"));
    EXPECT_NE(std::string::npos, text.find("</svg>"));
}

TEST(SvgWriter, GivesWhatReadsAloudATitleAndADescription)
{
    std::string text;
    {
        PictureFrame frame;
        frame.title = "Map";
        frame.description = "A drive.";
        frame.name = "map";
        const CSvgWriter svg(text, frame);
    }
    EXPECT_NE(std::string::npos, text.find("role=\"img\" aria-labelledby=\"map-title map-desc\""));
    EXPECT_NE(std::string::npos, text.find("<title id=\"map-title\">Map</title>"));
    EXPECT_NE(std::string::npos, text.find("<desc id=\"map-desc\">A drive.</desc>"));
}

TEST(SvgWriter, WritesNumbersShort)
{
    EXPECT_EQ("0", PixelText(-0.001));
    EXPECT_EQ("10", PixelText(10.0));
    EXPECT_EQ("1.5", PixelText(1.5));
    EXPECT_EQ("-2.25", PixelText(-2.25));
}
