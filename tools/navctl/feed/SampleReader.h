#ifndef KESTROVE_TOOLS_NAVCTL_FEED_SAMPLEREADER_H
#define KESTROVE_TOOLS_NAVCTL_FEED_SAMPLEREADER_H

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "tools/navctl/feed/PositionSample.h"
#include "tools/navctl/feed/SkipCount.h"

/// What CSampleReader::Next() has found.
enum class ESample
{
    Sample,     ///< a sample
    NothingYet, ///< none has come within the time
    End,        ///< the file has ended
    Failed,     ///< the file cannot be read as what it should be; Problem() says why
};

/// How long a reader looks for a sample, however much comes that is not one.
class CReadTurn
{
public:
    /// @param milliseconds how long; -1 without limit. What is there already takes a while to look
    ///        at, so it lasts a tenth of a second at least.
    explicit CReadTurn(int milliseconds)
        : m_isEndless(milliseconds < 0),
          m_end(Clock::now() + std::max(kShortest, std::chrono::milliseconds(milliseconds)))
    {
    }

    bool IsOver() const { return !m_isEndless && Clock::now() >= m_end; }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds kShortest{100};

    bool m_isEndless;
    Clock::time_point m_end;
};

/// What a reader has read. Lines are the sources, but for further ones on one line, and the lines
/// that are empty.
struct ReadCounts
{
    std::uint64_t lines = 0;
    std::uint64_t sources = 0; ///< sentences or rows, whole and broken, and what is neither
    std::uint64_t further = 0; ///< those of them that stand behind another on one line
    std::uint64_t empty = 0;   ///< lines
};

/// Reads position samples one after the other, in a memory that does not grow with the file.
class CSampleReader
{
public:
    virtual ~CSampleReader() = default;

    /// Reads the next sample. What is broken is counted and passed over.
    ///
    /// @param sample receives the sample.
    /// @param timeoutMilliseconds how long to wait for data, and to look through what gives no
    ///        sample (see CReadTurn); -1 without limit.
    virtual ESample Next(PositionSample& sample, int timeoutMilliseconds) = 0;

    /// Sentences or rows that could not be used, by reason.
    const CSkipCount& Skipped() const { return m_skipped; }
    /// Sentences that are well formed, but of no use here, by their type.
    const CSkipCount& NotUsed() const { return m_notUsed; }
    /// What has been read so far.
    ReadCounts Counts() const
    {
        ReadCounts counts = m_counts;
        counts.empty += m_line > 0 && m_onLine == 0 ? 1 : 0;
        return counts;
    }
    /// What a file must have to give samples, for people; empty when Problem() says it.
    virtual std::string Wants() const { return {}; }
    /// What would leave fewer sentences or rows out, for people; empty when nothing is known.
    virtual std::string Advice() const { return {}; }
    /// Whether samples were given a day that nobody has stated.
    bool DayWasGuessed() const { return m_dayWasGuessed; }
    /// Why Next() has failed.
    const std::string& Problem() const { return m_problem; }
    /// The columns of a file that are not used.
    const std::vector<std::string>& UnusedColumns() const { return m_unusedColumns; }
    /// A remark on them, for people; empty when there is none.
    std::string Remark() const
    {
        std::string remark;
        for (const std::string& name : m_unusedColumns) {
            remark += (remark.empty() ? "columns that are not used: " : ", ") + name;
        }
        return remark;
    }

protected:
    /// Counts what stands on a line; to be called for every part of it.
    ///
    /// @param line its number.
    /// @param sources sentences or rows.
    void CountLine(std::uint64_t line, std::uint64_t sources)
    {
        if (line != m_line) {
            m_counts.empty += m_line > 0 && m_onLine == 0 ? 1 : 0;
            ++m_counts.lines;
            m_line = line;
            m_onLine = 0;
        }
        m_counts.sources += sources;
        m_counts.further += m_onLine + sources > 1 ? sources - (m_onLine == 0 ? 1 : 0) : 0;
        m_onLine += sources;
    }

    bool m_dayWasGuessed = false;
    CSkipCount m_skipped;
    CSkipCount m_notUsed;
    std::string m_problem;
    std::vector<std::string> m_unusedColumns;

private:
    ReadCounts m_counts;
    std::uint64_t m_line = 0;
    std::uint64_t m_onLine = 0;
};

#endif
