#include "tests/navctl/files/NmeaOracle.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace {

using T = ENmeaType;

bool MarksTime(const StreamSentence& sentence)
{
    return HasTime(sentence.type) && sentence.type != T::Pashr && sentence.every == 1;
}

/// Whether a sentence stands between two with a time, so that its epoch is certain at once.
bool IsEnclosed(const Burst& burst, std::size_t place)
{
    const auto here = burst.begin() + static_cast<std::ptrdiff_t>(place);
    return std::any_of(burst.begin(), here, MarksTime) &&
           std::any_of(here + 1, burst.end(), MarksTime);
}

/// Whether sentences without a time stand behind all that have one.
bool EndsWithoutTime(const Burst& burst)
{
    const auto last = std::find_if(burst.rbegin(), burst.rend(), MarksTime);
    return std::any_of(burst.rbegin(), last,
                       [](const StreamSentence& sentence) { return !HasTime(sentence.type); });
}

/// Whether the order was given, by a type that comes once in a burst.
bool TellsItsBeginning(const Scene& scene)
{
    return scene.burstBeginsWith != T::Gsa &&
           std::count_if(scene.burst.begin(), scene.burst.end(),
                         [&scene](const StreamSentence& sentence) {
                             return sentence.type == scene.burstBeginsWith;
                         }) == 1;
}

/// Whether the epoch of a sentence can be found at all.
bool CanBeCertain(const Scene& scene, std::size_t place)
{
    if (HasTime(scene.burst[place].type) || IsEnclosed(scene.burst, place)) {
        return true;
    }
    // A burst may have several lists of satellites, here and there.
    return (scene.burst[place].type != T::Gsa) &&
           (scene.pace == EPace::Bursts || TellsItsBeginning(scene));
}

/// Feeds a stream and judges it.
///
/// @param first,last the epochs that a disturbance touches.
void Judge(const Scene& scene, const Events& events, int first, int last, const std::string& what)
{
    const std::string name = scene.Name() + ", " + what;
    const Outcome outcome = FeedStream(events, scene.period, scene.burstBeginsWith);
    if (!IsSound(events, outcome, name)) {
        return;
    }
    // What comes in every second epoch shows its place half as often.
    const int slower = IsAlwaysSame(scene) ? 1 : 2;
    for (int epoch = 2; epoch < kEpochs; ++epoch) {
        const bool isDisturbed = epoch >= first - 1 && epoch <= last + 1;
        const bool isLearned = epoch >= EpochsToLearn(scene) * slower &&
                               (epoch < first - 1 || epoch > last + kEpochsToLearnAnew * slower);
        if (!isDisturbed && (!IsComplete(scene, outcome, epoch, isLearned, name) ||
                             !IsInTime(scene, events, outcome, epoch, isLearned, name))) {
            return;
        }
    }
}

/// A piece of the stream once more, while the receiver rests.
Events Repeated(Events events, std::size_t place, std::size_t count)
{
    const auto from = events.begin() + static_cast<std::ptrdiff_t>(place);
    Events piece(from, from + static_cast<std::ptrdiff_t>(count));
    const std::optional<double> arrival = piece.back().part.arrival;
    for (StreamEvent& event : piece) {
        event.part.arrival = arrival;
    }
    events.insert(from + static_cast<std::ptrdiff_t>(count), piece.begin(), piece.end());
    return events;
}

} // namespace

bool IsAlwaysSame(const Scene& scene)
{
    return std::all_of(scene.burst.begin(), scene.burst.end(),
                       [](const StreamSentence& sentence) { return sentence.every == 1; });
}

int EpochsToLearn(const Scene& scene)
{
    const bool isByPauses = scene.pace == EPace::Bursts && !TellsItsBeginning(scene);
    return isByPauses ? kEpochsToLearnByPauses : kEpochsToLearn;
}

bool IsSound(const Events& events, const Outcome& outcome, const std::string& name)
{
    std::uint64_t read = 0;
    for (const StreamEvent& event : events) {
        read += event.isDamaged ? 0 : 1;
    }
    bool isSound = true;
    std::vector<int> epochs;
    for (const Outcome::Sent& sent : outcome.sent) {
        const std::string foreign = ForeignValues(sent.sample, sent.epoch);
        if (!foreign.empty()) {
            ADD_FAILURE() << name << ": epoch " << sent.epoch << " holds" << foreign;
            isSound = false;
        }
        if (std::count(epochs.begin(), epochs.end(), sent.epoch) != 0) {
            ADD_FAILURE() << name << ": a second sample of epoch " << sent.epoch;
            isSound = false;
        }
        epochs.push_back(sent.epoch);
    }
    if (read != outcome.sources + outcome.leftOut.Total()) {
        ADD_FAILURE() << name << ": " << read << " read, " << outcome.sources << " in samples, "
                      << outcome.leftOut.Total() << " left out";
        isSound = false;
    }
    return isSound;
}

bool IsComplete(const Scene& scene, const Outcome& outcome, int epoch, bool isLearned,
                const std::string& name)
{
    const Outcome::Sent* const sent = outcome.Find(epoch);
    if (sent == nullptr) {
        ADD_FAILURE() << name << ": no sample of epoch " << epoch;
        return false;
    }
    for (std::size_t i = 0; i < scene.burst.size(); ++i) {
        const ENmeaType type = scene.burst[i].type;
        const bool tells =
            type != T::Zda && type != T::Gll && type != T::Gbs && scene.burst[i].hasFix;
        const bool isAtOnce = HasTime(type) || IsEnclosed(scene.burst, i);
        if (tells && CanBeCertain(scene, i) && (isLearned || isAtOnce) &&
            !ValueOf(type, sent->sample)) {
            ADD_FAILURE() << name << ": epoch " << epoch << " lacks " << NameOf(type);
            return false;
        }
        // A sentence that comes at times may show the order for those between.
        if (tells && IsAlwaysSame(scene) && !CanBeCertain(scene, i) &&
            ValueOf(type, sent->sample)) {
            ADD_FAILURE() << name << ": epoch " << epoch << " guesses " << NameOf(type);
            return false;
        }
    }
    return true;
}

bool IsInTime(const Scene& scene, const Events& events, const Outcome& outcome, int epoch,
              bool isLearned, const std::string& name)
{
    const Outcome::Sent* const sent = outcome.Find(epoch);
    if (scene.pace == EPace::File || sent == nullptr) {
        return true;
    }
    const bool isKnown = isLearned && IsAlwaysSame(scene) && scene.pace == EPace::Bursts;
    const int last = isKnown ? epoch : epoch + 1;
    const bool isByPause = sent->beforeEvent && EndsWithoutTime(scene.burst);
    const std::size_t heard = isByPause ? sent->atEvent - 1 : sent->atEvent;
    const bool isLate = events[std::min(heard, events.size() - 1)].epoch > last;
    if (isLate) {
        ADD_FAILURE() << name << ": epoch " << epoch << " goes out late";
    }
    return !isLate;
}

std::size_t PlaceOfEpoch(const Events& events, int epoch)
{
    const auto found =
        std::find_if(events.begin(), events.end(),
                     [epoch](const StreamEvent& event) { return event.epoch == epoch; });
    return static_cast<std::size_t>(found - events.begin());
}

Events Without(Events events, std::size_t place, std::size_t count)
{
    const auto from = events.begin() + static_cast<std::ptrdiff_t>(place);
    events.erase(from, from + static_cast<std::ptrdiff_t>(count));
    return events;
}

void Disturb(const Scene& scene, const std::vector<std::size_t>& lengths, bool losesTwice)
{
    const Events whole = StreamOf(scene.burst, kEpochs, scene.period, scene.pace);
    Judge(scene, whole, 0, 0, "whole");
    const std::size_t begin = PlaceOfEpoch(whole, kDisturbed);
    for (std::size_t i = 0; i < scene.burst.size(); ++i) {
        const std::string place = " at " + std::to_string(i);
        Judge(scene, Without(whole, 0, i), 0, 1, "joined" + place);
        for (const std::size_t length : lengths) {
            const int last = whole[begin + i + length - 1].epoch;
            const std::string lost = std::to_string(length) + place;
            Judge(scene, Without(whole, begin + i, length), kDisturbed, last, "lost " + lost);
        }
        Events damaged = whole;
        damaged[begin + i].isDamaged = true;
        Judge(scene, damaged, kDisturbed, kDisturbed, "damaged" + place);
        Judge(scene, Repeated(whole, begin, i + 1), kDisturbed, kDisturbed, "repeated to" + place);
        for (std::size_t j = i; losesTwice && j < 2 * scene.burst.size(); ++j) {
            Judge(scene, Without(Without(whole, begin + i, 1), begin + j, 1), kDisturbed,
                  kDisturbed + 1, "lost" + place + " and at " + std::to_string(j));
        }
    }
    const std::size_t two = PlaceOfEpoch(whole, kDisturbed + 2) - begin;
    Judge(scene, Repeated(whole, begin, two), kDisturbed, kDisturbed + 2, "two repeated");
}

void ForEachOrder(Burst burst, const std::function<void(const Burst&)>& test)
{
    std::vector<std::size_t> order(burst.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        order[i] = i;
    }
    do {
        Burst permuted;
        for (const std::size_t place : order) {
            permuted.push_back(burst[place]);
        }
        test(permuted);
    } while (std::next_permutation(order.begin(), order.end()) && !testing::Test::HasFailure());
}
