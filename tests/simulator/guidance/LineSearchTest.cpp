// How many looks it takes to find the machine on a line.

#include "simulator/guidance/LineSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/guidance/CurveShape.h"
#include "simulator/guidance/LineBuilder.h"
#include "simulator/world/Simulation.h"

namespace {

/// What a search may take more than it was allowed: the leaf of the tree that it is at.
constexpr std::size_t kOneLeaf = 300;

/// Once round a centre, all but closed.
std::vector<Point> Round(const Point& centre, double radius, int count, double rounds = 0.999)
{
    std::vector<Point> points;
    for (int i = 0; i < count; ++i) {
        const double bearing = 2.0 * kPi * rounds * i / count;
        points.push_back(Moved(centre, bearing, radius, 0.0));
    }
    return points;
}

std::vector<Point> Bends(int count)
{
    std::vector<Point> points;
    for (int i = 0; i < count; ++i) {
        points.push_back({20.0 * std::sin(i / 60.0), 0.5 * i});
    }
    return points;
}

/// Up and down a field, in passes beside each other.
std::vector<Point> Field(int passes)
{
    std::vector<Point> points;
    for (int pass = 0; pass < passes; ++pass) {
        for (int i = 0; i <= 100; ++i) {
            points.push_back({6.0 * pass, 5.0 * (pass % 2 == 0 ? i : 100 - i)});
        }
    }
    return points;
}

LineShapePtr Curve(const std::vector<Point>& points)
{
    return BuildLine(SplineLine(points), 1).shape;
}

/// The projection and how many looks it took.
struct Search
{
    Projection found;
    std::size_t looks;
};

Search SearchFrom(const CLineShape& line, const Point& place, double station, std::size_t allowed)
{
    std::size_t left = allowed;
    const Projection found = line.ProjectFrom(place, station, left);
    return {found, allowed - left};
}

TEST(LineWork, OfManyPointsIsKnownWithoutMeasuringThem)
{
    std::vector<Point> points;
    for (int i = 0; i < 200000; ++i) {
        points.push_back({1000.0 * i, 0.0});
    }
    EXPECT_EQ(points.size(), WorkOf(SplineLine(points)));
    EXPECT_EQ(points.size(), WorkOf(RecordedLine(points)));
}

TEST(LineWork, OfTwoPointsFarApartIsThatOfWhatLiesBetweenThem)
{
    const std::vector<Point> points{{0.0, 0.0}, {0.0, 20000.0}};
    EXPECT_LT(kMostMeasured, WorkOf(SplineLine(points)));
    EXPECT_EQ(0U, WorkOf(StraightLine(points[0], points[1])));
}

TEST(LineSearch, IsBoundedWhereAllOfTheLineIsEquallyFarAway)
{
    for (const auto& [radius, rounds] :
         std::vector<std::pair<double, double>>{{8000.0, 0.999}, {500.0, 15.9}, {20.0, 390.0}}) {
        const LineShapePtr line = Curve(Round({0.0, 0.0}, radius, 199000, rounds));
        ASSERT_TRUE(line);
        for (const double aside : {0.0, 0.01, 1.0}) {
            for (const double share : {0.0, 0.7}) {
                std::size_t left = LookBudget::kMostOfASearch;
                const Point place{aside, aside / 2.0};
                const double station = share * line->Length();
                const Projection found = line->ProjectFrom(place, station, left);
                EXPECT_LE(found.distance, Distance(line->At(station).position, place) + 1e-9);
                EXPECT_NEAR(line->Project(place).distance, found.distance, 2.0);
                // The very bound, not what it was before it was used up.
                std::size_t all = std::numeric_limits<std::size_t>::max();
                line->ProjectFrom(place, station, all);
                const std::size_t needed = std::numeric_limits<std::size_t>::max() - all;
                EXPECT_EQ(needed >= LookBudget::kMostOfASearch, left == 0) << radius;
            }
        }
    }
}

TEST(LineSearch, FindsTheOneNearbyAmongFarOnesAllAround)
{
    std::vector<Point> points = Round({0.0, 0.0}, 2000.0, 40000);
    for (int i = 1; i <= 2000; ++i) {
        points.push_back({1.0, 2000.0 - 2.0 * i});
    }
    const LineShapePtr line = Curve(points);

    for (const double y : {-1500.0, -10.0, 0.0, 0.5, 100.0}) {
        const Search search = SearchFrom(*line, {0.0, y}, 0.0, LookBudget::kMostOfASearch);
        EXPECT_NEAR(1.0, search.found.distance, 0.01) << y;
        EXPECT_GT(400u, search.looks) << y;
    }
}

TEST(LineSearch, FindsWhatALookAtTheWholeLineDoes)
{
    std::mt19937 random(3);
    std::normal_distribution<double> aside(0.0, 150.0);
    for (const std::vector<Point>& points :
         {Bends(20000), Field(40), Field(3), Round({0.0, 0.0}, 30.0, 700, 2.5)}) {
        const LineShapePtr line = Curve(points);
        std::uniform_real_distribution<double> along(-50.0, line->Length() + 50.0);
        std::size_t most = 0;
        for (int i = 0; i < 300; ++i) {
            const Point near = line->At(along(random)).position;
            const Point place{near.x + aside(random), near.y + aside(random)};
            const Projection exact = line->Project(place);
            const Search search =
                SearchFrom(*line, place, along(random), LookBudget::kMostOfASearch);
            ASSERT_EQ(exact.station, search.found.station) << i;
            ASSERT_EQ(exact.distance, search.found.distance) << i;
            most = std::max(most, search.looks);
        }
        EXPECT_GT(LookBudget::kMostOfASearch, most);
        RecordProperty("most", static_cast<int>(most));
    }
}

TEST(LineSearch, FollowsAPlaceThatHasMovedOnKilometres)
{
    const LineShapePtr line = Curve({{0.0, 0.0}, {0.0, 2500.0}, {0.0, 5000.0}});

    EXPECT_NEAR(4500.0, line->ProjectNear({0.0, 4500.0}, 1000.0).station, 0.01);
    EXPECT_NEAR(500.0, line->ProjectNear({0.0, 500.0}, 4000.0).station, 0.01);
}

TEST(LineSearch, IsMadeOnceForTheSamePlace)
{
    const LineShapePtr line = Curve(Bends(2000));
    LookBudget budget;
    CLineSearch search;
    const Projection found = search.Find(*line, {10.0, 300.0}, 0.0, budget);
    const std::size_t left = budget.left;
    EXPECT_GT(LookBudget::kFull, left);
    EXPECT_EQ(LookBudget::kFull - left, budget.taken);

    EXPECT_EQ(found.station, search.Find(*line, {10.0, 300.0}, 0.0, budget).station);
    EXPECT_EQ(left, budget.left);
    search.Find(*line, {10.0, 300.5}, 0.0, budget);
    EXPECT_GT(left, budget.left);
}

TEST(LineSearch, LooksAroundTheLastPlaceOnceTheBudgetIsUsedUp)
{
    const LineShapePtr line = Curve(Bends(2000));
    LookBudget budget;
    budget.left = 0;
    CLineSearch search;
    // The first search of a line is made all the same.
    const Projection first = search.Find(*line, {10.0, 300.0}, 0.0, budget);
    EXPECT_EQ(line->Project({10.0, 300.0}).station, first.station);
    const std::uint64_t taken = budget.taken;

    const Projection next = search.Find(*line, {10.0, 301.0}, first.station, budget);
    EXPECT_EQ(line->ProjectNear({10.0, 301.0}, first.station).station, next.station);
    EXPECT_EQ(taken, budget.taken);

    search.Forget();
    EXPECT_EQ(line->Project({10.0, 301.0}).station,
              search.Find(*line, {10.0, 301.0}, 0.0, budget).station);
    EXPECT_LT(taken, budget.taken);
}

TEST(LineSearch, TakesNoMoreBetweenTwoRunsOfGuidanceWhateverIsAskedFor)
{
    SimulationOptions options;
    CSimulation world(options);
    ASSERT_TRUE(world.SetLine(SplineLine(Round({0.0, 0.0}, 8000.0, 199000))));
    ASSERT_TRUE(world.StartNavigation(EFollow::LineItself));
    std::mt19937 random(1);
    std::normal_distribution<double> place(0.0, 0.5);
    std::uint64_t most = 0;
    for (int period = 0; period < 5; ++period) {
        const std::uint64_t before = world.Looks();
        for (int step = 0; step < CSimulation::kStepsPerControl; ++step) {
            for (int call = 0; call < 20; ++call) {
                FedPosition sample;
                sample.valid = true;
                sample.position = {place(random), place(random)};
                EXPECT_TRUE(world.Feed(sample));
                world.StopNavigation();
                EXPECT_TRUE(world.StartNavigation(EFollow::LineItself));
            }
            world.Step();
        }
        most = std::max(most, world.Looks() - before);
    }
    // Guidance runs within each period, and what has been left before it may have been used up.
    EXPECT_GE(2 * (LookBudget::kFull + kOneLeaf), most);
    EXPECT_LT(LookBudget::kMostOfASearch, most);
}

TEST(LineSearch, ComesBackToTheNearestPointWhenGuidanceRunsNext)
{
    CSimulation world((SimulationOptions()));
    ASSERT_TRUE(world.SetLine(SplineLine(Field(60))));
    ASSERT_TRUE(world.StartNavigation(EFollow::LineItself));
    std::mt19937 random(1);
    std::uniform_real_distribution<double> x(0.0, 350.0);
    std::uniform_real_distribution<double> y(0.0, 500.0);
    const LineShapePtr line = world.Layout().followed;
    for (int period = 0; period < 20; ++period) {
        FedPosition sample;
        sample.valid = true;
        for (int call = 0; call < 200; ++call) {
            sample.position = {x(random), y(random)};
            EXPECT_TRUE(world.Feed(sample));
        }
        do {
            world.Step();
        } while (!world.ControlRan());
        ASSERT_NEAR(line->Project(sample.position).crossTrack, world.Status().crossTrackError,
                    1e-6);
    }
}

} // namespace
