#include "tools/navctl/wayline/WaylineShape.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tools/navctl/files/Angle.h"

namespace {

WaylineContent Content(Kestrove::EWaylineType kind, std::vector<WaylinePoint> points)
{
    return {kind, std::move(points), 0.0, {}};
}

const WaylineContent kUnitCircle =
    Content(Kestrove::EWaylineTypeCircle, {{1, 0, 0}, {0, 1, 0}, {-1, 0, 0}});

} // namespace

TEST(WaylineShape, MeasuresTheKindsThatHaveALength)
{
    EXPECT_NEAR(5.0, *WaylineLength(Content(Kestrove::EWaylineTypeAB, {{0, 0, 0}, {3, 4, 0}})),
                1e-12);
    EXPECT_NEAR(2.0 * kPi, *WaylineLength(kUnitCircle), 1e-12);
    EXPECT_NEAR(
        7.0,
        *WaylineLength(Content(Kestrove::EWaylineTypeABCurve, {{0, 0, 0}, {3, 0, 0}, {3, 4, 0}})),
        1e-12);
    EXPECT_EQ(std::nullopt, WaylineLength(Content(Kestrove::EWaylineTypeAHeading, {{0, 0, 0}})));
    EXPECT_EQ(std::nullopt, WaylineLength(Content(Kestrove::EWaylineTypePath, {})));
}

TEST(WaylineShape, LeadsASplineThroughItsPoints)
{
    const WaylineContent spline =
        Content(Kestrove::EWaylineTypeSpline, {{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {20, 10, 0}});
    const std::vector<WaylinePoint> outline = Outline(spline);
    for (const WaylinePoint& point : spline.points) {
        double nearest = 1e9;
        for (const WaylinePoint& other : outline) {
            nearest = std::min(nearest, std::hypot(other.x - point.x, other.y - point.y));
        }
        EXPECT_NEAR(0.0, nearest, 1e-9) << point.x << "," << point.y;
    }
    EXPECT_GT(*WaylineLength(spline), 30.0);
    EXPECT_LT(*WaylineLength(spline), 33.0);
}

TEST(WaylineShape, KeepsASplineFiniteWithPointsInOnePlace)
{
    const WaylineContent spline =
        Content(Kestrove::EWaylineTypeSpline, {{0, 0, 0}, {0, 0, 0}, {5, 0, 0}, {5, 5, 0}});
    for (const WaylinePoint& point : Outline(spline)) {
        EXPECT_TRUE(std::isfinite(point.x) && std::isfinite(point.y));
    }
}

TEST(WaylineShape, FindsTheCircleAndItsSense)
{
    const auto circle = CircleThrough({{101, 50, 0}, {100, 51, 0}, {99, 50, 0}});
    ASSERT_TRUE(circle.has_value());
    EXPECT_NEAR(100.0, circle->x, 1e-9);
    EXPECT_NEAR(50.0, circle->y, 1e-9);
    EXPECT_NEAR(1.0, circle->radius, 1e-9);
    EXPECT_FALSE(circle->isClockwise);
    EXPECT_TRUE(CircleThrough({{99, 50, 0}, {100, 51, 0}, {101, 50, 0}})->isClockwise);
    EXPECT_FALSE(CircleThrough({{0, 0, 0}, {1, 1, 0}, {2, 2, 0}}).has_value());
    EXPECT_FALSE(CircleThrough({{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}).has_value());
}

TEST(WaylineShape, BoundsTheWholeCircle)
{
    const auto bounds = BoundsOf(kUnitCircle);
    ASSERT_TRUE(bounds.has_value());
    EXPECT_NEAR(-1.0, bounds->lowest.y, 1e-12) << "no point is given there";
    EXPECT_NEAR(1.0, bounds->highest.x, 1e-12);
}

TEST(WaylineShape, TellsTheHeadingOfStraightLines)
{
    EXPECT_NEAR(kPi / 2.0, *HeadingOf(Content(Kestrove::EWaylineTypeAB, {{0, 0, 0}, {5, 0, 0}})),
                1e-12);
    EXPECT_EQ(std::nullopt, HeadingOf(Content(Kestrove::EWaylineTypeAB, {{1, 1, 0}, {1, 1, 0}})));
    EXPECT_EQ(std::nullopt, HeadingOf(kUnitCircle));
}
