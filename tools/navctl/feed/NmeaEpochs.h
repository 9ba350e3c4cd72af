#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEAEPOCHS_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEAEPOCHS_H

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "tools/navctl/feed/NmeaFields.h"
#include "tools/navctl/feed/PositionSample.h"
#include "tools/navctl/feed/TimeOrder.h"

/// Why sentences are of no use.
struct NmeaProblem
{
    std::string reason;     ///< empty when there is none
    std::uint64_t line = 0; ///< the line in the file that it begins in
};

/// Puts the sentences of one moment together to a sample. A receiver tells of each moment in
/// several sentences; those with the same time belong together, and those without a time to the
/// moment that is being told.
///
/// A moment is over when a sentence of another time comes, or when Flush() says so. The height is
/// that above the ellipsoid, altitude plus geoid separation.
///
/// Until a sentence tells the day, the times are those of an assumed one; Correction() tells by how
/// much they were wrong.
class CNmeaEpochs
{
public:
    /// @param day the day of the first sample, in days since 1970-01-01, unless a sentence tells
    ///        it.
    explicit CNmeaEpochs(std::int64_t day) : m_day(day) {}

    /// Takes a sentence in.
    ///
    /// @param line the sentence's line in the file.
    /// @param problem receives why the sentence, or the moment that it ends, is of no use; empty
    ///        otherwise.
    /// @return the sample of the moment that the sentence ends.
    std::optional<PositionSample> Add(const NmeaSentence& sentence, const NmeaReport& report,
                                      std::uint64_t line, NmeaProblem& problem);

    /// Ends the moment, as nothing more will come for it.
    ///
    /// @param problem as with Add().
    std::optional<PositionSample> Flush(NmeaProblem& problem);

    /// True when Flush() would give a sample.
    bool HasPosition() const;
    /// True when the moment has every kind of sentence that the last one had.
    bool IsWhole() const;
    /// Whether a sentence has told the day yet.
    bool DayIsTold() const { return m_dayIsTold; }
    /// What is to be added to the times of the samples that were given before the day was told,
    /// seconds.
    double Correction() const { return m_correction; }

private:
    struct Part
    {
        std::string talker;
        NmeaReport report;
    };
    using Parts = std::map<std::string, Part>;

    void AddUntimed(const NmeaSentence& sentence, const NmeaReport& report);
    const Part* Find(const char* type) const;

    /// The report that tells the place, GGA before RMC; null when none does.
    const NmeaReport* PlaceReport() const;
    double UnixTime();
    void SetDay(std::int64_t day);
    void AddPlace(PositionSample& sample, const NmeaReport& place);
    void AddMovement(PositionSample& sample) const;

    std::optional<std::int64_t> m_timeOfDay;
    bool m_isOver = false;
    Parts m_parts;
    Parts m_next;
    std::set<std::string> m_lastTypes;
    std::uint64_t m_firstLine = 0;
    std::int64_t m_day;
    bool m_dayIsTold = false;
    double m_correction = 0.0;
    std::optional<std::int64_t> m_lastTimeOfDay;
    CTimeOrder m_order;
    double m_lastHeight = 0.0;
    double m_lastSeparation = 0.0;
};

#endif
