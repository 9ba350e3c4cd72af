#ifndef KESTROVE_TOOLS_NAVCTL_FEED_SAMPLEREADER_H
#define KESTROVE_TOOLS_NAVCTL_FEED_SAMPLEREADER_H

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
    Failed,     ///< the file cannot be read as what it should be; Problem() tells why
};

/// Reads position samples one after the other, in a memory that does not grow with the file.
class CSampleReader
{
public:
    virtual ~CSampleReader() = default;

    /// Reads the next sample. What is broken is counted and passed over.
    ///
    /// @param sample receives the sample.
    /// @param timeoutMilliseconds how long to wait for data; -1 without limit.
    virtual ESample Next(PositionSample& sample, int timeoutMilliseconds) = 0;

    /// Sentences or rows that could not be used, by reason.
    const CSkipCount& Skipped() const { return m_skipped; }
    /// Sentences that are well formed, but of no use here, by their type.
    const CSkipCount& NotUsed() const { return m_notUsed; }
    /// Why Next() has failed.
    const std::string& Problem() const { return m_problem; }
    /// The columns of a file that are not used.
    const std::vector<std::string>& UnusedColumns() const { return m_unusedColumns; }
    /// A remark on them, for people; empty when there is none.
    std::string Remark() const
    {
        std::string remark;
        for (const std::string& name : m_unusedColumns)
            remark += (remark.empty() ? "columns that are not used: " : ", ") + name;
        return remark;
    }

protected:
    CSkipCount m_skipped;
    CSkipCount m_notUsed;
    std::string m_problem;
    std::vector<std::string> m_unusedColumns;
};

#endif
