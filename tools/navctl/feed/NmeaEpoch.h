#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEAEPOCH_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEAEPOCH_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/navctl/feed/BurstOrder.h"
#include "tools/navctl/feed/NmeaFields.h"
#include "tools/navctl/feed/PositionSample.h"

/// A sentence as it goes into an epoch.
struct NmeaPart
{
    NmeaKind kind = 0;
    ENmeaType type = ENmeaType::Other;
    NmeaReport report;
    std::uint64_t line = 0; ///< of the file
    /// When it came, seconds of a clock that does not jump; empty in a file, where nothing is said
    /// by when something comes.
    std::optional<double> arrival;
};

/// Whether two sentences of one kind say the same.
bool IsSame(const NmeaReport& left, const NmeaReport& right);

/// The kind of a sentence of a type that is read.
NmeaKind KindOf(const NmeaSentence& sentence, ENmeaType type, const NmeaReport& report);

/// The sample of the sentences of one time, but for its time.
///
/// @return nothing when none of them gives a position.
std::optional<PositionSample> SampleOf(const std::vector<NmeaPart>& parts);

/// Whether SampleOf() would give one.
bool HasPosition(const std::vector<NmeaPart>& parts);

/// Why a sentence without a time goes into no sample.
inline constexpr const char* kNotCertain = " whose time is not certain";

/// A place that must be shown again before what rests on it is certain.
struct NmeaClaim
{
    BurstPlace place;
    std::uint64_t epochsLeft = 0; ///< in which it must be shown
};

/// A sentence that was put into an epoch by the order that was learned before it.
struct PendingPart
{
    NmeaPart part;
    std::vector<NmeaClaim> claims;
};

/// The sentences of one time.
struct NmeaEpoch
{
    /// Takes in a sentence that is certainly of this time.
    void Add(const NmeaPart& part);
    /// The first one of a kind that is in it; nothing when there is none.
    const NmeaPart* Find(NmeaKind kind) const;

    /// Whether one of a kind is in it that is not certain yet.
    bool Awaits(NmeaKind kind) const;
    /// Whether it has one of that kind, and with another content. One without a position does not
    /// count.
    bool SaysOtherwise(const NmeaPart& part) const;

    std::int64_t timeOfDay = 0; ///< milliseconds
    std::vector<NmeaPart> parts;
    std::vector<PendingPart> pending;
    std::vector<NmeaKind> timedKinds;
    std::vector<std::pair<NmeaKind, bool>> shown; ///< untimed kinds, and whether by a pause
    std::vector<NmeaKind> enclosed; ///< untimed kinds that came between two of this time
    std::uint64_t sources = 0;      ///< how many were added
    std::uint64_t firstLine = 0;
    std::optional<double> firstArrival;
    double longestGap = 0.0;
    bool isPaced = false;      ///< has come a period after the one before
    bool isBeginKnown = false; ///< a pause, or what the user said, has shown where it begins
    bool isCopy = false;       ///< its time is not later than one before
    bool isRepeated = false;   ///< a sentence with a time has come again
    std::vector<NmeaPart> partsBefore; ///< what it had before that
    std::uint64_t sourcesBefore = 0;
    bool standsStill = false; ///< its time goes on to be reported although it is over
    bool isSent = false;
    bool isSentEarly = false;
};

#endif
