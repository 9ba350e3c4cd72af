// The text form of spline and A-B curve, with every line that the readers print.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/wayline/CapturedOutput.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

using Points = std::vector<Core::Maths::Vector3<double>>;

TEST(PointTextForm, HasTheNumberOfPointsBeforeThePoints)
{
    const Points points = {{0, 0, 0}, {1, 1, 0}};

    EXPECT_EQ(CABCurveWayline(points).ToString(),
              "4 2 0.000000 0.000000 0.000000 1.000000 1.000000 0.000000");
    EXPECT_EQ(CSplineWayline(points).ToString(),
              "3 2 0.000000 0.000000 0.000000 1.000000 1.000000 0.000000");
    EXPECT_EQ(CABCurveWayline().ToString(), "4 0");
    EXPECT_EQ(CSplineWayline().ToString(), "3 0");
}

struct PointReadRow
{
    std::string text; // '#' stands for the kind's code
    bool accepted;
    Points added;
    std::string output; // without the class name that opens every line
};

const Points kNone;

const PointReadRow kPointRows[] = {
    {"# 2 0 0 0 1 1 0",
     true,
     {{0, 0, 0}, {1, 1, 0}},
     "::LoadString: # 2 0 0 0 1 1 0\n"
     "::LoadString: split string length: 8\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 1 count is 2\n"
     "::LoadString 8 == 8\n"
     "::LoadString 8 == 8\n"},
    {"# 0", true, kNone,
     "::LoadString: # 0\n"
     "::LoadString: split string length: 2\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 1 count is 0\n"
     "::LoadString 2 == 2\n"
     "::LoadString 2 == 2\n"},
    {"# 3 0 0 0", true, kNone, // another length than the count asks for
     "::LoadString: # 3 0 0 0\n"
     "::LoadString: split string length: 5\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 1 count is 3\n"
     "::LoadString 5 == 11\n"
     "::LoadString 5 == 11\n"},
    {"# 1 1 2 3 x", true, kNone, // so its words are not even read
     "::LoadString: # 1 1 2 3 x\n"
     "::LoadString: split string length: 6\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 1 count is 1\n"
     "::LoadString 6 == 5\n"
     "::LoadString 6 == 5\n"},
    {"# -1 0", true, kNone,
     "::LoadString: # -1 0\n"
     "::LoadString: split string length: 3\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 1 count is -1\n"
     "::LoadString 3 == -1\n"
     "::LoadString 3 == -1\n"},
    {"# 1431655766 0 0", true, kNone, // in 32 bits three times this plus two is 4
     "::LoadString: # 1431655766 0 0\n"
     "::LoadString: split string length: 4\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 1 count is 1431655766\n"
     "::LoadString 4 == 4\n"
     "::LoadString 4 == 4\n"},
    {"# 2147483647 0", true, kNone,
     "::LoadString: # 2147483647 0\n"
     "::LoadString: split string length: 3\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 1 count is 2147483647\n"
     "::LoadString 3 == 2147483647\n"
     "::LoadString 3 == 2147483647\n"},
    {"# -1431655764 0 0 0 0 0 0 0 0", true, kNone, // likewise from below: 6
     "::LoadString: # -1431655764 0 0 0 0 0 0 0 0\n"
     "::LoadString: split string length: 10\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 1 count is -1431655764\n"
     "::LoadString 10 == 6\n"
     "::LoadString 10 == 6\n"},
    {"# x 0 0 0", false, kNone,
     "::LoadString: # x 0 0 0\n"
     "::LoadString: split string length: 5\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 0 count is 0\n"
     "::LoadString 5 == 2\n"},
    {"# 2147483648 0", false, kNone, // no int
     "::LoadString: # 2147483648 0\n"
     "::LoadString: split string length: 3\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 0 count is 0\n"
     "::LoadString 3 == 2\n"},
    {"9 1 1 2 3", false, kNone, // the count is not even read
     "::LoadString: 9 1 1 2 3\n"
     "::LoadString: split string length: 5\n"
     "::LoadString: type is correct: 0\n"
     "::LoadString count is correct: 0 count is 0\n"
     "::LoadString 5 == 2\n"},
    {"x 0", false, kNone,
     "::LoadString: x 0\n"
     "::LoadString: split string length: 2\n"
     "::LoadString: type is correct: 0\n"
     "::LoadString count is correct: 0 count is 0\n"
     "::LoadString 2 == 2\n"},
    {"#", false, kNone,
     "::LoadString: #\n"
     "::LoadString: split string length: 1\n"},
    {"", false, kNone, "::LoadString: \n"},
    {"  ", false, kNone, "::LoadString:   \n"},
    {"# 2 1 2 3 4 x 6",
     false,
     {{1, 2, 3}},
     "::LoadString: # 2 1 2 3 4 x 6\n"
     "::LoadString: split string length: 8\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 1 count is 2\n"
     "::LoadString 8 == 8\n"
     "::LoadString 8 == 8\n"},
    {"# 3 1 2 3 4 5 x 7 8 9", // nothing behind the unreadable word is taken
     false,
     {{1, 2, 3}},
     "::LoadString: # 3 1 2 3 4 5 x 7 8 9\n"
     "::LoadString: split string length: 11\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 1 count is 3\n"
     "::LoadString 11 == 11\n"
     "::LoadString 11 == 11\n"},
    {"# 1 x 2 3", false, kNone,
     "::LoadString: # 1 x 2 3\n"
     "::LoadString: split string length: 5\n"
     "::LoadString: type is correct: 1\n"
     "::LoadString count is correct: 1 count is 1\n"
     "::LoadString 5 == 5\n"
     "::LoadString 5 == 5\n"},
};

/// The row's text for a kind: its code for '#', and its name before every line.
std::string ForKind(const std::string& text, char code, const std::string& className)
{
    std::string result;
    bool lineStarts = true;
    for (const char letter : text) {
        result += lineStarts ? className : "";
        result += letter == '#' ? code : letter;
        lineStarts = !className.empty() && letter == '\n';
    }
    return result;
}

template <typename Kind>
void ExpectReads(char code, const std::string& className)
{
    for (const PointReadRow& row : kPointRows) {
        SCOPED_TRACE(row.text);
        Kind wayline({{9, 9, 9}});
        Points expected = wayline.points;
        expected.insert(expected.end(), row.added.begin(), row.added.end());
        CCapturedOutput output;

        const bool accepted = wayline.LoadString(ForKind(row.text, code, ""));

        EXPECT_EQ(output.Text(), ForKind(row.output, code, className));
        EXPECT_EQ(accepted, row.accepted);
        EXPECT_EQ(wayline.points, expected);
    }
}

TEST(CurveTextForm, IsReadAndTold)
{
    ExpectReads<CABCurveWayline>('4', "CABCurveWayline");
}

TEST(SplineTextForm, IsReadAndTold)
{
    ExpectReads<CSplineWayline>('3', "CSplineWayline");
}

TEST(CurveTextForm, AddsThePointsToThoseThatAreThere)
{
    const CCapturedOutput quiet;
    CABCurveWayline curve;

    EXPECT_TRUE(curve.LoadString("4 1 1 2 3"));
    EXPECT_TRUE(curve.LoadString("4 1 4 5 6"));

    EXPECT_EQ(curve.points, (Points{{1, 2, 3}, {4, 5, 6}}));
}

TEST(CurveTextForm, KeepsPointsReadBeforeABadNumber)
{
    const CCapturedOutput quiet;
    CABCurveWayline curve;

    EXPECT_FALSE(curve.LoadString("4 2 1 2 3 4 x 6"));

    EXPECT_EQ(curve.points, (Points{{1, 2, 3}}));
}

TEST(CurveTextForm, OfTheOtherPointKindIsRefused)
{
    const CCapturedOutput quiet;
    CABCurveWayline curve;
    CSplineWayline spline;

    EXPECT_FALSE(curve.LoadString("3 1 1 2 3"));
    EXPECT_FALSE(spline.LoadString("4 1 1 2 3"));
}

} // namespace
} // namespace Kestrove
