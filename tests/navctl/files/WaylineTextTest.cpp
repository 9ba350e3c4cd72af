#include "tools/navctl/wayline/WaylineText.h"

#include <gtest/gtest.h>

TEST(WaylineTextReader, ReadsEveryKindAndWritesItAgain)
{
    for (const std::string text : {
             "0 1.000000 2.000000 3.000000 4.000000 5.000000 6.000000",
             "1 1.000000 2.000000 3.000000 0.500000",
             "2 0.000000 0.000000 0.000000 1.000000 1.000000 0.000000 2.000000 0.000000 0.000000",
             "3 0",
             "3 1 1.000000 2.000000 3.000000",
             "4 2 0.000000 0.000000 0.000000 1.000000 1.000000 0.000000",
             "5",
             "6",
         }) {
        std::string problem;
        const auto content = ReadWaylineText(text, problem);
        ASSERT_TRUE(content.has_value()) << text << ": " << problem;
        EXPECT_EQ(text, WriteWaylineText(*content));
    }
}

TEST(WaylineTextReader, ReadsAPathAndAReplayAsTheLibraryDoes)
{
    std::string problem;
    EXPECT_EQ(Kestrove::EWaylineTypePath, ReadWaylineText("5 0", problem)->kind);
    EXPECT_EQ(Kestrove::EWaylineTypeReplay, ReadWaylineText("6 0", problem)->kind);
}

TEST(WaylineTextReader, AllowsBlanksAround)
{
    std::string problem;
    EXPECT_TRUE(ReadWaylineText("  1  1 2 3   0.5 ", problem).has_value()) << problem;
}

TEST(WaylineTextReader, TellsWhatIsWrong)
{
    const struct
    {
        const char* text;
        const char* problem;
    } rows[] = {
        {"", "there is no word"},
        {"x", "\"x\" is no code of a kind (0 to 6)"},
        {"7 1", "\"7\" is no code of a kind (0 to 6)"},
        {"-1", "an empty wayline has no text form; navctl clear-wayline drops the service's"},
        {"0 1 2 3 4 5", "the text of kind A-B line has 7 words, this one 6 words"},
        {"0 1 2 3 4 5 6 7", "the text of kind A-B line has 7 words, this one 8 words"},
        {"0 1 2 x 4 5 6", "word 4, \"x\", is no finite number"},
        {"1 1 2 3 nan", "word 5, \"nan\", is no finite number"},
        {"2 0", "the text of kind circle has 10 words, this one 2 words"},
        {"3", "the number of points of the spline is missing"},
        {"4 x", "\"x\" is no number of points"},
        {"4 -1", "\"-1\" is no number of points"},
        {"4 3 0 0 0", "3 points make 11 words, the line has 5"},
        {"4 1 0 0 0 9", "1 points make 5 words, the line has 6"},
        {"4 2 0 0 0 1 y 0", "word 7, \"y\", is no finite number"},
        {"4 2147483647 0 0 0", "2147483647 points make 6442450943 words, the line has 5"},
        {"5 1", "a path is its code alone, with or without a 0 behind it"},
        {"6 0 0", "a replay is its code alone, with or without a 0 behind it"},
        {"0\t1\t2\t3\t4\t5\t6", "\"0\t1\t2\t3\t4\t5\t6\" is no code of a kind (0 to 6)"},
    };
    for (const auto& row : rows) {
        std::string problem;
        EXPECT_FALSE(ReadWaylineText(row.text, problem).has_value()) << row.text;
        EXPECT_EQ(row.problem, problem) << row.text;
    }
}
