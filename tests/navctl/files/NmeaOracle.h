#ifndef KESTROVE_TESTS_NAVCTL_FILES_NMEAORACLE_H
#define KESTROVE_TESTS_NAVCTL_FILES_NMEAORACLE_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/navctl/files/NmeaStream.h"

inline constexpr int kEpochs = 26;
/// Until when the period and the order are learned from the beginning, where only pauses show it,
/// and anew.
inline constexpr int kEpochsToLearn = 8;
inline constexpr int kEpochsToLearnByPauses = 13;
inline constexpr int kEpochsToLearnAnew = 4;
/// The epoch in which a disturbance begins.
inline constexpr int kDisturbed = 16;

/// How sentences come, but for all at once.
inline const std::vector<EPace> kPaces{EPace::File, EPace::Bursts, EPace::EvenlySpread};

using Events = std::vector<StreamEvent>;

/// A receiver, how its sentences come, and what is known of it.
struct Scene
{
    Burst burst;
    std::int64_t period = 100;
    EPace pace = EPace::File;
    std::optional<ENmeaType> burstBeginsWith;

    std::string Name() const
    {
        std::string name = pace == EPace::File     ? "file"
                           : pace == EPace::Bursts ? "bursts"
                           : pace == EPace::AtOnce ? "at once"
                                                   : "evenly spread";
        for (const StreamSentence& sentence : burst) {
            name += std::string(" ") + sentence.talker + NameOf(sentence.type);
            name += sentence.every == 1 ? "" : "/" + std::to_string(sentence.every);
        }
        return name + " every " + std::to_string(period) + " ms" +
               (burstBeginsWith ? ", order told" : "");
    }
};

bool IsAlwaysSame(const Scene& scene);

/// From which epoch on the order is known.
int EpochsToLearn(const Scene& scene);

/// What holds whatever happens: no value of another epoch, one sample an epoch, everything counted.
bool IsSound(const Events& events, const Outcome& outcome, const std::string& name);

/// What an epoch that nothing has disturbed must hold.
bool IsComplete(const Scene& scene, const Outcome& outcome, int epoch, bool isLearned,
                const std::string& name);

/// A live sample goes out before the next burst has ended; where the order is known, with the last
/// sentence of its own or, when one without a time stands behind the times, with the pause.
bool IsInTime(const Scene& scene, const Events& events, const Outcome& outcome, int epoch,
              bool isLearned, const std::string& name);

std::size_t PlaceOfEpoch(const Events& events, int epoch);

Events Without(Events events, std::size_t place, std::size_t count);

/// Joins, loses, damages and repeats everywhere in a burst.
///
/// @param lengths how many sentences are lost in one piece.
/// @param losesTwice any two sentences of two neighbouring bursts are lost as well.
void Disturb(const Scene& scene, const std::vector<std::size_t>& lengths, bool losesTwice);

/// Every order of the sentences.
void ForEachOrder(Burst burst, const std::function<void(const Burst&)>& test);

#endif
