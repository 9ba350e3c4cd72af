// Who gets the trace lines.

#include "wayline/TraceLines.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/wayline/CapturedOutput.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

std::vector<std::string> taken;

void Take(const std::string& line)
{
    taken.push_back(line);
}

class TraceLines : public ::testing::Test
{
protected:
    TraceLines() { taken.clear(); }
    ~TraceLines() override { SetTraceTaker(nullptr); }
};

TEST_F(TraceLines, GoToTheTakerWholeAndNowhereElse)
{
    const std::string longText = "5 " + std::string(5000, 'x');
    CCapturedOutput output;
    EXPECT_EQ(SetTraceTaker(&Take), nullptr);
    static_cast<void>(CWayline::FromString("5 %s"));
    static_cast<void>(CWayline::FromString(longText));
    EXPECT_EQ(output.Text(), "");
    const std::vector<std::string> expected = {"CPathWayline::LoadString: 5 %s",
                                               "CPathWayline::LoadString: split string length: 2",
                                               "CPathWayline::LoadString: " + longText,
                                               "CPathWayline::LoadString: split string length: 2"};
    EXPECT_EQ(taken, expected);
}

TEST_F(TraceLines, GoToStandardOutputAgainWithoutATaker)
{
    SetTraceTaker(&Take);
    EXPECT_EQ(SetTraceTaker(nullptr), &Take);
    CCapturedOutput output;
    static_cast<void>(CWayline::FromString("4 0"));
    EXPECT_NE(output.Text(), "");
    EXPECT_TRUE(taken.empty());
}

TEST_F(TraceLines, OfOtherThreadsGoWhereTheyWent)
{
    SetTraceTaker(&Take);
    CCapturedOutput output;
    std::thread([] { static_cast<void>(CWayline::FromString("5 0")); }).join();
    EXPECT_NE(output.Text(), "");
    EXPECT_TRUE(taken.empty());
}

} // namespace
} // namespace Kestrove
