// An oracle over what a receiver may send: orders of a burst, rates, places of joining, losses,
// repetitions. Every value in a sentence is the number of its epoch, so that a value in the sample
// of another epoch is seen.

#include "tools/navctl/feed/NmeaEpochs.h"

#include <algorithm>
#include <functional>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "tests/navctl/files/NmeaOracle.h"

namespace {

using T = ENmeaType;

/// Numbers that are the same in every run.
class CDice
{
public:
    explicit CDice(unsigned seed) : m_generator(seed) {}

    /// A number below another one.
    std::size_t Below(std::size_t end) { return m_generator() % end; }

private:
    std::mt19937 m_generator;
};

/// Two to five sentences in any order, one of which at least has a position. They may come at
/// different rates.
Burst AnyBurst(CDice& dice)
{
    static const Burst kOthers{{T::Rmc}, {T::Gst},       {T::Gll},       {T::Zda},       {T::Gbs},
                               {T::Vtg}, {T::Vtg},       {T::Hdt, "HE"}, {T::Rot, "HE"}, {T::Gsa},
                               {T::Gsa}, {T::Ths, "HE"}, {T::Hdg, "HC"}, {T::Pashr}};
    static constexpr int kRates[] = {1, 1, 2, 4};
    const bool isMixed = dice.Below(2) == 0;
    const auto every = [&] { return isMixed ? kRates[dice.Below(4)] : 1; };
    Burst burst{{dice.Below(2) == 0 ? T::Gga : T::Gns, "GP", true, every()}};
    const std::size_t size = 2 + dice.Below(4);
    while (burst.size() < size) {
        StreamSentence other = kOthers[dice.Below(kOthers.size())];
        other.every = every();
        // Each GSA of a burst lists some of the satellites.
        if (other.type == T::Gsa ||
            std::none_of(burst.begin(), burst.end(), [&other](const StreamSentence& sentence) {
                return sentence.type == other.type;
            })) {
            burst.insert(burst.begin() + static_cast<std::ptrdiff_t>(dice.Below(burst.size() + 1)),
                         other);
        }
    }
    return burst;
}

/// Loses some.
///
/// @param most percent.
/// @param losesTimes sentences with a time are lost as well.
void LoseAny(Events& events, std::size_t most, bool losesTimes, CDice& dice)
{
    const std::size_t losses = dice.Below(most + 1);
    events.erase(std::remove_if(events.begin(), events.end(),
                                [&](const StreamEvent& event) {
                                    const bool mayBeLost =
                                        losesTimes || !event.part.report.timeOfDay;
                                    return mayBeLost && dice.Below(100) < losses;
                                }),
                 events.end());
}

bool TellsATime(const Events& piece)
{
    return std::any_of(piece.begin(), piece.end(), [](const StreamEvent& event) {
        return event.part.report.timeOfDay.has_value();
    });
}

/// Whether five times in a row come again, which is a clock that was set back.
bool StartsAnew(const Events& events)
{
    int latest = 0;
    std::set<int> again;
    for (const StreamEvent& event : events) {
        if (!event.part.report.timeOfDay) {
            continue;
        }
        if (event.epoch > latest) {
            again.clear();
        } else {
            again.insert(event.epoch);
        }
        if (again.size() >= 5) {
            return true;
        }
        latest = std::max(latest, event.epoch);
    }
    return false;
}

/// A stream of which up to five pieces of one or two bursts come again, at once or somewhat later.
/// Some of it is lost before, and of what has no time in either copy: that a piece has come again
/// is known by its times alone, so each has one.
Events AnyRepetitionsAndLosses(const Scene& scene, CDice& dice)
{
    constexpr int kEpochsOfPieces = 40;
    Events events = StreamOf(scene.burst, kEpochsOfPieces, scene.period, scene.pace);
    // Where a kind comes twice as often as the times, and each time one of two is lost, it looks as
    // if it came as often as they do.
    const std::size_t mostLost = IsAlwaysSame(scene) ? 20 : 10;
    LoseAny(events, mostLost, true, dice);
    for (std::size_t pieces = 1 + dice.Below(5); pieces > 0;) {
        const std::size_t count = scene.burst.size() + dice.Below(scene.burst.size() + 1);
        const std::size_t later = dice.Below(2) == 0 ? 0 : dice.Below(2 * scene.burst.size());
        const std::size_t place = dice.Below(events.size() - count - later);
        const auto from = events.begin() + static_cast<std::ptrdiff_t>(place);
        const auto to = from + static_cast<std::ptrdiff_t>(count + later);
        Events piece(from, from + static_cast<std::ptrdiff_t>(count));
        for (StreamEvent& event : piece) {
            event.part.arrival = (to - 1)->part.arrival;
        }
        Events longer = events;
        longer.insert(longer.begin() + (to - events.begin()), piece.begin(), piece.end());
        if (TellsATime(piece) && !StartsAnew(longer)) {
            events = std::move(longer);
            --pieces;
        }
    }
    LoseAny(events, mostLost, false, dice);
    return events;
}

/// Loses each sentence, and each two that follow one another.
void LoseEach(const Scene& scene)
{
    const Events whole = StreamOf(scene.burst, kEpochs, scene.period, scene.pace);
    for (std::size_t i = 0; i + 1 < whole.size(); ++i) {
        for (const std::size_t count : {1U, 2U}) {
            const Events events = Without(whole, i, count);
            IsSound(events, FeedStream(events, scene.period, scene.burstBeginsWith),
                    scene.Name() + ", lost " + std::to_string(count) + " at " + std::to_string(i));
        }
    }
}

/// How many values the samples hold.
std::size_t CountValues(const Outcome& outcome)
{
    std::size_t count = 0;
    for (const Outcome::Sent& sent : outcome.sent) {
        for (const ENmeaType type : {T::Gga, T::Rmc, T::Vtg, T::Hdt}) {
            count += ValueOf(type, sent.sample) ? 1 : 0;
        }
    }
    return count;
}

/// Two pieces of a stream, the second of which says again what the first one said last, but for a
/// sentence with a time that only it has.
void RepeatWhatHadLostATime(const Scene& scene, int epoch)
{
    const Events whole = StreamOf(scene.burst, kEpochs, scene.period, scene.pace);
    const std::size_t begin = PlaceOfEpoch(whole, epoch);
    for (std::size_t place = begin; place < begin + scene.burst.size(); ++place) {
        for (std::size_t count = 1; count <= 2 * scene.burst.size(); ++count) {
            for (std::size_t lost = place; lost < place + count; ++lost) {
                if (!HasTime(whole[lost].part.type)) {
                    continue;
                }
                const auto at = [](std::size_t index) {
                    return static_cast<std::ptrdiff_t>(index);
                };
                Events piece(whole.begin() + at(place), whole.begin() + at(place + count));
                for (StreamEvent& event : piece) {
                    event.part.arrival = whole[place + count - 1].part.arrival;
                }
                Events events = whole;
                events.insert(events.begin() + at(place + count), piece.begin(), piece.end());
                events = Without(events, lost, 1);
                IsSound(events, FeedStream(events, scene.period),
                        scene.Name() + ", " + std::to_string(count) + " again at " +
                            std::to_string(place) + ", lost " + std::to_string(lost));
            }
        }
    }
}

/// Moves the times of a stream so that a day begins with the disturbed epoch, loses a sentence
/// there, and judges it.
void JudgeOverMidnight(const Scene& scene, const Events& whole, std::size_t lost)
{
    const Events events = Without(whole, PlaceOfEpoch(whole, kDisturbed - 1) + lost, 1);
    Events moved = events;
    std::int64_t epochs = 0;
    for (StreamEvent& event : moved) {
        std::optional<std::int64_t>& time = event.part.report.timeOfDay;
        if (time) {
            const std::int64_t before = *time;
            const std::int64_t sinceMidnight = (event.epoch - kDisturbed) * scene.period;
            time = (kMillisecondsADay + sinceMidnight) % kMillisecondsADay;
            epochs = (kMillisecondsADay + sinceMidnight - before) / scene.period;
        }
    }
    Outcome outcome = FeedStream(moved, scene.period);
    for (Outcome::Sent& sent : outcome.sent) {
        sent.epoch -= static_cast<int>(epochs);
    }
    const std::string name = scene.Name() + ", over midnight, lost " + std::to_string(lost);
    IsSound(moved, outcome, name);
    for (int epoch = EpochsToLearn(scene); epoch < kEpochs; ++epoch) {
        const bool isDisturbed = epoch >= kDisturbed - 2 && epoch < kDisturbed + 6;
        if (!isDisturbed && !IsComplete(scene, outcome, epoch, true, name)) {
            return;
        }
    }
}

void DisturbAllOrders(const Burst& burst, const std::vector<std::int64_t>& periods,
                      const std::vector<std::size_t>& lengths, bool losesTwice = true)
{
    ForEachOrder(burst, [&](const Burst& order) {
        for (const std::int64_t period : periods) {
            for (const EPace pace : kPaces) {
                Disturb({order, period, pace, std::nullopt}, lengths, losesTwice);
            }
        }
        Disturb({order, periods.front(), EPace::AtOnce, std::nullopt}, lengths, false);
        for (const EPace pace : {EPace::File, EPace::Bursts}) {
            Disturb({order, periods.front(), pace, order.front().type}, lengths, losesTwice);
        }
    });
}

} // namespace

TEST(NmeaEpochs, GiveNoSampleAValueOfAnotherEpochInAnyOrderOfAShortBurstAtAnyRate)
{
    // Up to two bursts and a bit are lost in one piece.
    DisturbAllOrders({{T::Hdt}, {T::Gga}, {T::Vtg}}, {1000, 500, 333, 200, 100, 50},
                     {1, 2, 3, 4, 5, 6, 7}, false);
}

TEST(NmeaEpochs, GiveNoSampleAValueOfAnotherEpochWithTwoTimesInABurst)
{
    DisturbAllOrders({{T::Hdt}, {T::Gga}, {T::Rmc}, {T::Vtg}}, {50}, {1, 2, 3, 4, 5, 9});
}

TEST(NmeaEpochs, GiveNoSampleAValueOfAnotherEpochInALongBurst)
{
    ForEachOrder({{T::Hdt}, {T::Gga}, {T::Gst}, {T::Vtg}, {T::Rot}}, [](const Burst& order) {
        for (const EPace pace : {EPace::File, EPace::Bursts}) {
            Disturb({order, 100, pace, std::nullopt}, {6}, false);
        }
    });
}

TEST(NmeaEpochs, GiveNoSampleAValueOfAnotherEpochWithAnAttitudeThatHasItsOwnTime)
{
    DisturbAllOrders({{T::Pashr}, {T::Gga}, {T::Vtg}}, {1000, 50}, {1, 2, 3, 4});
}

TEST(NmeaEpochs, HoldWhatIsCertainOfEveryHeadingAndOfTheSatellites)
{
    DisturbAllOrders({{T::Gns}, {T::Gsa}, {T::Ths, "HE"}, {T::Gbs}}, {200}, {1, 2, 5}, false);
    DisturbAllOrders({{T::Gns}, {T::Hdg, "HC"}, {T::Rmc}}, {200}, {1, 2, 4}, false);
}

TEST(NmeaEpochs, GoOnOverMidnight)
{
    ForEachOrder({{T::Hdt}, {T::Gga}, {T::Vtg}, {T::Rmc}}, [](const Burst& order) {
        for (const EPace pace : kPaces) {
            const Scene scene{order, 1000, pace, std::nullopt};
            const Events whole = StreamOf(order, kEpochs, scene.period, pace);
            for (std::size_t lost = 0; lost < 3 * order.size(); ++lost) {
                JudgeOverMidnight(scene, whole, lost);
            }
        }
    });
}

TEST(NmeaEpochs, TakeTheTalkerThatHasAFix)
{
    DisturbAllOrders({{T::Gga}, {T::Gga, "GL", false}, {T::Vtg}, {T::Hdt}}, {100}, {});
}

TEST(NmeaEpochs, KeepTheirValuesApartWhenASentenceComesInEverySecondEpoch)
{
    DisturbAllOrders({{T::Hdt}, {T::Gga}, {T::Vtg}, {T::Zda, "GP", true, 2}}, {500}, {1, 2, 3, 4});
}

TEST(NmeaEpochs, GiveNoValueOfATimeThatIsNotTold)
{
    // Heading and speed come twice as often as the position, and one of them is lost.
    ForEachOrder({{T::Hdt}, {T::Gga, "GP", true, 2}, {T::Vtg}, {T::Zda, "GP", true, 2}},
                 [](const Burst& order) {
                     for (const EPace pace : kPaces) {
                         LoseEach({order, 100, pace, std::nullopt});
                         LoseEach({order, 100, pace, order.front().type});
                     }
                 });
}

TEST(NmeaEpochs, LoseNoMoreWithTheOrderToldThanWithoutWhenTheStreamPauses)
{
    ForEachOrder({{T::Vtg}, {T::Rmc}, {T::Gga}, {T::Hdt}}, [](const Burst& order) {
        for (const std::int64_t period : {1000, 100}) {
            const Scene scene{order, period, EPace::Bursts, order.front().type};
            const auto compare = [&scene](const Events& events, const std::string& what) {
                const Outcome told = FeedStream(events, scene.period, scene.burstBeginsWith);
                EXPECT_GE(CountValues(told), CountValues(FeedStream(events, scene.period)))
                    << scene.Name() << ", " << what;
                IsSound(events, told, scene.Name() + ", " + what);
            };
            const Events whole = StreamOf(order, kEpochs, period, scene.pace);
            for (std::size_t i = 0; i < whole.size(); ++i) {
                compare(Without(whole, i, 1), "lost " + std::to_string(i));
            }
            for (unsigned seed = 0; seed < 50; ++seed) {
                CDice dice(seed);
                Events events = StreamOf(order, 5 * kEpochs, period, scene.pace);
                LoseAny(events, 5, true, dice);
                compare(events, "lost any, seed " + std::to_string(seed));
            }
        }
    });
}

TEST(NmeaEpochs, KeepTheOrderWhenOnePauseIsNotClear)
{
    const std::vector<std::optional<ENmeaType>> hints{std::nullopt, T::Rmc};
    for (const std::optional<ENmeaType>& hint : hints) {
        Events events = StreamOf({{T::Rmc}, {T::Gga}, {T::Hdt}}, kEpochs, 1000, EPace::Bursts);
        for (StreamEvent& event : events) {
            if (event.epoch == kDisturbed && event.part.type != T::Rmc) {
                *event.part.arrival += 0.08;
            }
        }
        // With a given order, the sentence that begins the next burst is lost, too.
        const std::size_t begin = PlaceOfEpoch(events, kDisturbed + 1);
        const Outcome outcome = FeedStream(Without(events, begin, hint ? 1 : 0), 1000, hint);
        for (int epoch = kEpochsToLearnByPauses; epoch < kEpochs; ++epoch) {
            const bool isDisturbed = epoch == kDisturbed || epoch == kDisturbed + 1;
            ASSERT_NE(outcome.Find(epoch), nullptr);
            EXPECT_TRUE(isDisturbed || ValueOf(T::Hdt, outcome.Find(epoch)->sample)) << epoch;
        }
    }
}

TEST(NmeaEpochs, PlaceNoListOfSatellitesByAnOrderThatSeveralHave)
{
    ForEachOrder(
        {{T::Gsa, "GP", true, 2}, {T::Gns}, {T::Gsa, "GP", true, 2}, {T::Gll, "GP", true, 4}},
        [](const Burst& order) {
            for (const EPace pace : kPaces) {
                LoseEach({order, 1000, pace, std::nullopt});
                LoseEach({order, 1000, pace, order.front().type});
            }
        });
}

TEST(NmeaEpochs, ComeOutOfAColdStart)
{
    const Burst burst{{T::Hdt}, {T::Gga}, {T::Vtg}, {T::Rmc}};
    ForEachOrder(burst, [&burst](const Burst& order) {
        for (const EPace pace : kPaces) {
            const Scene scene{order, 50, pace, std::nullopt};
            const Events whole = StreamOf(order, 2 * kEpochs, scene.period, pace);
            // The first time may be given by any sentence, and the position come later.
            for (std::size_t cold = 0; cold < 3 * burst.size(); ++cold) {
                Events events = whole;
                for (std::size_t i = 0; i < cold + burst.size(); ++i) {
                    events[i].part.report.latitude.reset();
                    events[i].part.report.longitude.reset();
                    events[i].part.report.fixQuality = 0;
                    if (i < cold) {
                        events[i].part.report.timeOfDay.reset();
                    }
                }
                const std::string name = scene.Name() + ", cold " + std::to_string(cold);
                for (std::size_t lost = cold; cold % 3 == 0 && lost < cold + 8; ++lost) {
                    const Events less = Without(events, lost, 1);
                    IsSound(less, FeedStream(less, scene.period),
                            name + ", lost " + std::to_string(lost));
                }
                const Outcome outcome = FeedStream(events, scene.period);
                IsSound(events, outcome, name);
                for (int epoch = EpochsToLearn(scene) + 4; epoch < kEpochs; ++epoch) {
                    IsComplete(scene, outcome, epoch, true, name);
                }
            }
        }
    });
}

TEST(NmeaEpochs, LearnAnOrderAnewThatChanges)
{
    const Burst burst{{T::Hdt}, {T::Gga}, {T::Vtg}};
    ForEachOrder(burst, [&burst](const Burst& before) {
        ForEachOrder(burst, [&before](const Burst& after) {
            for (const EPace pace : {EPace::Bursts, EPace::EvenlySpread}) {
                Events events = StreamOf(before, 2 * kEpochs, 100, EPace::Bursts);
                const Events changed = StreamOf(after, 2 * kEpochs, 100, pace);
                events = Without(events, events.size() / 2, events.size() / 2);
                events.insert(events.end(),
                              changed.begin() + static_cast<std::ptrdiff_t>(changed.size() / 2),
                              changed.end());
                const Scene scene{after, 100, pace, std::nullopt};
                const std::string name = scene.Name() + " instead";
                const Outcome outcome = FeedStream(events, scene.period);
                IsSound(events, outcome, name);
                for (int epoch = kEpochs + EpochsToLearn(scene); epoch < 2 * kEpochs; ++epoch) {
                    IsComplete(scene, outcome, epoch, true, name);
                }
            }
        });
    });
}

TEST(NmeaEpochs, GiveNoValueByAnOrderThatHasChangedInAFile)
{
    const Burst burst{{T::Gga}, {T::Hdt}, {T::Rmc}, {T::Vtg}};
    ForEachOrder(burst, [&burst](const Burst& before) {
        ForEachOrder(burst, [&before](const Burst& after) {
            Events events = StreamOf(before, 2 * kEpochs, 100, EPace::File);
            events.resize(events.size() / 2);
            // What came in the middle of the burst may not come any more.
            for (std::size_t dropped = 0; dropped <= after.size(); ++dropped) {
                Events both = events;
                const Events changed = StreamOf(after, 2 * kEpochs, 100, EPace::File);
                for (std::size_t i = changed.size() / 2; i < changed.size(); ++i) {
                    if (i % after.size() != dropped) {
                        both.push_back(changed[i]);
                    }
                }
                IsSound(both, FeedStream(both, 100),
                        Scene{before, 100, EPace::File, {}}.Name() + ", then " +
                            Scene{after, 100, EPace::File, {}}.Name() + " without " +
                            std::to_string(dropped));
            }
        });
    });
}

TEST(NmeaEpochs, PlaceASentenceByTheOrderWhereATimeIsLostInAFile)
{
    const Burst burst{{T::Gga}, {T::Hdt}, {T::Rmc}};
    const Events whole = StreamOf(burst, kEpochs, 100, EPace::File);
    const Outcome outcome = FeedStream(Without(whole, PlaceOfEpoch(whole, kDisturbed) + 2, 1), 100);
    ASSERT_NE(outcome.Find(kDisturbed), nullptr);
    EXPECT_EQ(ValueOf(T::Hdt, outcome.Find(kDisturbed)->sample), kDisturbed);
}

TEST(NmeaEpochs, SendTheSamplesOfAReceiverThatAlwaysSaysTheSameAsSoonAsOthers)
{
    ForEachOrder({{T::Hdt}, {T::Gga}, {T::Vtg}, {T::Rmc}}, [](const Burst& order) {
        for (const std::int64_t period : {1000, 200, 100, 50}) {
            for (const EPace pace : {EPace::Bursts, EPace::EvenlySpread}) {
                const Scene scene{order, period, pace, std::nullopt};
                Events events = StreamOf(order, kEpochs, period, pace);
                for (std::size_t i = order.size(); i < events.size(); ++i) {
                    const std::optional<std::int64_t> time = events[i].part.report.timeOfDay;
                    events[i].part.report = events[i - order.size()].part.report;
                    events[i].part.report.timeOfDay = time;
                }
                const Outcome outcome = FeedStream(events, period);
                for (int epoch = 2; epoch < kEpochs; ++epoch) {
                    ASSERT_NE(outcome.Find(epoch), nullptr) << scene.Name() << epoch;
                    IsInTime(scene, events, outcome, epoch, epoch >= EpochsToLearn(scene),
                             scene.Name());
                }
            }
        }
    });
}

TEST(NmeaEpochs, KeepToTheFirstOfWhatComesWithATimeThatStandsStill)
{
    ForEachOrder({{T::Hdt}, {T::Gga}, {T::Rmc}, {T::Vtg}}, [](const Burst& order) {
        for (const EPace pace : kPaces) {
            Events events = StreamOf(order, kEpochs, 100, pace);
            for (StreamEvent& event : events) {
                const bool stands = event.epoch > kDisturbed && event.epoch <= kDisturbed + 3;
                if (stands && event.part.report.timeOfDay) {
                    event.part.report.timeOfDay =
                        *event.part.report.timeOfDay - (event.epoch - kDisturbed) * 100;
                }
            }
            IsSound(events, FeedStream(events, 100),
                    Scene{order, 100, pace, {}}.Name() + ", time stands");
        }
    });
}

TEST(NmeaEpochs, GiveNoSampleAValueOfAnotherEpochWhenPiecesComeAgainAndSentencesAreLost)
{
    for (unsigned seed = 0; seed < 3000; ++seed) {
        CDice dice(seed);
        const Burst burst = AnyBurst(dice);
        const std::int64_t period = dice.Below(2) == 0 ? 1000 : 50;
        for (const EPace pace : {EPace::File, EPace::AtOnce, EPace::Bursts, EPace::EvenlySpread}) {
            Scene scene{burst, period, pace, std::nullopt};
            if (dice.Below(2) == 0) {
                scene.burstBeginsWith = burst.front().type;
            }
            const Events events = AnyRepetitionsAndLosses(scene, dice);
            IsSound(events, FeedStream(events, period, scene.burstBeginsWith),
                    scene.Name() + ", seed " + std::to_string(seed));
        }
    }
}

TEST(NmeaEpochs, GiveNoValueOfAPieceThatComesAgainAndHadLostATime)
{
    for (const Burst& burst : {Burst{{T::Hdt}, {T::Gll}, {T::Gga}, {T::Rmc}},
                               Burst{{T::Gsa}, {T::Gga}, {T::Rmc}, {T::Vtg}}}) {
        ForEachOrder(burst, [](const Burst& order) {
            for (const EPace pace :
                 {EPace::File, EPace::AtOnce, EPace::Bursts, EPace::EvenlySpread}) {
                for (const int epoch : {2, kDisturbed}) {
                    RepeatWhatHadLostATime({order, 200, pace, std::nullopt}, epoch);
                }
            }
        });
    }
}
