#include "simulator/lines/WaylineBuilder.h"

#include <gtest/gtest.h>

using Core::Maths::Vector3;

namespace {

Vector3<double> North(double metres)
{
    return {0.0, metres, 0.0};
}

TEST(WaylineBuilder, RecordsAPointEveryHalfMetre)
{
    CWaylineBuilder builder;
    builder.Begin(Kestrove::EWaylineTypePath);
    builder.Set(0, {}, North(0.0));

    for (int step = 1; step <= 100; ++step) {
        builder.Record(North(0.1 * step));
    }

    EXPECT_EQ(21u, builder.Recorded().size());
    EXPECT_NEAR(10.0, builder.RecordedLength(), 1e-9);
}

TEST(WaylineBuilder, EndsADriveWhereTheMachineIs)
{
    CWaylineBuilder builder;
    builder.Begin(Kestrove::EWaylineTypeSpline);
    builder.Set(0, {}, North(0.0));
    builder.Record(North(1.0));

    EXPECT_EQ("", builder.Set(1, {}, North(1.2)));

    EXPECT_EQ(1.2, builder.Recorded().back().y);
    EXPECT_FALSE(builder.Recording());
    builder.Record(North(5.0));
    EXPECT_EQ(1.2, builder.Recorded().back().y);
}

TEST(WaylineBuilder, StopsRecordingAtTheMostPoints)
{
    CWaylineBuilder builder;
    builder.Begin(Kestrove::EWaylineTypeABCurve);
    builder.Set(0, {}, North(0.0));
    const int steps = static_cast<int>(CWaylineBuilder::kMostRecordedPoints) + 100;

    for (int step = 1; step <= steps; ++step) {
        builder.Record(North(step));
    }

    EXPECT_EQ(CWaylineBuilder::kMostRecordedPoints, builder.Recorded().size());
    EXPECT_EQ("", builder.Set(1, {}, North(steps)));
    EXPECT_EQ(CWaylineBuilder::kMostRecordedPoints, builder.Recorded().size());
}

TEST(WaylineBuilder, StartsTheDriveAnewWithWaypoint0)
{
    CWaylineBuilder builder;
    builder.Begin(Kestrove::EWaylineTypeABCurve);
    builder.Set(0, {}, North(0.0));
    builder.Record(North(5.0));

    builder.Set(0, {}, North(5.0));

    EXPECT_EQ(1u, builder.Recorded().size());
    EXPECT_EQ(0.0, builder.RecordedLength());
}

TEST(WaylineBuilder, GoesOnRecordingWhenTheLastWaypointIsTakenBack)
{
    CWaylineBuilder builder;
    builder.Begin(Kestrove::EWaylineTypeABCurve);
    builder.Set(0, {}, North(0.0));
    builder.Record(North(5.0));
    builder.Set(1, {}, North(6.0));

    EXPECT_EQ(1, builder.Restore());

    EXPECT_TRUE(builder.Recording());
    builder.Record(North(7.0));
    EXPECT_NEAR(7.0, builder.RecordedLength(), 1e-9);
}

TEST(WaylineBuilder, RecordsFromARestoredWaypoint0On)
{
    CWaylineBuilder builder;
    builder.Begin(Kestrove::EWaylineTypeAB);
    builder.Set(0, {}, North(0.0));
    builder.Begin(Kestrove::EWaylineTypeABCurve);
    EXPECT_EQ(1, builder.Restore());
    EXPECT_NE("", builder.Set(1, {}, North(5.0)));

    builder.Record(North(5.0));
    builder.Record(North(8.0));

    EXPECT_EQ("", builder.Set(1, {}, North(8.0)));
    EXPECT_EQ(3.0, builder.RecordedLength());
}

TEST(WaylineBuilder, RemembersSixtyFourChanges)
{
    CWaylineBuilder builder;
    for (int change = 0; change < 100; ++change) {
        builder.Set(change % 3, {}, North(0.0));
    }

    for (int step = 0; step < 100; ++step) {
        EXPECT_EQ(3, builder.Restore());
    }
}

} // namespace
