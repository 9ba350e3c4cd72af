#include "tools/navctl/feed/NmeaEpoch.h"

#include <algorithm>
#include <tuple>

bool IsSame(const NmeaReport& left, const NmeaReport& right)
{
    const auto values = [](const NmeaReport& report) {
        return std::tie(report.day, report.latitude, report.longitude, report.altitude,
                        report.geoidSeparation, report.fixQuality, report.satellites, report.course,
                        report.speed, report.heading, report.roll, report.pitch, report.yawRate,
                        report.sigmaNorth, report.sigmaEast, report.sigmaUp);
    };
    return values(left) == values(right);
}

NmeaKind KindOf(const NmeaSentence& sentence, ENmeaType type, const NmeaReport& report)
{
    const auto character = [&sentence](std::size_t place) -> NmeaKind {
        return place < sentence.talker.size() ? static_cast<unsigned char>(sentence.talker[place])
                                              : 0U;
    };
    return character(0) << 24U | character(1) << 16U | static_cast<NmeaKind>(type) << 8U |
           report.systemId;
}

void NmeaEpoch::Add(const NmeaPart& part)
{
    ++sources;
    const auto known = std::find_if(parts.begin(), parts.end(), [&part](const NmeaPart& other) {
        return other.kind == part.kind && part.type != ENmeaType::Gsa;
    });
    // A burst that is repeated says the same once more; a position counts more than none.
    if (known == parts.end()) {
        parts.push_back(part);
    } else if (!known->report.latitude || part.report.latitude) {
        *known = part;
    }
}

const NmeaPart* NmeaEpoch::Find(NmeaKind kind) const
{
    for (const NmeaPart& part : parts) {
        if (part.kind == kind) {
            return &part;
        }
    }
    return nullptr;
}

bool NmeaEpoch::SaysOtherwise(const NmeaPart& part) const
{
    const NmeaPart* const known = Find(part.kind);
    const bool isFirstPosition =
        known != nullptr && !known->report.latitude && part.report.latitude;
    return known != nullptr && !isFirstPosition && !IsSame(known->report, part.report);
}

bool NmeaEpoch::Awaits(NmeaKind kind) const
{
    return std::any_of(pending.begin(), pending.end(),
                       [kind](const PendingPart& waiting) { return waiting.part.kind == kind; });
}
