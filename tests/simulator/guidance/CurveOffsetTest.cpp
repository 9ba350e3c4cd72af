// What a parallel keeps clear of and where a curve is nearest, against a look at everything.

#include "simulator/guidance/CurveOffset.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/guidance/CurvePoints.h"
#include "simulator/guidance/CurveShape.h"

namespace {

using Points = std::vector<Point>;

/// Lines of every sort that a look into a tree of points could get wrong.
struct Line
{
    std::string name;
    Points points;
};

std::vector<Line> LinesOf(unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> across(-20.0, 20.0);
    std::uniform_real_distribution<double> turn(-0.6, 0.6);
    Points scattered;
    Points wandering{{0.0, 0.0}};
    Points round;
    Points repeated;
    Points far;
    double heading = 0.0;
    for (int i = 0; i < 40; ++i) {
        scattered.push_back({across(random), across(random)});
        heading += turn(random);
        const Point& last = wandering.back();
        wandering.push_back({last.x + 2.0 * std::sin(heading), last.y + 2.0 * std::cos(heading)});
        round.push_back({6.0 * std::cos(0.5 * i), 6.0 * std::sin(0.5 * i)});
        repeated.push_back(i % 3 == 2 ? Point{5.0, 5.0} : Point{across(random), across(random)});
        far.push_back({9.9e5 + wandering.back().x, -9.9e5 + wandering.back().y});
    }
    return {{"scattered", scattered},
            {"wandering", wandering},
            {"round and round", round},
            {"repeated", repeated},
            {"far", far}};
}

double NearestOf(const Points& points, const Point& place)
{
    double nearest = std::numeric_limits<double>::infinity();
    for (const Point& point : points) {
        nearest = std::min(nearest, Distance(point, place));
    }
    return nearest;
}

/// The distance of a place from a polyline.
double NearestOnSegments(const Points& points, const Point& place)
{
    double nearest = std::numeric_limits<double>::infinity();
    for (std::size_t i = 1; i < points.size(); ++i) {
        const Point& from = points[i - 1];
        const double x = points[i].x - from.x;
        const double y = points[i].y - from.y;
        const double along = ((place.x - from.x) * x + (place.y - from.y) * y) / (x * x + y * y);
        const double share = std::clamp(along, 0.0, 1.0);
        nearest = std::min(nearest, Distance({from.x + share * x, from.y + share * y}, place));
    }
    return nearest;
}

} // namespace

TEST(CurveOffset, KeepsWhatALookAtEveryPointKeeps)
{
    for (unsigned seed = 1; seed <= 3; ++seed) {
        for (const Line& line : LinesOf(seed)) {
            const Points curve = EvenlySpaced(CatmullRom(Thinned(line.points, 0.01)));
            for (const double distance : {0.4, 3.0, 25.0, 300.0}) {
                std::mt19937 random(seed);
                std::normal_distribution<double> aside(0.0, distance);
                Points places;
                for (std::size_t i = 0; i < curve.size(); i += 1 + curve.size() / 150) {
                    places.push_back({curve[i].x + aside(random), curve[i].y + aside(random)});
                }
                const std::vector<std::size_t> kept = KeptClear(places, curve, distance);
                const double tolerance = 0.02 + distance / 1000.0;
                const double spacing = std::max(distance / 20.0, kCurveSpacing);
                std::vector<bool> isKept(places.size(), false);
                for (const std::size_t place : kept) {
                    isKept[place] = true;
                }
                for (std::size_t i = 0; i < places.size(); ++i) {
                    const double nearest = NearestOf(curve, places[i]);
                    // What is thinned out changes distances by no more than this.
                    const double between = spacing + tolerance;
                    if (nearest >= distance) {
                        ASSERT_TRUE(isKept[i]) << line.name << ' ' << seed << ' ' << i;
                    }
                    if (nearest + between < distance - tolerance) {
                        ASSERT_FALSE(isKept[i]) << line.name << ' ' << seed << ' ' << i;
                    }
                }
                ASSERT_TRUE(std::is_sorted(kept.begin(), kept.end()));
            }
        }
    }
}

TEST(CurveOffset, KeepsNothingNearAnyPointThatItLooksAt)
{
    // Without thinning, since the points are farther apart than a twentieth of the distance: the
    // answer is that of a look at every point, to the last bit.
    std::mt19937 random(7);
    std::uniform_real_distribution<double> across(-500.0, 500.0);
    for (int round = 0; round < 30; ++round) {
        Points curve;
        Points places;
        for (int i = 0; i < 400; ++i) {
            curve.push_back({across(random), across(random)});
            places.push_back({across(random), across(random)});
        }
        const double distance = 5.0 + round;
        const double clearance = distance - (0.02 + distance / 1000.0);
        std::vector<std::size_t> expected;
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (NearestOf(curve, places[i]) >= clearance) {
                expected.push_back(i);
            }
        }
        ASSERT_EQ(expected, KeptClear(places, curve, distance)) << round;
    }
}

TEST(CurveShape, IsNearestWhereALookAtEverySegmentIs)
{
    for (unsigned seed = 1; seed <= 3; ++seed) {
        for (const Line& line : LinesOf(seed)) {
            const Points curve = EvenlySpaced(CatmullRom(Thinned(line.points, 0.01)));
            const CCurveShape shape(curve, EEnds::Stop);
            std::mt19937 random(seed);
            std::uniform_int_distribution<std::size_t> which(0, curve.size() - 1);
            std::normal_distribution<double> aside(0.0, 40.0);
            for (int i = 0; i < 100; ++i) {
                const Point& near = curve[which(random)];
                const Point place{near.x + aside(random), near.y + aside(random)};
                const Projection found = shape.Project(place);
                ASSERT_NEAR(NearestOnSegments(curve, place), found.distance, 1e-6) << line.name;
                const bool isPastEnd = found.station < 0.0 || found.station > shape.Length();
                const Point& end = found.station < 0.0 ? curve.front() : curve.back();
                // Past an end the foot lies on the extension, abeam of the place, and the line's
                // nearest point is its end.
                ASSERT_NEAR(found.distance, Distance(isPastEnd ? end : found.foot.position, place),
                            1e-6)
                    << line.name;
                ASSERT_NEAR(std::abs(found.crossTrack), Distance(found.foot.position, place), 1e-6)
                    << line.name;
            }
        }
    }
}
