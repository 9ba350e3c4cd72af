#ifndef KESTROVE_TESTS_NAVCTL_FILES_NMEASTREAM_H
#define KESTROVE_TESTS_NAVCTL_FILES_NMEASTREAM_H

#include <string>
#include <vector>

#include "tools/navctl/feed/NmeaEpochs.h"

/// How the sentences of a stream come.
enum class EPace
{
    File,         ///< all there already
    Bursts,       ///< live, a burst in a third of the period, then a pause
    EvenlySpread, ///< live, without a pause
    AtOnce,       ///< live, but much faster than measured: when something comes says nothing
};

/// A sentence of a receiver's burst.
struct StreamSentence
{
    ENmeaType type;
    const char* talker = "GP";
    bool hasFix = true;
    int every = 1; ///< it comes in each so many epochs
};

using Burst = std::vector<StreamSentence>;

/// A sentence as it comes. Every value in it is the number of its epoch.
struct StreamEvent
{
    NmeaPart part;
    int epoch = 0;
    bool isDamaged = false; ///< heard, but not understood
};

/// What a receiver says, epoch after epoch.
std::vector<StreamEvent> StreamOf(const Burst& burst, int epochs, std::int64_t period, EPace pace);

/// What became of a stream.
struct Outcome
{
    struct Sent
    {
        PositionSample sample;
        int epoch;           ///< by its time
        std::size_t atEvent; ///< when it was given: while this event was taken in, or before it
        bool beforeEvent;
    };

    const Sent* Find(int epoch) const;

    std::vector<Sent> sent;
    std::uint64_t sources = 0; ///< of all samples
    CSkipCount leftOut;
};

/// Feeds a stream on a clock of its own, which ends bursts as the reader would.
Outcome FeedStream(const std::vector<StreamEvent>& events, std::int64_t period,
                   std::optional<ENmeaType> burstBeginsWith = std::nullopt);

/// What a sample holds of a type of sentence: the number of the epoch that the value is of, and of
/// GSA how many satellites it lists; nothing when it holds none.
std::optional<int> ValueOf(ENmeaType type, const PositionSample& sample);

/// Which types a sample holds values of another epoch of; empty when it is as it should be.
std::string ForeignValues(const PositionSample& sample, int epoch);

#endif
