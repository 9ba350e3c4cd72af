// Live streams that do not come as they were measured: each sentence somewhat late, passed on in
// pieces by a relay, or one of a burst late again and again. Their pauses must teach no order.

#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "tests/navctl/files/NmeaOracle.h"

namespace {

using T = ENmeaType;

constexpr int kLongStream = 40;

/// Makes sentences late; what comes behind one comes later than it.
///
/// @param delayOf seconds, of an event and its place in the stream.
template <typename Delay>
Events Late(Events events, const Delay& delayOf)
{
    double latest = 0.0;
    for (std::size_t i = 0; i < events.size(); ++i) {
        latest = std::max(latest, *events[i].part.arrival + delayOf(events[i], i));
        events[i].part.arrival = latest;
    }
    return events;
}

/// Passes a stream on in pieces of so many sentences, each when its last one has come.
Events InPieces(Events events, std::size_t size, std::size_t first)
{
    for (std::size_t i = 0; i < events.size();) {
        const std::size_t end = std::min(events.size(), i + (i == 0 && first > 0 ? first : size));
        for (std::size_t k = i; k < end; ++k) {
            events[k].part.arrival = events[end - 1].part.arrival;
        }
        i = end;
    }
    return events;
}

/// Passes on what has come each so many seconds.
Events Polled(const Events& events, double interval, double phase)
{
    return Late(events, [=](const StreamEvent& event, std::size_t) {
        const double arrival = *event.part.arrival;
        return std::ceil((arrival - phase) / interval) * interval + phase - arrival;
    });
}

bool CameInTime(const Outcome& outcome)
{
    const auto& reasons = outcome.leftOut.Reasons();
    return std::none_of(reasons.begin(), reasons.end(), [](const auto& reason) {
        return reason.first.find("after its sample was sent") != std::string::npos;
    });
}

/// No wrong value; and what has a time, or stands between two of one time, is in its sample unless
/// it came too late.
void JudgeUneven(const Scene& scene, const Events& events, const std::string& what)
{
    const std::string name = scene.Name() + ", " + what;
    const Outcome outcome = FeedStream(events, scene.period, scene.burstBeginsWith);
    IsSound(events, outcome, name);
    for (int epoch = 2; CameInTime(outcome) && epoch < kLongStream; ++epoch) {
        if (!IsComplete(scene, outcome, epoch, false, name)) {
            return;
        }
    }
}

/// Feeds every order of some bursts, in bursts and evenly spread, with and without the order given;
/// of the longest bursts each fourth order, and the shortest at two rates.
template <typename Test>
void ForEachScene(const Test& test)
{
    const Burst bursts[] = {{{T::Gga}, {T::Hdt}},
                            {{T::Gga}, {T::Hdt}, {T::Vtg}},
                            {{T::Gga}, {T::Rmc}, {T::Hdt}},
                            {{T::Gga}, {T::Rmc}, {T::Hdt}, {T::Vtg}}};
    std::size_t number = 0;
    for (const Burst& burst : bursts) {
        ForEachOrder(burst, [&test, &number](const Burst& order) {
            if (order.size() > 3 && number++ % 4 != 0) {
                return;
            }
            for (const EPace pace : {EPace::Bursts, EPace::EvenlySpread}) {
                for (const std::int64_t period : {1000, 100}) {
                    if (period == 1000 && order.size() > 2) {
                        continue;
                    }
                    Scene scene{order, period, pace, std::nullopt};
                    // That it is not evenly spread does not make guesses of what pauses show.
                    scene.pace = EPace::Bursts;
                    const Events events = StreamOf(order, kLongStream, period, pace);
                    test(scene, events);
                    scene.burstBeginsWith = order.front().type;
                    test(scene, events);
                }
            }
        });
    }
}

} // namespace

TEST(NmeaArrival, TeachesNoWrongOrderWhenEachSentenceComesUpToAPeriodLate)
{
    std::mt19937 generator(1);
    const auto share = [&generator] { return static_cast<double>(generator() % 1000U) / 1000.0; };
    ForEachScene([&](const Scene& scene, const Events& events) {
        for (const double most : {0.02, 0.05, 0.1, 0.2, 0.35, 0.5, 0.75, 1.0}) {
            const double seconds = most * static_cast<double>(scene.period) / 1000.0;
            const Events late =
                Late(events, [&](const StreamEvent&, std::size_t) { return seconds * share(); });
            JudgeUneven(scene, late, "late by up to " + std::to_string(most));
        }
    });
}

TEST(NmeaArrival, TeachesNoWrongOrderWhenARelayPassesOnPiecesOfAnySize)
{
    ForEachScene([](const Scene& scene, const Events& events) {
        const std::size_t inBurst = scene.burst.size();
        for (std::size_t size = 1; size <= 3 * inBurst; ++size) {
            for (std::size_t first = 0; first < size; ++first) {
                // Pieces that always end at the same place of the burst look like bursts that end
                // there.
                if (inBurst % size != 0 || first == 0) {
                    JudgeUneven(scene, InPieces(events, size, first),
                                "in pieces of " + std::to_string(size) + " from " +
                                    std::to_string(first));
                }
            }
        }
    });
}

TEST(NmeaArrival, TeachesNoWrongOrderWhenARelayPassesOnWhatItHasAtTimesOfItsOwn)
{
    ForEachScene([](const Scene& scene, const Events& events) {
        const double period = static_cast<double>(scene.period) / 1000.0;
        // A relay with the period of the receiver cuts each burst at the same place.
        for (const double interval : {0.15, 0.3, 0.45, 0.7, 0.9, 1.1, 1.3, 1.5, 2.0, 2.5}) {
            for (const double phase : {0.0, 0.17, 0.4, 0.63, 0.85}) {
                JudgeUneven(scene, Polled(events, interval * period, phase * interval * period),
                            "each " + std::to_string(interval) + " periods from " +
                                std::to_string(phase));
            }
        }
    });
}

TEST(NmeaArrival, TeachesNoWrongOrderWhenTheSameSentenceIsLateAgainAndAgain)
{
    ForEachScene([](const Scene& scene, const Events& events) {
        const double period = static_cast<double>(scene.period) / 1000.0;
        for (std::size_t place = 0; place < scene.burst.size(); ++place) {
            for (const double delay : {0.25, 0.4, 0.5, 0.6, 0.75, 0.9}) {
                for (const int alike : {1, 2, 3, 5}) {
                    const Events late = Late(events, [&](const StreamEvent& event, std::size_t i) {
                        const bool isLate = i % scene.burst.size() == place &&
                                            event.epoch % (2 * alike + 5) < alike;
                        return isLate ? delay * period : 0.0;
                    });
                    JudgeUneven(scene, late,
                                std::to_string(alike) + " late by " + std::to_string(delay) +
                                    " at " + std::to_string(place));
                }
            }
        }
    });
}

TEST(NmeaArrival, LearnsTheOrderOfBurstsThatComeALittleUnevenly)
{
    std::mt19937 generator(2);
    ForEachOrder({{T::Hdt}, {T::Gga}, {T::Vtg}}, [&generator](const Burst& order) {
        for (const std::int64_t period : {1000, 100}) {
            const Scene scene{order, period, EPace::Bursts, std::nullopt};
            const Events late = Late(StreamOf(order, kEpochs, period, scene.pace),
                                     [&](const StreamEvent&, std::size_t) {
                                         return static_cast<double>(period) * 2e-8 *
                                                static_cast<double>(generator() % 1000U);
                                     });
            const Outcome outcome = FeedStream(late, period);
            IsSound(late, outcome, scene.Name());
            for (int epoch = EpochsToLearn(scene); epoch < kEpochs; ++epoch) {
                IsComplete(scene, outcome, epoch, true, scene.Name());
            }
        }
    });
}

TEST(NmeaArrival, BelievesPausesAgainSoonAfterOneBurstHasComeLate)
{
    ForEachOrder({{T::Hdt}, {T::Gga}, {T::Vtg}}, [](const Burst& order) {
        const Scene scene{order, 100, EPace::Bursts, std::nullopt};
        const Events late = Late(StreamOf(order, 2 * kEpochs, scene.period, scene.pace),
                                 [](const StreamEvent& event, std::size_t) {
                                     return event.epoch == kDisturbed ? 0.04 : 0.0;
                                 });
        const Outcome outcome = FeedStream(late, scene.period);
        IsSound(late, outcome, scene.Name());
        for (int epoch = kDisturbed + 6; epoch < 2 * kEpochs; ++epoch) {
            IsComplete(scene, outcome, epoch, true, scene.Name());
        }
    });
}

TEST(NmeaArrival, KeepsToTheOrderThatIsToldWhateverPausesSay)
{
    ForEachOrder({{T::Hdt}, {T::Gga}}, [](const Burst& order) {
        const Scene scene{order, 200, EPace::Bursts, order.front().type};
        for (const std::size_t size : {2U, 3U, 5U}) {
            const Events events =
                InPieces(StreamOf(order, kEpochs, scene.period, scene.pace), size, 1);
            const Outcome outcome = FeedStream(events, scene.period, scene.burstBeginsWith);
            IsSound(events, outcome, scene.Name());
            // Not all: a sample may go out before the piece with the rest of its burst comes.
            int headings = 0;
            for (const Outcome::Sent& sent : outcome.sent) {
                headings += ValueOf(T::Hdt, sent.sample) ? 1 : 0;
            }
            EXPECT_GE(headings, kEpochs / 3) << scene.Name() << ", in pieces of " << size;
        }
    });
}

TEST(NmeaArrival, LearnsTheOrderWhenARelayIsTakenAway)
{
    ForEachOrder({{T::Hdt}, {T::Gga}, {T::Vtg}}, [](const Burst& order) {
        const Scene scene{order, 100, EPace::Bursts, std::nullopt};
        Events events = StreamOf(order, 3 * kLongStream, scene.period, scene.pace);
        const std::size_t end = PlaceOfEpoch(events, kLongStream);
        const Events relayed = InPieces(
            Events(events.begin(), events.begin() + static_cast<std::ptrdiff_t>(end)), 5, 0);
        std::copy(relayed.begin(), relayed.end(), events.begin());
        const Outcome outcome = FeedStream(events, scene.period);
        IsSound(events, outcome, scene.Name());
        // The longer the pauses have lied, the longer they are not believed.
        for (int epoch = kLongStream + 70; epoch < 3 * kLongStream; ++epoch) {
            IsComplete(scene, outcome, epoch, true, scene.Name());
        }
    });
}
