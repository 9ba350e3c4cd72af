#include "tests/navctl/files/NmeaStream.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

namespace {

constexpr std::int64_t kStart = 3600000;
constexpr int kMostSatellites = 12;

/// How many satellites GSA lists, all of them of this epoch alone.
int SatellitesOf(int epoch)
{
    return 1 + epoch % kMostSatellites;
}

NmeaPart PartOf(const StreamSentence& sentence, int epoch, std::int64_t period)
{
    const double value = epoch;
    NmeaPart part;
    part.type = sentence.type;
    if (HasTime(sentence.type)) {
        part.report.timeOfDay = kStart + epoch * period;
    }
    switch (sentence.type) {
    case ENmeaType::Gga:
    case ENmeaType::Gns:
        part.report.latitude = value / 1000.0;
        part.report.longitude = value / 1000.0;
        part.report.altitude = value;
        part.report.geoidSeparation = 0.0;
        part.report.fixQuality = sentence.hasFix ? 4 : 0;
        part.report.satellites = 0;
        if (!sentence.hasFix) {
            part.report.altitude.reset();
            part.report.satellites.reset();
        }
        break;
    case ENmeaType::Gst:
        part.report.sigmaNorth = part.report.sigmaEast = part.report.sigmaUp = value;
        break;
    case ENmeaType::Pashr:
        part.report.roll = part.report.pitch = value;
        break;
    case ENmeaType::Rmc:
        part.report.speed = value;
        [[fallthrough]];
    case ENmeaType::Gll:
        part.report.latitude = value / 1000.0;
        part.report.longitude = value / 1000.0;
        part.report.fixQuality = 4;
        break;
    case ENmeaType::Gsa:
        for (int i = 0; i < SatellitesOf(epoch); ++i) {
            part.report.satelliteIds[static_cast<std::size_t>(i)] =
                static_cast<std::uint16_t>(kMostSatellites * epoch + i + 1);
        }
        break;
    case ENmeaType::Vtg:
        part.report.course = value;
        break;
    case ENmeaType::Hdt:
    case ENmeaType::Ths:
    case ENmeaType::Hdg:
        part.report.heading = value;
        break;
    case ENmeaType::Rot:
        part.report.yawRate = value;
        break;
    default:
        break;
    }
    NmeaSentence named;
    named.talker = sentence.talker;
    part.kind = KindOf(named, part.type, part.report);
    return part;
}

} // namespace

std::vector<StreamEvent> StreamOf(const Burst& burst, int epochs, std::int64_t period, EPace pace)
{
    std::vector<StreamEvent> events;
    for (int epoch = 1; epoch <= epochs; ++epoch) {
        Burst now;
        std::copy_if(
            burst.begin(), burst.end(), std::back_inserter(now),
            [epoch](const StreamSentence& sentence) { return epoch % sentence.every == 0; });
        for (std::size_t i = 0; i < now.size(); ++i) {
            StreamEvent event;
            event.epoch = epoch;
            event.part = PartOf(now[i], epoch, period);
            if (pace != EPace::File) {
                const double share = static_cast<double>(i) / static_cast<double>(now.size());
                const double within = pace == EPace::Bursts ? share / 3.0 : share;
                event.part.arrival = (epoch + within) * static_cast<double>(period) / 1000.0;
            }
            if (pace == EPace::AtOnce) {
                event.part.arrival = 1e-5 * static_cast<double>(events.size());
            }
            events.push_back(event);
        }
    }
    return events;
}

const Outcome::Sent* Outcome::Find(int epoch) const
{
    for (const Sent& one : sent) {
        if (one.epoch == epoch) {
            return &one;
        }
    }
    return nullptr;
}

Outcome FeedStream(const std::vector<StreamEvent>& events, std::int64_t period,
                   std::optional<ENmeaType> burstBeginsWith)
{
    Outcome outcome;
    std::deque<PositionSample> samples;
    NmeaEpochOptions options;
    options.burstBeginsWith = burstBeginsWith;
    CNmeaEpochs epochs(options, samples, outcome.leftOut);
    const auto collect = [&](std::size_t event, bool before) {
        for (const PositionSample& sample : samples) {
            const double number = (*sample.time * 1000.0 - kStart) / static_cast<double>(period);
            outcome.sources += sample.sources;
            outcome.sent.push_back({sample, static_cast<int>(std::lround(number)), event, before});
        }
        samples.clear();
    };
    for (std::size_t i = 0; i < events.size(); ++i) {
        const StreamEvent& event = events[i];
        if (event.part.arrival) {
            const std::optional<double> endsAt = epochs.EndsAt();
            if (endsAt && *endsAt < *event.part.arrival) {
                epochs.EndAtPause();
            }
            collect(i, true);
            epochs.Hear(*event.part.arrival);
        }
        if (!event.isDamaged) {
            NmeaPart part = event.part;
            part.line = i + 1;
            epochs.Add(part);
        }
        collect(i, false);
    }
    epochs.Flush();
    collect(events.size(), true);
    return outcome;
}

std::optional<int> ValueOf(ENmeaType type, const PositionSample& sample)
{
    std::optional<double> value;
    switch (type) {
    case ENmeaType::Gga:
    case ENmeaType::Gns:
        value = sample.height;
        break;
    case ENmeaType::Gsa:
        if (sample.satellites.value_or(0) > 0) {
            value = *sample.satellites;
        }
        break;
    case ENmeaType::Gst:
        value = sample.sigmaUp;
        break;
    case ENmeaType::Pashr:
        value = sample.roll;
        break;
    case ENmeaType::Rmc:
        value = sample.speed;
        break;
    case ENmeaType::Vtg:
        value = sample.course;
        break;
    case ENmeaType::Hdt:
    case ENmeaType::Ths:
    case ENmeaType::Hdg:
        value = sample.yaw;
        break;
    case ENmeaType::Rot:
        value = sample.yawRate;
        break;
    default:
        break;
    }
    return value ? std::optional(static_cast<int>(std::lround(*value))) : std::nullopt;
}

std::string ForeignValues(const PositionSample& sample, int epoch)
{
    std::string foreign;
    for (const ENmeaType type : {ENmeaType::Gga, ENmeaType::Gst, ENmeaType::Pashr, ENmeaType::Rmc,
                                 ENmeaType::Vtg, ENmeaType::Hdt, ENmeaType::Rot}) {
        const std::optional<int> value = ValueOf(type, sample);
        if (value && *value != epoch) {
            foreign += std::string(" ") + NameOf(type) + " of " + std::to_string(*value);
        }
    }
    if (std::lround(sample.latitude * 1000.0) != epoch ||
        std::lround(sample.longitude * 1000.0) != epoch) {
        foreign += " position";
    }
    if (sample.satellites.value_or(0) != 0 && *sample.satellites != SatellitesOf(epoch)) {
        foreign += " satellites";
    }
    return foreign;
}
