#include "tools/navctl/wayline/WaylinePlot.h"

#include <gtest/gtest.h>

#include "tests/navctl/files/WaylineLists.h"

TEST(WaylinePlot, DrawsAxesInMetresAScaleAndTheLetters)
{
    const std::string svg = WaylinePlot(
        ListOf({{Kestrove::EWaylineTypeAB, {{0, 0, 0}, {0, 100, 0}}, 0.0, "north <1> & on"}}));
    for (const char* part :
         {"<svg ", "</svg>", "metres east", "metres north", ">A</text>", ">B</text>", ">100</text>",
          " m</text>", "stroke-dasharray", "north &lt;1&gt; &amp; on"}) {
        EXPECT_NE(std::string::npos, svg.find(part)) << part;
    }
    EXPECT_EQ(std::string::npos, svg.find("nan"));
}

TEST(WaylinePlot, DrawsOnePointAndPointsInOnePlace)
{
    for (const std::vector<WaylinePoint>& points :
         {std::vector<WaylinePoint>{{5, 5, 0}}, std::vector<WaylinePoint>{{5, 5, 0}, {5, 5, 0}}}) {
        const std::string svg =
            WaylinePlot(ListOf({{Kestrove::EWaylineTypeABCurve, points, 0.0, ""}}));
        EXPECT_NE(std::string::npos, svg.find("</svg>"));
        EXPECT_EQ(std::string::npos, svg.find("nan"));
        EXPECT_EQ(std::string::npos, svg.find("inf"));
    }
}

TEST(WaylinePlot, DrawsNothingWithoutAPointOrTooFarOff)
{
    EXPECT_EQ("", WaylinePlot(ListOf({{Kestrove::EWaylineTypePath, {}, 0.0, ""}})));
    EXPECT_EQ("", WaylinePlot(ListOf(
                      {{Kestrove::EWaylineTypeABCurve, {{0, 0, 0}, {1e300, 0, 0}}, 0.0, ""}})));
}
