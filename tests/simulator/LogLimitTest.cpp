#include "simulator/output/LogLimit.h"

#include <algorithm>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <gtest/gtest.h>

#include "simulator/output/LimitedLog.h"

namespace {

using Lines = std::vector<std::string>;

/// A limit whose clock the test sets.
class LimitedLines
{
public:
    LimitedLines() : m_limit([this](ELogLevel, const std::string& line) { lines.push_back(line); })
    {
    }
    void Warn(std::uint64_t client, const std::string& text)
    {
        m_limit.Take(m_now, client, ELogLevel::Warning, text);
    }
    void Fail(const std::string& text) { m_limit.Take(m_now, 0, ELogLevel::Error, text); }
    void Wait(int milliseconds)
    {
        m_now += std::chrono::milliseconds(milliseconds);
        m_limit.EndPeriods(m_now);
    }
    bool HasPeriods() const { return m_limit.HasPeriods(); }

    Lines lines;

private:
    CLogLimit::Instant m_now{std::chrono::hours(1)};
    CLogLimit m_limit;
};

TEST(LogLimit, LetsTenLinesASecondPassAndTellsTheNumberOfTheOthersInOne)
{
    LimitedLines limited;
    for (int line = 0; line < 1000; ++line) {
        limited.Warn(7, "ignored: " + std::to_string(line));
    }
    EXPECT_EQ(10u, limited.lines.size());
    EXPECT_EQ("ignored: 9", limited.lines.back());

    limited.Wait(1000);

    ASSERT_EQ(11u, limited.lines.size());
    EXPECT_EQ("client 7: 990 lines left out like \"ignored: 10\"", limited.lines.back());
    EXPECT_FALSE(limited.HasPeriods());
    limited.Warn(7, "ignored: again");
    EXPECT_EQ("ignored: again", limited.lines.back());
}

TEST(LogLimit, TellsTheNumberBeforeTheFirstLineOfTheNextSecond)
{
    LimitedLines limited;
    for (int second = 0; second < 3; ++second) {
        for (int line = 0; line < 11; ++line) {
            limited.Warn(0, "ignored: x");
        }
        limited.Wait(999);
        limited.Wait(1);
    }
    ASSERT_EQ(33u, limited.lines.size());
    for (const std::size_t last : {10u, 21u, 32u}) {
        EXPECT_EQ("1 line left out like \"ignored: x\"", limited.lines[last]);
    }
}

TEST(LogLimit, CountsEachClientAndEachKindForItself)
{
    LimitedLines limited;
    for (int line = 0; line < 100; ++line) {
        for (const std::uint64_t client : {1, 2, 3}) {
            limited.Warn(client, "ignored: " + std::to_string(line));
            limited.Warn(client, "refused: " + std::to_string(line));
        }
    }
    EXPECT_EQ(60u, limited.lines.size());

    limited.Wait(1000);

    EXPECT_EQ(66u, limited.lines.size());
}

TEST(LogLimit, CountsLinesThatDifferInNumbersAlone)
{
    LimitedLines limited;
    for (int client = 0; client < 50; ++client) {
        limited.Warn(5, "client " + std::to_string(client) + " is dropped: garbage");
    }

    EXPECT_EQ(10u, limited.lines.size());
}

TEST(LogLimit, LetsAHundredLinesPassOfClientsThatComeAnewForEachOne)
{
    LimitedLines limited;
    for (std::uint64_t client = 1; client <= 50000; ++client) {
        limited.Warn(client, "client " + std::to_string(client) + " is dropped: garbage");
    }
    EXPECT_EQ(100u, limited.lines.size());

    limited.Wait(1000);

    std::size_t leftOut = 0;
    for (std::size_t line = 100; line < limited.lines.size(); ++line) {
        EXPECT_EQ(0u, limited.lines[line].find("all clients: ")) << limited.lines[line];
        leftOut += std::stoul(limited.lines[line].substr(std::string("all clients: ").size()));
    }
    EXPECT_EQ(49900u, leftOut);
    EXPECT_LE(limited.lines.size(), 102u);
    EXPECT_FALSE(limited.HasPeriods());
}

/// A name for a number, in letters, since numbers are not part of a kind.
std::string NameWithoutDigits(std::size_t number)
{
    std::string name;
    for (; number > 0; number /= 26) {
        name += static_cast<char>('a' + number % 26);
    }
    return name;
}

TEST(LogLimit, BoundsLinesOfEverNewKinds)
{
    LimitedLines limited;
    for (int line = 0; line < 20; ++line) {
        for (std::size_t kind = 0; kind < 5000; ++kind) {
            limited.Warn(1, NameWithoutDigits(kind) + ": text");
        }
    }
    // Ten of each of those that are counted, by client and for all, and as many of all the others.
    const std::size_t counted = 4096 / 2;
    EXPECT_GE(limited.lines.size(), 10 * counted);
    EXPECT_LE(limited.lines.size(), 10 * counted + 10);

    limited.Wait(1000);

    EXPECT_LE(limited.lines.size(), 11 * counted + 11);
    EXPECT_NE(std::string::npos, limited.lines.back().find("left out like"))
        << limited.lines.back();
    EXPECT_FALSE(limited.HasPeriods());
}

TEST(LogLimit, LetsErrorsPass)
{
    LimitedLines limited;
    for (int line = 0; line < 50; ++line) {
        limited.Fail("full: x");
    }

    EXPECT_EQ(50u, limited.lines.size());
}

TEST(LimitedLog, TellsTheNumberAfterASecondOfTheLoop)
{
    asio::io_context loop;
    Lines lines;
    CLimitedLog log(loop, ELogLevel::Warning,
                    [&lines](ELogLevel, const std::string& line) { lines.push_back(line); });
    log.Serve(3);
    for (int line = 0; line < 1000; ++line) {
        log.Sink()(ELogLevel::Warning, "ignored: x");
        log.Sink()(ELogLevel::Info, "not asked for: x");
    }

    loop.run();

    // More than once where the machine was held up for a second between two lines.
    EXPECT_EQ("client 3: ", lines.back().substr(0, 10));
    EXPECT_EQ(0, std::count(lines.begin(), lines.end(), "not asked for: x"));
    EXPECT_LT(lines.size(), 500u);
}

TEST(LimitedLog, TellsTheNumberAtTheEnd)
{
    asio::io_context loop;
    Lines lines;
    {
        CLimitedLog log(loop, ELogLevel::Debug,
                        [&lines](ELogLevel, const std::string& line) { lines.push_back(line); });
        for (int line = 0; line < 1000; ++line) {
            log.Sink()(ELogLevel::Debug, "seen: x");
        }
    }
    EXPECT_NE(std::string::npos, lines.back().find("left out like")) << lines.back();
}

} // namespace
