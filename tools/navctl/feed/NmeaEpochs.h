#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEAEPOCHS_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEAEPOCHS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "tools/navctl/feed/NmeaFields.h"
#include "tools/navctl/feed/PositionSample.h"

/// Puts the sentences of one moment together to a sample. A receiver tells of each moment in
/// several sentences; those with the same time belong together, and those without a time to the
/// moment that is being told.
///
/// A moment is over when a sentence of another time comes, or when Flush() says so. The height is
/// that above the ellipsoid, altitude plus geoid separation.
class CNmeaEpochs
{
public:
    /// @param day the day of the first sample, in days since 1970-01-01, unless a sentence tells
    /// it.
    explicit CNmeaEpochs(std::int64_t day) : m_day(day) {}

    /// Takes a sentence in.
    ///
    /// @param problem receives why the sentence, or the moment that it ends, is of no use; empty
    ///        otherwise.
    /// @return the sample of the moment that the sentence ends.
    std::optional<PositionSample> Add(const NmeaSentence& sentence, const NmeaReport& report,
                                      std::string& problem);

    /// Ends the moment, as nothing more will come for it.
    ///
    /// @param problem as with Add().
    std::optional<PositionSample> Flush(std::string& problem);

    /// True when Flush() would give a sample.
    bool HasPosition() const;

private:
    struct Part
    {
        std::string talker;
        NmeaReport report;
    };
    using Parts = std::map<std::string, Part>;

    void AddUntimed(const NmeaSentence& sentence, const NmeaReport& report);
    const Part* Find(const char* type) const;
    double UnixTime();
    void AddPlace(PositionSample& sample);
    void AddMovement(PositionSample& sample) const;

    std::optional<std::int64_t> m_timeOfDay;
    bool m_isOver = false;
    Parts m_parts;
    Parts m_next;
    std::int64_t m_day;
    std::optional<std::int64_t> m_lastTimeOfDay;
    std::optional<double> m_lastTime;
    double m_lastHeight = 0.0;
    double m_lastSeparation = 0.0;
};

#endif
