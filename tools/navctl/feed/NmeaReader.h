#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEAREADER_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEAREADER_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>

#include "tools/navctl/feed/NmeaEpochs.h"
#include "tools/navctl/feed/SampleReader.h"
#include "tools/navctl/files/LineReader.h"

/// How a stream of sentences is read.
struct NmeaReaderOptions
{
    NmeaEpochOptions epochs;
    NmeaSigns signs;
    bool isLive = false;       ///< it comes as it is measured: when something comes says something
    bool dayIsGuessed = false; ///< nobody has given the day of the first sample
    /// Called once, with words, when samples get a day that nobody has given; may be empty.
    std::function<void(const std::string&)> remark{};
};

/// Reads position samples from a stream of NMEA 0183 sentences. A sentence that is broken is
/// counted and passed over; everything else on its line is read.
///
/// Of a live stream, a sample is given as soon as its burst is known to be complete; of a file,
/// samples are kept back while no sentence has given the day, a thousand at most, so that they get
/// it too. Of a live stream whose day is not known the first sample waits until the next burst is
/// over, for one that was joined behind its date.
class CNmeaReader : public CSampleReader
{
public:
    /// @param lines where the sentences come from; must live as long as the reader.
    CNmeaReader(CLineReader& lines, NmeaReaderOptions options)
        : m_lines(lines), m_options(std::move(options)),
          m_epochs(m_options.epochs, m_ready, m_skipped),
          m_keepsBack(!m_options.isLive || m_options.dayIsGuessed)
    {
    }

    ESample Next(PositionSample& sample, int timeoutMilliseconds) override;
    std::string Wants() const override;
    std::string Advice() const override;

private:
    bool IsReady();
    bool KeepsBack();
    double NextBurstEndsAt() const;
    void Give(PositionSample& sample);
    ELine ReadLine(int timeoutMilliseconds);
    void TakeLine();
    void TakeSentence(std::string_view text);
    void EndFile();
    double Now() const;

    CLineReader& m_lines;
    NmeaReaderOptions m_options;
    std::deque<PositionSample> m_ready;
    CNmeaEpochs m_epochs;
    std::string m_line;
    NmeaSentence m_sentence;
    bool m_keepsBack;
    double m_keepsBackUntil = 0.0;    ///< live; 0 until there is a sample
    std::uint64_t m_overWhenKept = 0; ///< epochs
    bool m_hasGiven = false;
    double m_correction = 0.0;
};

#endif
