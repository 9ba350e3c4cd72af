// Streams whose order changes, and changes back, and kinds that come more often than the times.

#include "tools/navctl/feed/NmeaEpochs.h"

#include <algorithm>
#include <iterator>

#include <gtest/gtest.h>

#include "tests/navctl/files/NmeaOracle.h"

namespace {

using T = ENmeaType;

/// The bursts of one order, some of another one, and the first order again.
void ChangeThereAndBack(const Scene& before, const Burst& after, int epochs)
{
    constexpr int kChanges = 2 * kEpochs;
    const Events first = StreamOf(before.burst, 2 * kChanges, before.period, before.pace);
    const Events second = StreamOf(after, 2 * kChanges, before.period, before.pace);
    Events events;
    for (int epoch = 1; epoch < 2 * kChanges; ++epoch) {
        const bool isChanged = epoch >= kChanges && epoch < kChanges + epochs;
        std::copy_if((isChanged ? second : first).begin(), (isChanged ? second : first).end(),
                     std::back_inserter(events),
                     [epoch](const StreamEvent& event) { return event.epoch == epoch; });
    }
    IsSound(events, FeedStream(events, before.period),
            before.Name() + ", for " + std::to_string(epochs) + " epochs " +
                Scene{after, before.period, before.pace, {}}.Name());
}

/// Of a kind that comes twice as often as the times, those between two times are lost a few times
/// in a row, and then any two sentences.
void LoseOneOfTwo(const Scene& scene, int times)
{
    const Events whole = StreamOf(scene.burst, 2 * kEpochs, scene.period, scene.pace);
    Events events = whole;
    const int end = kDisturbed + 2 * times;
    events.erase(std::remove_if(events.begin(), events.end(),
                                [end](const StreamEvent& event) {
                                    return event.epoch > kDisturbed && event.epoch < end &&
                                           event.epoch % 2 != 0;
                                }),
                 events.end());
    const std::size_t begin = PlaceOfEpoch(events, end);
    for (std::size_t i = begin; i < begin + 6; ++i) {
        for (std::size_t j = i; j < begin + 6; ++j) {
            const Events less = Without(Without(events, i, 1), j, 1);
            IsSound(less, FeedStream(less, scene.period),
                    scene.Name() + ", lost one of two " + std::to_string(times) + " times, then " +
                        std::to_string(i) + " and " + std::to_string(j));
        }
    }
}

} // namespace

TEST(NmeaEpochs, GiveNoValueByAnOrderThatChangesAndChangesBack)
{
    for (const int every : {1, 2, 5, 10}) {
        const Burst burst{{T::Rmc}, {T::Hdt, "GP", true, every}, {T::Gga}};
        ForEachOrder(burst, [&burst](const Burst& before) {
            ForEachOrder(burst, [&before](const Burst& after) {
                const auto isOfPosition = [](const StreamSentence& sentence) {
                    return sentence.type == T::Gga || sentence.type == T::Rmc;
                };
                // Where those with a time keep their order, nothing shows that it has changed.
                if (std::find_if(before.begin(), before.end(), isOfPosition)->type ==
                    std::find_if(after.begin(), after.end(), isOfPosition)->type) {
                    return;
                }
                for (const EPace pace : kPaces) {
                    for (const int epochs : {1, 2, 3, 4, 5, 7, 9, 12, 19}) {
                        ChangeThereAndBack({before, 200, pace, std::nullopt}, after, epochs);
                    }
                }
            });
        });
    }
}

TEST(NmeaEpochs, KnowAKindThatComesTwiceAsOftenWhereOneIsWithinTheBurst)
{
    ForEachOrder({{T::Rmc, "GP", true, 2}, {T::Vtg}, {T::Gga, "GP", true, 2}},
                 [](const Burst& order) {
                     for (const EPace pace : kPaces) {
                         for (int times = 0; times <= 4; ++times) {
                             LoseOneOfTwo({order, 100, pace, std::nullopt}, times);
                         }
                     }
                 });
}
