#include "tools/navctl/files/LineReader.h"

#include <vector>

#include <gtest/gtest.h>

#include "tests/navctl/files/Pipe.h"

namespace {

std::vector<std::string> AllLines(const std::string& content)
{
    const CPipe pipe(content);
    CLineReader reader(pipe.Descriptor(), 100);
    std::vector<std::string> lines;
    std::string line;
    while (reader.Next(line) == ELine::Line) {
        lines.push_back(line);
    }
    return lines;
}

using Lines = std::vector<std::string>;

} // namespace

TEST(LineReader, EndsLinesWithLfCrlfAndCr)
{
    const struct
    {
        const char* content;
        Lines lines;
    } rows[] = {
        {"", {}},
        {"a\nb\n", {"a", "b"}},
        {"a\r\nb\r\n", {"a", "b"}},
        {"a\rb\r", {"a", "b"}},
        {"a\n\nb", {"a", "", "b"}},
        {"a\r\n\r\nb", {"a", "", "b"}},
        {"a", {"a"}},
        {"\xEF\xBB\xBFname\nb\n", {"name", "b"}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.lines, AllLines(row.content)) << testing::PrintToString(row.content);
    }
}

TEST(LineReader, CutsALineOverTheLimitAndGoesOnBehindIt)
{
    const CPipe pipe(std::string(1000, 'x') + "\nnext\n");
    CLineReader reader(pipe.Descriptor(), 10);
    std::string line;
    EXPECT_EQ(ELine::TooLong, reader.Next(line));
    EXPECT_EQ("xxxxxxxxxx", line);
    EXPECT_EQ(ELine::Line, reader.Next(line));
    EXPECT_EQ("next", line);
    EXPECT_EQ(2U, reader.LineNumber());
    EXPECT_EQ(ELine::End, reader.Next(line));
}

TEST(LineReader, WaitsNoLongerThanAskedAndKeepsThePartThatHasCome)
{
    CPipe pipe;
    CLineReader reader(pipe.Descriptor(), 100);
    std::string line;
    pipe.Write("first ha");
    EXPECT_EQ(ELine::NothingYet, reader.Next(line, 1));
    EXPECT_TRUE(reader.HoldsPartOfALine());
    pipe.Write("lf\r");
    EXPECT_EQ(ELine::Line, reader.Next(line, 1));
    EXPECT_EQ("first half", line);
    pipe.Write("\nsecond\n");
    EXPECT_EQ(ELine::Line, reader.Next(line, 1));
    EXPECT_EQ("second", line);
}

TEST(LineReader, CountsLinesAsOtherToolsDo)
{
    const CPipe pipe("a\rb\r\nc\n\rd\n\ne");
    CLineReader reader(pipe.Descriptor(), 10);
    std::string line;
    std::vector<std::pair<std::string, std::uint64_t>> lines;
    while (reader.Next(line) == ELine::Line) {
        lines.emplace_back(line, reader.LineNumber());
        EXPECT_EQ(lines.size(), reader.LinesGiven());
    }
    const std::vector<std::pair<std::string, std::uint64_t>> expected{
        {"a", 1}, {"b", 1}, {"c", 2}, {"", 3}, {"d", 3}, {"", 4}, {"e", 5}};
    EXPECT_EQ(expected, lines);
}

TEST(LineReader, PeeksWithoutUsingUp)
{
    const CPipe pipe("a\nb\n");
    CLineReader reader(pipe.Descriptor(), 100);
    std::string line;
    EXPECT_EQ("a\nb\n", reader.Peek([](const std::string&) { return true; }));
    EXPECT_EQ(ELine::Line, reader.Next(line));
    EXPECT_EQ("a", line);
    EXPECT_EQ(2U, reader.BytesUsed());
}

TEST(LineReader, PeeksUntilItIsEnoughOrTheEnd)
{
    CPipe pipe;
    CLineReader reader(pipe.Descriptor(), 100);
    pipe.Write("a");
    std::string line;
    const auto isLonger = [&](const std::string& text) {
        if (text == "a") {
            pipe.Write("b\nc");
        }
        return text.size() > 1;
    };
    EXPECT_EQ("ab\nc", reader.Peek(isLonger));
    pipe.End();
    EXPECT_EQ("ab\nc", reader.Peek([](const std::string&) { return false; }));
    EXPECT_EQ(ELine::Line, reader.Next(line));
    EXPECT_EQ("ab", line);
    EXPECT_EQ(ELine::Line, reader.Next(line));
    EXPECT_EQ("c", line);
    EXPECT_EQ(ELine::End, reader.Next(line));
}

TEST(LineReader, FailsForADescriptorThatIsNone)
{
    CLineReader reader(-1, 100);
    std::string line;
    // poll() passes over descriptors below 0; a limit keeps the test from waiting.
    EXPECT_NE(ELine::Line, reader.Next(line, 1));
}
