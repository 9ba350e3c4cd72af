#include <algorithm>

#include <gtest/gtest.h>

#include "tests/fieldfiles/SampleFields.h"
#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/MapFeature.h"

namespace {

using Ring = std::vector<std::pair<double, double>>; // east of the meridian and north
using Rings = std::vector<Ring>;

struct CutArea
{
    Rings whole;
    std::vector<Rings> west;
    std::vector<Rings> east;
};

const CutArea kCutAreas[] = {
    {{{{-2, 0}, {1, 0}, {3, 4}, {-2, 4}}},
     {{{{-2, 0}, {0, 0}, {0, 4}, {-2, 4}}}},
     {{{{0, 0}, {1, 0}, {3, 4}, {0, 4}}}}},
    // A hole across the meridian, and one beside it.
    {{{{-2, 0}, {2, 0}, {2, 4}, {-2, 4}},
      {{-1.8, 0.5}, {-1.8, 1}, {-1.5, 0.5}},
      {{-1, 1}, {-1, 3}, {1, 3}, {1, 1.5}}},
     {{{{-2, 0}, {0, 0}, {0, 1.25}, {-1, 1}, {-1, 3}, {0, 3}, {0, 4}, {-2, 4}},
       {{-1.8, 0.5}, {-1.8, 1}, {-1.5, 0.5}}}},
     {{{{0, 0}, {2, 0}, {2, 4}, {0, 4}, {0, 3}, {1, 3}, {1, 1.5}, {0, 1.25}}}}},
    // A comb: its teeth are areas of their own.
    {{{{-2, 0},
       {1, 0},
       {1, 1},
       {-1, 1},
       {-1, 2},
       {2, 2},
       {2, 3},
       {-1, 3},
       {-1, 4},
       {3, 4},
       {3, 5},
       {-2, 5}}},
     {{{{-2, 0},
        {0, 0},
        {0, 1},
        {-1, 1},
        {-1, 2},
        {0, 2},
        {0, 3},
        {-1, 3},
        {-1, 4},
        {0, 4},
        {0, 5},
        {-2, 5}}}},
     {{{{0, 0}, {1, 0}, {1, 1}, {0, 1}}},
      {{{0, 2}, {2, 2}, {2, 3}, {0, 3}}},
      {{{0, 4}, {3, 4}, {3, 5}, {0, 5}}}}},
};

std::vector<FieldPlace> PlacesOf(const Ring& ring, double meridian, std::size_t start,
                                 bool isReversed)
{
    std::vector<FieldPlace> places;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const auto& [east, north] = ring[(start + i) % ring.size()];
        places.push_back({-17.0 + north * 0.001, meridian + east * 0.001, {}});
    }
    if (isReversed) {
        std::reverse(places.begin(), places.end());
    }
    places.push_back(places.front());
    return places;
}

/// The pieces of an area as a feature: those of an even start begin in the west.
MapFeature PiecesOf(const CutArea& area, std::size_t start, bool isReversed)
{
    MapFeature feature;
    feature.isArea = true;
    const auto add = [&](const std::vector<Rings>& areas, double meridian) {
        for (const Rings& rings : areas) {
            feature.parts.emplace_back();
            for (const Ring& ring : rings) {
                feature.parts.back().push_back(PlacesOf(ring, meridian, start, isReversed));
            }
        }
    };
    const bool beginsInWest = start % 2 == 0;
    add(beginsInWest ? area.west : area.east, beginsInWest ? 180.0 : -180.0);
    add(beginsInWest ? area.east : area.west, beginsInWest ? -180.0 : 180.0);
    return feature;
}

std::size_t CornersOf(const std::vector<std::vector<FieldPlace>>& rings)
{
    std::size_t corners = 0;
    for (const std::vector<FieldPlace>& ring : rings) {
        corners += ring.size();
    }
    return corners;
}

} // namespace

TEST(DateLine, JoinsALineThatIsCutAtThe180thMeridian)
{
    const FieldPlace cut{10.5, 180.0, {}};
    const FieldPlace cutAgain{10.5, -180.0, {}};
    MapFeature feature;
    feature.parts = {{{{10.0, 179.9, {}}, cut}}, {{cutAgain, {11.0, -179.9, {}}}}};
    CFeatureReading reading(std::nullopt);
    reading.Add(feature, "North");
    const FieldLine line = OnlyLine(reading.file);
    EXPECT_EQ(Kestrove::EWaylineTypeAB, line.kind);
    EXPECT_EQ(-179.9, line.places.back().longitude);
}

TEST(DateLine, JoinsAreasThatAreCutAtThe180thMeridian)
{
    for (const CutArea& area : kCutAreas) {
        FieldBoundary whole;
        whole.exterior = PlacesOf(area.whole.front(), 170.0, 0, false);
        for (std::size_t i = 1; i < area.whole.size(); ++i) {
            whole.holes.push_back(PlacesOf(area.whole[i], 170.0, 0, false));
        }
        for (std::size_t start = 0; start < 12; ++start) {
            for (const bool isReversed : {false, true}) {
                CFeatureReading reading(std::nullopt);
                reading.Add(PiecesOf(area, start, isReversed), "North");
                ASSERT_EQ(1U, reading.file.BoundaryCount());
                const FieldBoundary& joined = reading.file.fields[0].boundaries[0];
                EXPECT_EQ(area.whole[0].size(), joined.exterior.size());
                EXPECT_NEAR(AreaOf(whole).squareMetres, AreaOf(joined).squareMetres, 0.01);
                ASSERT_EQ(whole.holes.size(), joined.holes.size());
                EXPECT_EQ(CornersOf(whole.holes), CornersOf(joined.holes) + whole.holes.size());
            }
        }
    }
}

TEST(DateLine, LeavesAreasAtThe180thMeridianThatDoNotMeet)
{
    const auto square = [](double from, double to, double south) {
        return std::vector<FieldPlace>{{south, from, {}},
                                       {south, to, {}},
                                       {south + 0.001, to, {}},
                                       {south + 0.001, from, {}},
                                       {south, from, {}}};
    };
    for (const double south : {-17.0005, -16.9995, -17.001, -16.999, -17.01}) {
        MapFeature feature;
        feature.isArea = true;
        feature.parts = {{square(179.999, 180.0, -17.0)}, {square(-180.0, -179.999, south)}};
        CFeatureReading reading(std::nullopt);
        reading.Add(feature, "North");
        EXPECT_EQ(2U, reading.file.BoundaryCount()) << south;
    }
}

TEST(DateLine, KeepsABendThatLiesOnThe180thMeridian)
{
    MapFeature feature;
    feature.parts = {{{{10.0, 179.9, {}}, {13.0, 180.0, {}}}},
                     {{{13.0, -180.0, {}}, {11.0, -179.9, {}}}}};
    CFeatureReading reading(std::nullopt);
    reading.Add(feature, "North");
    EXPECT_EQ(3U, OnlyLine(reading.file).places.size());
}
