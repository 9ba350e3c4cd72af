#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEAREADER_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEAREADER_H

#include <chrono>
#include <cstdint>
#include <deque>

#include "tools/navctl/feed/NmeaEpochs.h"
#include "tools/navctl/feed/SampleReader.h"
#include "tools/navctl/files/LineReader.h"

/// Reads position samples from a stream of NMEA 0183 sentences. A sentence that is broken is
/// counted and passed over; everything else on its line is read.
///
/// On a stream that pauses, the sample of the last moment is given after a short while, so that a
/// live receiver's samples do not wait for its next ones. While no sentence has told the day,
/// samples are kept back, a thousand at most and not over a pause, so that they get it too.
class CNmeaReader : public CSampleReader
{
public:
    /// @param lines where the sentences come from; must live as long as the reader.
    /// @param day the day of the first sample when no sentence tells it, in days since 1970-01-01.
    CNmeaReader(CLineReader& lines, std::int64_t day) : m_lines(lines), m_epochs(day) {}

    ESample Next(PositionSample& sample, int timeoutMilliseconds) override;

private:
    bool IsReady() const;
    ELine ReadLine(int timeoutMilliseconds);
    std::chrono::milliseconds PauseLeft() const;
    void TakeLine();
    void TakeSentence(std::string_view text);
    void EndMoment();
    void Finish(const std::optional<PositionSample>& sample, const NmeaProblem& problem);

    CLineReader& m_lines;
    CNmeaEpochs m_epochs;
    std::string m_line;
    std::deque<PositionSample> m_ready;
    std::chrono::steady_clock::time_point m_lastLineTime;
    bool m_keepsBack = true;
    bool m_hasGiven = false;
    double m_correction = 0.0;
};

#endif
