#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "tests/fieldfiles/SampleFields.h"
#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/navctl/files/Angle.h"

namespace {

using Vector = std::array<double, 3>;

/// A place in the earth's own axes, by the formulas of the ellipsoid WGS 84.
Vector EarthCentred(double latitude, double longitude, double height)
{
    constexpr double kRadius = 6378137.0;
    constexpr double kFlattening = 1.0 / 298.257223563;
    constexpr double kSquare = kFlattening * (2.0 - kFlattening);
    const double north = Radians(latitude);
    const double east = Radians(longitude);
    const double normal = kRadius / std::sqrt(1.0 - kSquare * std::sin(north) * std::sin(north));
    return {(normal + height) * std::cos(north) * std::cos(east),
            (normal + height) * std::cos(north) * std::sin(east),
            (normal * (1.0 - kSquare) + height) * std::sin(north)};
}

/// East, north and up of a place as seen from an origin.
Vector SeenFrom(const GeodeticPlace& origin, const GeodeticPlace& place)
{
    const Vector from = EarthCentred(origin.latitude, origin.longitude, origin.height);
    const Vector to = EarthCentred(place.latitude, place.longitude, place.height);
    const Vector way{to[0] - from[0], to[1] - from[1], to[2] - from[2]};
    const double n = Radians(origin.latitude);
    const double e = Radians(origin.longitude);
    return {-std::sin(e) * way[0] + std::cos(e) * way[1],
            -std::sin(n) * std::cos(e) * way[0] - std::sin(n) * std::sin(e) * way[1] +
                std::cos(n) * way[2],
            std::cos(n) * std::cos(e) * way[0] + std::cos(n) * std::sin(e) * way[1] +
                std::sin(n) * way[2]};
}

/// Origins in all quadrants, on both sides of the 180th meridian, of Greenwich and of the equator.
const GeodeticPlace kOrigins[] = {
    {48.5, 11.25, 520.0}, {48.5, -100.75, 300.0}, {-33.2, -70.6, 0.0},
    {-37.8, 145.1, 90.0}, {-17.9, 179.98, 10.0},  {-17.9, -179.98, 10.0},
    {0.01, -0.01, 0.0},   {-0.01, 0.01, 0.0},     {71.3, 179.99, 5.0}};

/// An L whose legs differ, so that no mirror image and no turn is like it: metres.
constexpr double kShape[][2] = {{0.0, 0.0}, {7000.0, 0.0}, {7000.0, 2500.0}, {-3000.0, -6000.0}};

} // namespace

TEST(FieldGeodesy, BringsALineIntoTheLocalFrameToAMillimetreOverTenKilometres)
{
    for (const GeodeticPlace& origin : kOrigins) {
        SCOPED_TRACE(origin.longitude);
        const CLocalFrame frame(origin);
        FieldLine line;
        for (const auto& corner : kShape) {
            const GeodeticPlace place = frame.ToGeodetic({corner[0], corner[1], 0.0});
            line.places.push_back({place.latitude, place.longitude, place.height});
            const bool isEast = corner[0] > 0.0;
            const double east = std::remainder(place.longitude - origin.longitude, 360.0);
            EXPECT_EQ(isEast, east > 1e-6);
        }
        const WaylineContent content = ToWayline(line, frame);
        for (std::size_t i = 0; i < line.places.size(); ++i) {
            const Vector expected = SeenFrom(origin, PlaceOf(line.places[i], 0.0));
            EXPECT_NEAR(expected[0], content.points[i].x, 0.0001);
            EXPECT_NEAR(expected[1], content.points[i].y, 0.0001);
            EXPECT_NEAR(kShape[i][0], content.points[i].x, 0.0001);
            EXPECT_NEAR(kShape[i][1], content.points[i].y, 0.0001);
        }
    }
}

TEST(FieldGeodesy, HasThePointsThatPROJHas)
{
    const struct
    {
        GeodeticPlace origin, place;
        Vector expected; // by PROJ's conversion "topocentric"
    } rows[] = {
        {{48.5, 11.25, 520.0}, {48.56, 11.32, 530.0}, {5167.418133, 6674.955293, 4.414609}},
        {{-33.0, -60.0, 0.0}, {-33.07, -60.05, 0.0}, {-4668.966851, -7764.463221, -6.450930}},
        {{-17.0, 179.97, 10.0}, {-16.95, -179.96, 12.0}, {7455.994046, 5532.127423, -4.770019}},
        {{52.0, 5.0, 0.0}, {52.06, 4.93, 3.0}, {-4801.032253, 6678.388379, -2.301194}},
        {{0.01, -0.02, 100.0}, {-0.04, 0.05, 100.0}, {7792.482704, -5528.799532, -7.172552}},
    };
    for (const auto& row : rows) {
        const WaylinePoint point = CLocalFrame(row.origin).ToLocal(row.place);
        EXPECT_NEAR(row.expected[0], point.x, 0.00001);
        EXPECT_NEAR(row.expected[1], point.y, 0.00001);
        EXPECT_NEAR(row.expected[2], point.z, 0.00001);
    }
}

TEST(FieldGeodesy, TakesAPlaceWithoutAHeightForOneAtTheOriginsHeight)
{
    for (const GeodeticPlace& origin : kOrigins) {
        const CLocalFrame frame(origin);
        FieldLine line;
        line.kind = Kestrove::EWaylineTypeABCurve;
        line.places = {CheckedPlace(origin.latitude + 0.06, origin.longitude + 0.05),
                       CheckedPlace(origin.latitude - 0.02, origin.longitude)};
        const WaylineContent content = ToWayline(line, frame);
        const Vector expected = SeenFrom(origin, PlaceOf(line.places[0], origin.height));
        EXPECT_NEAR(expected[0], content.points[0].x, 0.0001);
        EXPECT_NEAR(expected[1], content.points[0].y, 0.0001);
        EXPECT_LE(Apart(line, FromWayline(content, frame)), 0.001);
    }
}

TEST(FieldGeodesy, TurnsAHeadingByTheConvergenceOfMeridians)
{
    for (const GeodeticPlace& origin : kOrigins) {
        SCOPED_TRACE(origin.longitude);
        const CLocalFrame frame(origin);
        const GeodeticPlace a = frame.ToGeodetic({8000.0, -5000.0, 0.0});
        for (const double heading : {10.0, 100.0, 190.0, 280.0}) {
            FieldLine line;
            line.kind = Kestrove::EWaylineTypeAHeading;
            line.headingDegrees = heading;
            line.places = {{a.latitude, a.longitude, a.height}};
            const WaylineContent content = ToWayline(line, frame);
            // A metre ahead on the ground, in the direction that the file gives.
            const double ahead = Radians(heading);
            const GeodeticPlace place =
                CLocalFrame(a).ToGeodetic({std::sin(ahead), std::cos(ahead), 0.0});
            const Vector to = SeenFrom(origin, place);
            const double expected =
                std::atan2(to[0] - content.points[0].x, to[1] - content.points[0].y);
            EXPECT_NEAR(0.0, SmallestTurn(expected, content.heading), 1e-7);
            EXPECT_NEAR(heading, FromWayline(content, frame).headingDegrees, 1e-9);
        }
    }
}

TEST(FieldGeodesy, FindsTheCircleOfItsPoints)
{
    std::mt19937 random(7);
    for (int i = 0; i < 200; ++i) {
        const FieldPlace centre = RandomPlace(random);
        const GroundCircle circle{centre, 20.0 + i, i % 2 == 0};
        FieldLine line;
        line.kind = Kestrove::EWaylineTypeCircle;
        line.places = PlacesOnCircle(circle, 0.1 * i, 2.5);
        const GroundCircle found = CircleOf(line);
        EXPECT_NEAR(circle.radius, found.radius, 0.0001);
        EXPECT_LE(Apart(circle.centre, found.centre), 0.0001);
        EXPECT_EQ(circle.isClockwise, found.isClockwise);
    }
}

TEST(FieldGeodesy, MeasuresAnAreaAcrossThe180thMeridian)
{
    for (const double west : {11.0, 179.995, -180.0}) {
        FieldBoundary boundary;
        boundary.exterior = {CheckedPlace(0.0, west), CheckedPlace(0.0, west + 0.01),
                             CheckedPlace(0.01, west + 0.01), CheckedPlace(0.01, west)};
        const GroundArea area = AreaOf(boundary);
        EXPECT_NEAR(1230907.0, area.squareMetres, 100.0);
        EXPECT_NEAR(4437.9, area.perimeter, 0.5);
        EXPECT_TRUE(IsCounterClockwise(boundary.exterior));
    }
}

TEST(FieldGeodesy, RefusesWhatIsNoPlaceOnTheEarth)
{
    EXPECT_NEAR(-179.0, CheckedPlace(10.0, 181.0).longitude, 1e-12);
    EXPECT_NEAR(179.0, CheckedPlace(10.0, -181.0).longitude, 1e-12);
    for (const auto& [latitude, longitude] :
         {std::pair(91.0, 0.0), {0.0, 541.0}, {std::nan(""), 0.0}, {0.0, INFINITY}}) {
        EXPECT_NE("no problem", ProblemOf([&, north = latitude, east = longitude] {
                      CheckedPlace(north, east);
                  }));
    }
}
