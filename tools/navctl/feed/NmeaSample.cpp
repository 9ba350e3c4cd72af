#include <algorithm>
#include <set>
#include <tuple>

#include "tools/navctl/feed/NmeaEpochs.h"

namespace {

using Parts = std::vector<NmeaPart>;

NmeaKind TalkerOf(const NmeaPart& part)
{
    return part.kind >> 16U;
}

/// A talker's two letters as in a kind.
constexpr NmeaKind Talker(const char* letters)
{
    return static_cast<NmeaKind>(letters[0]) << 8U | static_cast<NmeaKind>(letters[1]);
}

constexpr NmeaKind kCombined = Talker("GN");

constexpr ENmeaType kPlaces[] = {ENmeaType::Gga, ENmeaType::Gns, ENmeaType::Rmc, ENmeaType::Gll};

/// Whether the place was measured: it is not where positions are reckoned on (6), entered by hand
/// (7) or simulated (8).
bool HasFix(const NmeaPart& part)
{
    const int quality = part.report.fixQuality.value_or(0);
    return quality > 0 && (quality < 6 || quality > 8);
}

/// Whether a sentence reports a fix that none of its talker's other ones denies. What another
/// talker does not see says nothing of it.
bool IsUndenied(const Parts& parts, const NmeaPart& place)
{
    return HasFix(place) &&
           std::none_of(parts.begin(), parts.end(), [&place](const NmeaPart& part) {
               const bool tellsFix = std::find(std::begin(kPlaces), std::end(kPlaces), part.type) !=
                                     std::end(kPlaces);
               return tellsFix && TalkerOf(part) == TalkerOf(place) && !HasFix(part);
           });
}

/// The best sentence of a type. Several talkers may report the same: one with a fix counts most,
/// then the combined solution of all systems, then the one of the most satellites.
const NmeaPart* Best(const Parts& parts, ENmeaType type)
{
    const auto merits = [&parts](const NmeaPart& judged) {
        const bool hasPlace = judged.report.latitude.has_value();
        return std::make_tuple(hasPlace && IsUndenied(parts, judged), hasPlace && HasFix(judged),
                               hasPlace, TalkerOf(judged) == kCombined,
                               judged.report.satellites.value_or(0));
    };
    const NmeaPart* best = nullptr;
    for (const NmeaPart& part : parts) {
        if (part.type == type && (best == nullptr || merits(part) > merits(*best))) {
            best = &part;
        }
    }
    return best;
}

/// The part that gives the place: of the first type that does. One without a fix, or whose talker
/// contradicts itself, stands back behind one with a fix.
const NmeaPart* PlaceOf(const Parts& parts)
{
    const NmeaPart* place = nullptr;
    for (const ENmeaType type : kPlaces) {
        const NmeaPart* const best = Best(parts, type);
        if (best == nullptr || !best->report.latitude) {
            continue;
        }
        if (place == nullptr || (!IsUndenied(parts, *place) && IsUndenied(parts, *best))) {
            place = best;
        }
    }
    return place;
}

/// The number of the system whose satellites a GSA lists: its own, or that of the talker; 0 where
/// it is the combined solution's, which does not say.
std::uint32_t SystemOf(const NmeaPart& part)
{
    if (part.report.systemId > 0) {
        return part.report.systemId;
    }
    if (TalkerOf(part) == kCombined) {
        return 0;
    }
    constexpr std::pair<const char*, std::uint32_t> kSystems[] = {
        {"GP", 1}, {"GL", 2}, {"GA", 3}, {"GB", 4}, {"BD", 4}, {"GQ", 5}, {"QZ", 5}, {"GI", 6}};
    for (const auto& [name, system] : kSystems) {
        if (TalkerOf(part) == Talker(name)) {
            return system;
        }
    }
    return TalkerOf(part);
}

/// How many satellites all GSA list. What one without a system lists again is not another
/// satellite.
int CountListed(const Parts& parts)
{
    std::set<std::pair<std::uint32_t, std::uint16_t>> listed;
    std::set<std::uint16_t> withSystem;
    std::set<std::uint16_t> without;
    for (const NmeaPart& part : parts) {
        const std::uint32_t system = SystemOf(part);
        for (const std::uint16_t id : part.report.satelliteIds) {
            if (id > 0 && system > 0) {
                listed.emplace(system, id);
                withSystem.insert(id);
            } else if (id > 0) {
                without.insert(id);
            }
        }
    }
    const auto others = std::count_if(without.begin(), without.end(),
                                      [&](std::uint16_t id) { return withSystem.count(id) == 0; });
    return static_cast<int>(listed.size()) + static_cast<int>(others);
}

/// Some receivers give twelve satellites at most as the number in use, but list them all; and where
/// each system has a GNS or a GGA of its own, each counts its own satellites.
std::optional<int> Satellites(const Parts& parts, const NmeaPart& place)
{
    int byGns = 0;
    int byGga = 0;
    for (const NmeaPart& part : parts) {
        const bool isOfOneSystem = TalkerOf(part) != kCombined;
        if (part.type == ENmeaType::Gns && isOfOneSystem) {
            byGns += part.report.satellites.value_or(0);
        } else if (part.type == ENmeaType::Gga && isOfOneSystem && HasFix(part)) {
            byGga += part.report.satellites.value_or(0);
        }
    }
    // The combined solution has counted all of them.
    byGga = TalkerOf(place) == kCombined ? 0 : byGga;
    const int counted = std::max({byGns, byGga, CountListed(parts)});
    const std::optional<int> told = place.report.satellites;
    return told || counted > 0 ? std::optional(std::max(told.value_or(0), counted)) : std::nullopt;
}

/// Above the ellipsoid: altitude and geoid separation of one sentence together.
std::optional<double> Height(const Parts& parts, const NmeaPart& place)
{
    for (const NmeaPart* part :
         {&place, Best(parts, ENmeaType::Gga), Best(parts, ENmeaType::Gns)}) {
        // One without a fix does not show how high another one's is.
        const bool counts = part != nullptr && (HasFix(*part) || !HasFix(place));
        if (counts && part->report.altitude && part->report.geoidSeparation) {
            return *part->report.altitude + *part->report.geoidSeparation;
        }
    }
    return std::nullopt;
}

/// Takes a value from the first part of a type that gives it.
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
    sample.positionValid = IsUndenied(parts, *place);
    for (const auto& [value, source] :
         {std::pair(&PositionSample::sigmaNorth, &NmeaReport::sigmaNorth),
          std::pair(&PositionSample::sigmaEast, &NmeaReport::sigmaEast),
          std::pair(&PositionSample::sigmaUp, &NmeaReport::sigmaUp)}) {
        Fill(sample.*value, parts, ENmeaType::Gst, source);
    }
    AddMovement(sample, parts);
    return sample;
}
