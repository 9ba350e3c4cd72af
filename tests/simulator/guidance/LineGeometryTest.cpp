// The shapes of lines, and where a machine is relative to them.

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/guidance/CurvePoints.h"
#include "simulator/guidance/LineBuilder.h"
#include "simulator/guidance/ParabolaSmoothing.h"
#include "tests/simulator/guidance/Drives.h"

namespace {

LineShapePtr Shape(const LineDefinition& line, int filterSize = 1)
{
    return BuildLine(line, filterSize).shape;
}

std::vector<Point> ArcPoints(double radius, double degrees, double spacing)
{
    std::vector<Point> points;
    const int pieces = static_cast<int>(Radians(degrees) * radius / spacing);
    for (int i = 0; i <= pieces; ++i) {
        const double bearing = -kPi / 2.0 + spacing * i / radius;
        points.push_back(Moved({radius, 0.0}, bearing, radius, 0.0));
    }
    return points;
}

TEST(StraightShape, CrossTrackErrorIsPositiveToTheRight)
{
    const LineShapePtr east = Shape(StraightLine({1.0, 1.0}, {5.0, 1.0}));
    const LineShapePtr heading = Shape(HeadingLine({1.0, 1.0}, Radians(90.0)));
    for (const LineShapePtr& shape : {east, heading}) {
        EXPECT_NEAR(2.0, shape->Project({-30.0, -1.0}).crossTrack, 1e-9);
        EXPECT_NEAR(-2.0, shape->Project({300.0, 3.0}).crossTrack, 1e-9);
        EXPECT_NEAR(Radians(90.0), shape->Project({0.0, 0.0}).foot.heading, 1e-9);
        EXPECT_EQ(0.0, shape->Length());
    }
}

TEST(CircleShape, RunsThroughItsPointsInTheirOrder)
{
    const LineShapePtr clockwise = Shape(CircleLine({0.0, 0.0}, {20.0, 20.0}, {40.0, 0.0}));
    const LineShapePtr other = Shape(CircleLine({40.0, 0.0}, {20.0, 20.0}, {0.0, 0.0}));

    EXPECT_NEAR(0.05, clockwise->Project({0.0, 0.0}).foot.curvature, 1e-9);
    EXPECT_NEAR(-0.05, other->Project({0.0, 0.0}).foot.curvature, 1e-9);
    EXPECT_NEAR(0.0, NormaliseTurn(clockwise->Project({-1.0, 0.0}).foot.heading), 1e-9);
    EXPECT_NEAR(kPi, other->Project({-1.0, 0.0}).foot.heading, 1e-9);
    EXPECT_NEAR(-1.0, clockwise->Project({-1.0, 0.0}).crossTrack, 1e-9);
    EXPECT_NEAR(1.0, other->Project({-1.0, 0.0}).crossTrack, 1e-9);
    EXPECT_NEAR(40.0 * kPi, clockwise->Length(), 1e-9);
}

TEST(CurveShape, CrossTrackErrorIsInterpolatedBetweenItsPoints)
{
    // Points 2 m apart on an arc of 15 m: the polyline would be up to 3.3 cm inside of it.
    const LineShapePtr shape = Shape(SplineLine(ArcPoints(15.0, 170.0, 2.0)));
    for (double degrees = 10.0; degrees < 160.0; degrees += 0.7) {
        const Point place = Moved({15.0, 0.0}, Radians(degrees - 90.0), 15.5, 0.0);
        const Projection projection = shape->Project(place);
        EXPECT_NEAR(-0.5, projection.crossTrack, 0.005) << degrees;
        EXPECT_NEAR(1.0 / 15.0, projection.foot.curvature, 0.011) << degrees;
        EXPECT_NEAR(0.0, Degrees(NormaliseTurn(projection.foot.heading - Radians(degrees))), 0.5)
            << degrees;
    }
}

TEST(CurveShape, SplineRunsThroughItsPoints)
{
    const std::vector<Point> points{{0.0, 0.0}, {3.0, 20.0}, {20.0, 30.0}, {60.0, 25.0}};
    const LineShapePtr shape = Shape(SplineLine(points));
    for (const Point& point : points) {
        EXPECT_NEAR(0.0, shape->Project(point).distance, 0.002) << point.x << ", " << point.y;
    }
}

TEST(CurveShape, FindsItsWayAlongItselfFromAHint)
{
    const LineShapePtr shape = Shape(CurveLine(BendsPoints(1.0)));
    double station = 0.0;
    for (double along = 0.0; along < shape->Length(); along += 0.4) {
        const LinePoint there = shape->At(along);
        const Point place = Moved(there.position, there.heading, 0.0, 0.3);
        const Projection near = shape->ProjectNear(place, station);
        EXPECT_NEAR(along, near.station, 0.05);
        EXPECT_NEAR(0.3, near.crossTrack, 0.005) << along;
        station = near.station;
    }
}

TEST(CurveShape, TheWholeSearchFindsWhatTheSearchNearAHintFinds)
{
    const LineShapePtr shape = Shape(SplineLine(BendsPoints(5.0)));
    for (double along = 1.0; along < shape->Length() - 1.0; along += 3.1) {
        const LinePoint there = shape->At(along);
        const Point place = Moved(there.position, there.heading, 0.0, -0.8);
        EXPECT_NEAR(shape->ProjectNear(place, along).crossTrack, shape->Project(place).crossTrack,
                    1e-9)
            << along;
    }
}

TEST(CurveShape, ACurveGoesOnStraightAndASplineEnds)
{
    const std::vector<Point> points{{0.0, 0.0}, {0.0, 10.0}, {0.0, 20.0}, {0.0, 30.0}};
    const Projection curve = Shape(CurveLine(points))->Project({1.0, 80.0});
    const Projection spline = Shape(SplineLine(points))->Project({1.0, 80.0});

    EXPECT_NEAR(1.0, curve.distance, 1e-6);
    EXPECT_NEAR(1.0, curve.crossTrack, 1e-6);
    EXPECT_NEAR(std::hypot(50.0, 1.0), spline.distance, 1e-6);
    EXPECT_NEAR(1.0, spline.crossTrack, 1e-6);
}

TEST(CurveShape, AParallelInsideOfTheBendHasNoLoop)
{
    // A hairpin of 8 m radius, followed 12 m to its inside: only the straight parts are left.
    std::vector<Point> points;
    for (double y = 0.0; y < 60.0; y += 1.0) {
        points.push_back({0.0, y});
    }
    for (int degrees = 0; degrees <= 120; degrees += 5) {
        points.push_back(Moved({8.0, 60.0}, Radians(degrees - 90.0), 8.0, 0.0));
    }
    const Point end = points.back();
    for (double way = 1.0; way < 60.0; way += 1.0) {
        points.push_back(Moved(end, Radians(120.0), way, 0.0));
    }
    const LineShapePtr curve = Shape(CurveLine(points));

    const LineShapePtr parallel = curve->Parallel(12.0);

    ASSERT_NE(nullptr, parallel);
    EXPECT_LT(parallel->Length(), curve->Length());
    for (double station = 0.0; station < parallel->Length(); station += 1.0) {
        EXPECT_GT(curve->Project(parallel->At(station).position).distance, 11.0) << station;
        EXPECT_LT(std::abs(NormaliseTurn(parallel->At(station + 1.0).heading -
                                         parallel->At(station).heading)),
                  Radians(45.0))
            << station;
    }
}

TEST(Smoothing, TakesNoiseAwayAndLeavesTheBend)
{
    std::vector<Point> points = ArcPoints(15.0, 170.0, 1.0);
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i].x += (i % 2 == 0 ? 0.02 : -0.02);
    }

    const std::vector<Point> smoothed = SmoothedByParabolas(points, 11);

    for (std::size_t i = 5; i + 5 < smoothed.size(); ++i) {
        EXPECT_NEAR(15.0, Distance(smoothed[i], {15.0, 0.0}), 0.008) << i;
    }
}

TEST(Smoothing, LeavesAFewPointsAlone)
{
    const std::vector<Point> points{{0.0, 0.0}, {1.0, 5.0}, {0.0, 9.0}};
    EXPECT_EQ(points, SmoothedByParabolas(points, 99));
}

/// The same value as SmoothedByParabolas(), each parabola on its own, by orthogonal polynomials.
Point OnOwnParabola(const std::vector<Point>& points, std::size_t at, std::size_t reach)
{
    const std::size_t first = std::min(at < reach ? 0 : at - reach, points.size() - 4);
    const std::size_t last = std::max<std::size_t>(std::min(points.size() - 1, at + reach), 3);
    std::array<std::vector<double>, 3> basis;
    double station = 0.0;
    double stationAt = 0.0;
    for (std::size_t i = first; i <= last; ++i) {
        station += i == first ? 0.0 : Distance(points[i - 1], points[i]);
        stationAt = i == at ? station : stationAt;
        basis[0].push_back(1.0);
        basis[1].push_back(station);
        basis[2].push_back(station * station);
    }
    std::array<double, 3> values{1.0, stationAt, stationAt * stationAt};
    Point smoothed;
    for (std::size_t k = 0; k < 3; ++k) {
        const auto dot = [&](const auto& other) {
            return std::inner_product(basis[k].begin(), basis[k].end(), other.begin(), 0.0);
        };
        for (std::size_t lower = 0; lower < k; ++lower) {
            const double share =
                dot(basis[lower]) / std::inner_product(basis[lower].begin(), basis[lower].end(),
                                                       basis[lower].begin(), 0.0);
            for (std::size_t i = 0; i < basis[k].size(); ++i) {
                basis[k][i] -= share * basis[lower][i];
            }
            values[k] -= share * values[lower];
        }
        double x = 0.0;
        double y = 0.0;
        for (std::size_t i = 0; i < basis[k].size(); ++i) {
            x += basis[k][i] * points[first + i].x;
            y += basis[k][i] * points[first + i].y;
        }
        smoothed.x += values[k] * x / dot(basis[k]);
        smoothed.y += values[k] * y / dot(basis[k]);
    }
    return smoothed;
}

/// A noisy drive at uneven distances, which also leaps far away and back.
std::vector<Point> UnevenDrive(std::size_t count, const Point& start)
{
    std::mt19937 random(1);
    const auto share = [&random] { return static_cast<double>(random() % 1000) / 1000.0; };
    std::vector<Point> points;
    Pose pose{start, 0.0};
    for (std::size_t i = 0; i < count; ++i) {
        pose.position =
            Moved(pose.position, pose.heading, 0.1 + share() * (i % 200 == 99 ? 1e4 : 2.0), 0.0);
        pose.heading += share() - 0.5;
        points.push_back(pose.position);
    }
    return points;
}

TEST(Smoothing, PutsEachPointOnTheParabolaOfItsOwnWindow)
{
    for (const std::size_t count : {4U, 5U, 11U, 12U, 500U}) {
        for (const int window : {4, 5, 10, 11, 101, 1001}) {
            const std::vector<Point> points = UnevenDrive(count, {4e5, -3e5});
            const std::vector<Point> smoothed = SmoothedByParabolas(points, window);
            ASSERT_EQ(count, smoothed.size());
            for (std::size_t i = 0; i < count; ++i) {
                const Point expected =
                    OnOwnParabola(points, i, static_cast<std::size_t>(window) / 2);
                ASSERT_NEAR(0.0, Distance(expected, smoothed[i]), 1e-4)
                    << "point " << i << " of " << count << ", window " << window;
            }
        }
    }
}

struct BadLine
{
    LineDefinition line;
    const char* reason;
};

TEST(BuildingALine, RefusesWhatMakesNone)
{
    const double nan = std::nan("");
    const BadLine rows[] = {
        {StraightLine({1.0, 1.0}, {1.0, 1.0}), "points A and B are 0 m apart"},
        {StraightLine({nan, 1.0}, {1.0, 1.0}), "point 0 (nan, 1) is not within 1000 km"},
        {StraightLine({0.0, 1.0}, {1.0, 2.0e6}), "point 1 (1, 2e+06)"},
        {HeadingLine({1.0, 1.0}, INFINITY), "the heading inf"},
        {CircleLine({0.0, 0.0}, {1.0, 1.0}, {2.0, 2.0}), "lie on one line"},
        {CircleLine({0.0, 0.0}, {0.0, 0.05}, {2.0, 2.0}), "less than 0.1 m apart"},
        {CircleLine({0.0, 0.0}, {0.5, 0.5}, {1.0, 0.0}), "the radius 0.5 m"},
        {SplineLine({}), "0 distinct points"},
        {SplineLine({{1.0, 1.0}, {1.0, 1.0}}), "1 distinct points"},
        {CurveLine({{1.0, 1.0}, {1.0, 1.5}}), "0.5 m is too short"},
        {{ELineKind::Circle, {{0.0, 0.0}}, 0.0}, "has 1 points, 3 are needed"},
    };
    for (const BadLine& row : rows) {
        const BuiltLine built = BuildLine(row.line, 1);
        EXPECT_EQ(nullptr, built.shape) << row.reason;
        EXPECT_NE(std::string::npos, built.reason.find(row.reason)) << built.reason;
    }
}

TEST(SettingALine, KeepsTheOldOneWhenTheNewOneIsNone)
{
    CSimulation simulation(SimulationOptions{});
    simulation.SetLine(CircleLine({0.0, 0.0}, {20.0, 20.0}, {40.0, 0.0}));

    EXPECT_FALSE(simulation.SetLine(SplineLine({})));

    EXPECT_NEAR(40.0 * kPi, simulation.LineLength(), 1e-9);
}

TEST(HeadingNearest, IsThatOfTheLineBesideTheMachine)
{
    CSimulation simulation(SimulationOptions{});
    EXPECT_NEAR(Radians(30.0), simulation.HeadingNearest(HeadingLine({5.0, 5.0}, Radians(30.0))),
                1e-9);
    EXPECT_NEAR(
        0.0,
        NormaliseTurn(simulation.HeadingNearest(CircleLine({0.5, 0.0}, {20.0, 19.5}, {39.5, 0.0}))),
        0.002);
    EXPECT_TRUE(std::isnan(simulation.HeadingNearest(SplineLine({}))));
}

TEST(FollowedPoints, ReachFromFiftyMetresBehindToAHundredAndFiftyAhead)
{
    for (const double heading : {0.0, kPi}) {
        SimulationOptions options;
        options.receiver = EReceiver::Ideal;
        options.startPose.heading = heading;
        CSimulation simulation(options);
        simulation.SetLine(StraightLine({0.0, 0.0}, {0.0, 100.0}));
        const std::vector<Point> points = simulation.FollowedPoints();
        const double ahead = heading == 0.0 ? 1.0 : -1.0;
        ASSERT_EQ(101U, points.size());
        EXPECT_NEAR(-50.0 * ahead, points.front().y, 1e-6);
        EXPECT_NEAR(150.0 * ahead, points.back().y, 1e-6);
    }
}

} // namespace
