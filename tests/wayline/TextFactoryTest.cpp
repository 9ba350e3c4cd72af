// What the factory makes of a text, and what is printed meanwhile.

#include <gtest/gtest.h>

#include <string>

#include "tests/wayline/AllocationCount.h"
#include "tests/wayline/CapturedOutput.h"
#include "tests/wayline/Owners.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

struct TextFactoryRow
{
    const char* text;
    const char* textForm; // of the wayline that is built; null when none is
};

const TextFactoryRow kTextFactoryRows[] = {
    {"0 1 2 3 4 5 6", "0 1.000000 2.000000 3.000000 4.000000 5.000000 6.000000"},
    {"0 1 2 x 4 5 6", nullptr},
    {"1 1 2 3 4", "1 1.000000 2.000000 3.000000 4.000000"},
    {"2 0 0 0 0 0 0 0 0 0",
     "2 0.000000 0.000000 0.000000 0.000000 0.000000 0.000000 0.000000 0.000000 0.000000"},
    {"3 1 1 2 3", "3 1 1.000000 2.000000 3.000000"},
    {"4 2 0 0 0 1 1 0", "4 2 0.000000 0.000000 0.000000 1.000000 1.000000 0.000000"},
    {"4 3 0 0 0", "4 0"},
    {"3 0", "3 0"},
    {"4 0", "4 0"},
    {"4 2 1 2 3 4 x 6", nullptr},
    {"5 0", "5"},
    {"5", nullptr},
    {"6 0", "6"},
    {"6", nullptr},
    {"-1", nullptr},
    {"-1 0", nullptr},
    {"-2 0", nullptr},
    {"7 1", nullptr},
    {"x", nullptr},
    {"", nullptr},
    {" 5 0", nullptr}, // the first word is the empty one before the blank
    {"5.0 0", nullptr},
    {"4294967301 0", nullptr}, // 5 in its low 32 bits
};

TEST(WaylineFromString, BuildsTheKindOfTheCodeAndLeavesNothingBehind)
{
    for (const TextFactoryRow& row : kTextFactoryRows) {
        SCOPED_TRACE(row.text);
        const std::string text = row.text;
        const CCapturedOutput quiet;
        const long before = LiveAllocations();
        {
            const WaylinePtr wayline = CWayline::FromString(text);

            ASSERT_EQ(static_cast<bool>(wayline), row.textForm != nullptr);
            if (wayline) {
                EXPECT_EQ(wayline->ToString(), row.textForm);
                EXPECT_EQ(OwnersOf(wayline), 1u);
            }
        }
        EXPECT_EQ(LiveAllocations(), before);
    }
}

TEST(WaylineFromString, DoesNotTakeBackWhatPathReplayAndEmptyWrite)
{
    const CCapturedOutput quiet;

    EXPECT_FALSE(CWayline::FromString(CPathWayline().ToString()));
    EXPECT_FALSE(CWayline::FromString(CReplayWayline().ToString()));
    EXPECT_FALSE(CWayline::FromString(CEmptyWayline().ToString()));
}

struct OutputRow
{
    const char* text;
    const char* output;
};

const OutputRow kOutputRows[] = {
    {"3 1 1 2 3", "CSplineWayline::LoadString: 3 1 1 2 3\n"
                  "CSplineWayline::LoadString: split string length: 5\n"
                  "CSplineWayline::LoadString: type is correct: 1\n"
                  "CSplineWayline::LoadString count is correct: 1 count is 1\n"
                  "CSplineWayline::LoadString 5 == 5\n"
                  "CSplineWayline::LoadString 5 == 5\n"},
    {"4 2 0 0 0 1 1 0", "CABCurveWayline::LoadString: 4 2 0 0 0 1 1 0\n"
                        "CABCurveWayline::LoadString: split string length: 8\n"
                        "CABCurveWayline::LoadString: type is correct: 1\n"
                        "CABCurveWayline::LoadString count is correct: 1 count is 2\n"
                        "CABCurveWayline::LoadString 8 == 8\n"
                        "CABCurveWayline::LoadString 8 == 8\n"},
    {"5 0", "CPathWayline::LoadString: 5 0\n"
            "CPathWayline::LoadString: split string length: 2\n"},
    {"6", "CReplayWayline::LoadString: 6\n"
          "CReplayWayline::LoadString: split string length: 1\n"},
    {"0 1 2 3 4 5 6", ""},
    {"1 1 2 3 x", ""},
    {"2 0 0 0 0 0 0 0 0 0", ""},
    {"-1", ""},
    {"-2 0", ""},
    {"7 1", ""},
    {"x", ""},
    {"", ""},
    {" 5 0", ""},
};

TEST(WaylineFromString, PrintsWhatTheReaderOfTheKindPrints)
{
    for (const OutputRow& row : kOutputRows) {
        SCOPED_TRACE(row.text);
        CCapturedOutput output;

        static_cast<void>(CWayline::FromString(row.text));

        EXPECT_EQ(output.Text(), row.output);
    }
}

} // namespace
} // namespace Kestrove
