#include <cmath>
#include <limits>

#include "tests/api/ApiTest.h"

namespace {

class PositionFeed : public CApiTest
{
protected:
    /// A sample whose other values are all 0.
    int Feed(double latitude, bool positionValid, bool headingValid, bool reversing,
             double time = 0.0)
    {
        return api.SetPositionData(latitude, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0,
                                   0.0, 0.0, positionValid, 0, 0, headingValid, reversing, 0, time);
    }
    int IndexOf(const std::string& line)
    {
        const Lines& lines = recording.Transcript();
        const auto place = std::find(lines.begin(), lines.end(), line);
        return place == lines.end() ? -1 : static_cast<int>(place - lines.begin());
    }
};

TEST_F(PositionFeed, WritesBooleansAsOneAndZeroUnderTheirTags)
{
    Feed(0.0, true, false, true);

    EXPECT_NE(IndexOf("ProcessInt 15 1"), -1);
    EXPECT_NE(IndexOf("ProcessInt 18 0"), -1);
    EXPECT_NE(IndexOf("ProcessInt 19 1"), -1);
}

TEST_F(PositionFeed, WritesTheTimeAfterTheIntegers)
{
    Feed(0.0, true, false, true, 1.1);

    EXPECT_EQ(IndexOf("ProcessDouble 21 1.1"), IndexOf("ProcessInt 20 0") + 1);
    EXPECT_EQ(IndexOf("ProcessInt 15 1"), IndexOf("ProcessDouble 14 0") + 1);
}

TEST_F(PositionFeed, SendsOneTextAndNoLeadingOne)
{
    Feed(51.1, true, true, false);

    EXPECT_EQ(recording.CountStartingWith("SendNotification SetPositionData [string \"1=51.1;2=0;"),
              1);
}

TEST_F(PositionFeed, MakesNoRecordWhenTheServiceIsDown)
{
    TakeServiceDown();

    EXPECT_EQ(Feed(51.1, true, true, false), -1);

    EXPECT_EQ(recording.Transcript(), kUnreachable);
}

TEST_F(PositionFeed, SucceedsWhateverBecomesOfTheSample)
{
    EXPECT_EQ(Feed(51.1, true, true, false), 0);
}

TEST_F(PositionFeed, HandsExtremeNumbersOnUnchanged)
{
    for (const double value : {std::numeric_limits<double>::max(),
                               std::numeric_limits<double>::denorm_min(), -0.0, HUGE_VAL}) {
        recording.ClearTranscript();
        Feed(value, true, true, false);
        EXPECT_NE(IndexOf("ProcessDouble 1 " + Doubles::Describe(value)), -1) << value;
    }
}

} // namespace
