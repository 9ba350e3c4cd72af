#include <algorithm>
#include <tuple>

#include "tools/navctl/feed/NmeaEpochs.h"

namespace {

using Parts = std::vector<NmeaPart>;

NmeaKind TalkerOf(const NmeaPart& part)
{
    return part.kind >> 16U;
}

/// A talker's two letters as in a kind.
constexpr NmeaKind kCombined = static_cast<NmeaKind>('G') << 8U | static_cast<NmeaKind>('N');

bool HasFix(const NmeaPart& part)
{
    return part.report.fixQuality.value_or(0) > 0;
}

/// Several talkers may tell the same: one with a fix counts most, then the combined solution of all
/// systems, then the one of the most satellites.
bool IsBetter(const NmeaPart& part, const NmeaPart& other)
{
    const auto merits = [](const NmeaPart& judged) {
        const bool hasPlace = judged.report.latitude.has_value();
        return std::make_tuple(hasPlace && HasFix(judged), hasPlace, TalkerOf(judged) == kCombined,
                               judged.report.satellites.value_or(0));
    };
    return merits(part) > merits(other);
}

const NmeaPart* Best(const Parts& parts, ENmeaType type)
{
    const NmeaPart* best = nullptr;
    for (const NmeaPart& part : parts) {
        if (part.type == type && (best == nullptr || IsBetter(part, *best))) {
            best = &part;
        }
    }
    return best;
}

bool MayContradict(const NmeaPart& part, const NmeaPart& place)
{
    return TalkerOf(part) == TalkerOf(place) || TalkerOf(part) == kCombined ||
           TalkerOf(place) == kCombined;
}

constexpr ENmeaType kPlaces[] = {ENmeaType::Gga, ENmeaType::Gns, ENmeaType::Rmc, ENmeaType::Gll};

/// The part that tells the place: of the first type that does. One without a fix stands back behind
/// one with a fix of another talker.
const NmeaPart* PlaceOf(const Parts& parts)
{
    const NmeaPart* place = nullptr;
    for (const ENmeaType type : kPlaces) {
        const NmeaPart* const best = Best(parts, type);
        if (best == nullptr || !best->report.latitude) {
            continue;
        }
        if (place == nullptr ||
            (!HasFix(*place) && HasFix(*best) && !MayContradict(*best, *place))) {
            place = best;
        }
    }
    return place;
}

/// Whether any of what the receiver says of the place denies it.
bool IsValid(const Parts& parts, const NmeaPart& place)
{
    return HasFix(place) &&
           std::none_of(std::begin(kPlaces), std::end(kPlaces), [&](ENmeaType type) {
               const NmeaPart* const best = Best(parts, type);
               return best != nullptr && !HasFix(*best) && MayContradict(*best, place);
           });
}

/// Some receivers tell twelve satellites at most as the number in use, but list them all; and where
/// each system has a GNS or a GGA of its own, each counts its own satellites.
std::optional<int> Satellites(const Parts& parts, const NmeaPart& place)
{
    std::vector<std::uint32_t> listed;
    int byGns = 0;
    int byGga = 0;
    for (const NmeaPart& part : parts) {
        const bool isOfOneSystem = TalkerOf(part) != kCombined;
        if (part.type == ENmeaType::Gns && isOfOneSystem) {
            byGns += part.report.satellites.value_or(0);
        } else if (part.type == ENmeaType::Gga && isOfOneSystem && HasFix(part)) {
            byGga += part.report.satellites.value_or(0);
        }
        for (const std::uint16_t id : part.report.satelliteIds) {
            // Without a system's number, the talker tells the system.
            const std::uint32_t system =
                part.report.systemId > 0 ? part.report.systemId : TalkerOf(part) & 0xFFU;
            if (id > 0) {
                listed.push_back(system << 16U | id);
            }
        }
    }
    std::sort(listed.begin(), listed.end());
    listed.erase(std::unique(listed.begin(), listed.end()), listed.end());
    // The combined solution has counted all of them.
    byGga = TalkerOf(place) == kCombined ? 0 : byGga;
    const int counted = std::max({byGns, byGga, static_cast<int>(listed.size())});
    const std::optional<int> told = place.report.satellites;
    return told || counted > 0 ? std::optional(std::max(told.value_or(0), counted)) : std::nullopt;
}

/// Above the ellipsoid: altitude and geoid separation of one sentence together.
std::optional<double> Height(const Parts& parts, const NmeaPart& place)
{
    for (const NmeaPart* part :
         {&place, Best(parts, ENmeaType::Gga), Best(parts, ENmeaType::Gns)}) {
        if (part != nullptr && part->report.altitude && part->report.geoidSeparation) {
            return *part->report.altitude + *part->report.geoidSeparation;
        }
    }
    return std::nullopt;
}

/// Takes a value from the first part of a type that tells it.
template <typename Value>
void Fill(std::optional<Value>& value, const Parts& parts, ENmeaType type,
          std::optional<Value> NmeaReport::*source)
{
    for (const NmeaPart& part : parts) {
        if (!value && part.type == type) {
            value = part.report.*source;
        }
    }
}

void AddMovement(PositionSample& sample, const Parts& parts)
{
    const NmeaPart* const rmc = Best(parts, ENmeaType::Rmc);
    if (rmc != nullptr && HasFix(*rmc)) {
        sample.course = rmc->report.course;
        sample.speed = rmc->report.speed;
    }
    Fill(sample.course, parts, ENmeaType::Vtg, &NmeaReport::course);
    Fill(sample.speed, parts, ENmeaType::Vtg, &NmeaReport::speed);
    for (const ENmeaType type :
         {ENmeaType::Hdt, ENmeaType::Ths, ENmeaType::Pashr, ENmeaType::Hdg}) {
        Fill(sample.yaw, parts, type, &NmeaReport::heading);
    }
    Fill(sample.roll, parts, ENmeaType::Pashr, &NmeaReport::roll);
    Fill(sample.pitch, parts, ENmeaType::Pashr, &NmeaReport::pitch);
    Fill(sample.yawRate, parts, ENmeaType::Rot, &NmeaReport::yawRate);
}

} // namespace

bool HasPosition(const Parts& parts)
{
    return PlaceOf(parts) != nullptr;
}

std::optional<PositionSample> SampleOf(const Parts& parts)
{
    const NmeaPart* const place = PlaceOf(parts);
    if (place == nullptr) {
        return std::nullopt;
    }
    PositionSample sample;
    sample.latitude = *place->report.latitude;
    sample.longitude = *place->report.longitude;
    sample.height = Height(parts, *place);
    sample.fixQuality = place->report.fixQuality.value_or(0);
    sample.satellites = Satellites(parts, *place);
    sample.positionValid = IsValid(parts, *place);
    for (const auto& [value, source] :
         {std::pair(&PositionSample::sigmaNorth, &NmeaReport::sigmaNorth),
          std::pair(&PositionSample::sigmaEast, &NmeaReport::sigmaEast),
          std::pair(&PositionSample::sigmaUp, &NmeaReport::sigmaUp)}) {
        Fill(sample.*value, parts, ENmeaType::Gst, source);
    }
    AddMovement(sample, parts);
    return sample;
}
