// The text form of path and replay, with every line that the readers print.

#include <gtest/gtest.h>

#include <string>

#include "tests/wayline/CapturedOutput.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

TEST(ValuelessTextForm, IsTheCodeAlone)
{
    EXPECT_EQ(CPathWayline().ToString(), "5");
    EXPECT_EQ(CReplayWayline().ToString(), "6");
}

struct ValuelessReadRow
{
    const char* text;
    bool acceptedByPath;
    bool acceptedByReplay;
    const char* numberOfParts; // null when the text has none
};

const ValuelessReadRow kValuelessRows[] = {
    {"5 0", true, false, "2"},         {"6 0", false, true, "2"},    {"5 x y", true, false, "3"},
    {"6 any words", false, true, "3"}, {"5", false, false, "1"},     {"6", false, false, "1"},
    {"4 0", false, false, "2"},        {"x 0", false, false, "2"},   {"5.0 0", false, false, "2"},
    {"", false, false, nullptr},       {" ", false, false, nullptr},
};

template <typename Kind>
void ExpectReads(const std::string& className, bool ValuelessReadRow::*accepted)
{
    for (const ValuelessReadRow& row : kValuelessRows) {
        SCOPED_TRACE(row.text);
        std::string expected = className + "::LoadString: " + row.text + "\n";
        if (row.numberOfParts != nullptr) {
            expected +=
                className + "::LoadString: split string length: " + row.numberOfParts + "\n";
        }
        Kind wayline;
        CCapturedOutput output;

        const bool result = wayline.LoadString(row.text);

        EXPECT_EQ(output.Text(), expected);
        EXPECT_EQ(result, row.*accepted);
    }
}

TEST(PathTextForm, IsReadAndTold)
{
    ExpectReads<CPathWayline>("CPathWayline", &ValuelessReadRow::acceptedByPath);
}

TEST(ReplayTextForm, IsReadAndTold)
{
    ExpectReads<CReplayWayline>("CReplayWayline", &ValuelessReadRow::acceptedByReplay);
}

TEST(ValuelessTextForm, IsNotTakenBackFromItsOwnWriter)
{
    const CCapturedOutput quiet;
    CPathWayline path;
    CReplayWayline replay;

    EXPECT_FALSE(path.LoadString(path.ToString()));
    EXPECT_FALSE(replay.LoadString(replay.ToString()));
}

} // namespace
} // namespace Kestrove
