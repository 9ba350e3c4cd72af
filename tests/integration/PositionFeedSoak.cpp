#include <gtest/gtest.h>

#include "tests/integration/PositionFeed.h"

TEST(PositionFeedSoak, LosesNothingOfAThousandSamplesASecondForAMinute)
{
    FeedAndCheck(60);
}
