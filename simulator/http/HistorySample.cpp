#include "simulator/http/HistorySample.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kMillimetres = 1000.0;
constexpr double kTenthsOfMillimetres = 10000.0;
constexpr double kCentimetres = 100.0;
constexpr double kRadians = 10000.0;
constexpr double kHundredths = 100.0;

/// A whole number, the lowest byte first.
template <typename Whole>
void Put(std::string& bytes, double value)
{
    constexpr auto lowest = static_cast<double>(std::numeric_limits<Whole>::lowest());
    constexpr auto highest = static_cast<double>(std::numeric_limits<Whole>::max());
    const double within = std::isnan(value) ? 0.0 : std::clamp(std::round(value), lowest, highest);
    const auto whole = static_cast<std::uint32_t>(static_cast<std::int64_t>(within));
    for (std::size_t byte = 0; byte < sizeof(Whole); ++byte) {
        bytes.push_back(static_cast<char>((whole >> (8 * byte)) & 0xFFU));
    }
}

/// A heading as a part of the whole turn.
void PutHeading(std::string& bytes, double heading)
{
    constexpr double kParts = 65536.0;
    const double part = std::round(NormaliseHeading(heading) / (2.0 * kPi) * kParts);
    Put<std::uint16_t>(bytes, std::fmod(part, kParts));
}

/// The lowest number of its place stands for none.
void PutError(std::string& bytes, const std::optional<double>& metres)
{
    constexpr auto kNone = static_cast<double>(std::numeric_limits<std::int32_t>::lowest());
    Put<std::int32_t>(bytes,
                      metres ? std::max(kNone + 1.0, *metres * kTenthsOfMillimetres) : kNone);
}

void PutBeside(std::string& bytes, const Point& place, const Point& middle)
{
    Put<std::int16_t>(bytes, (place.x - middle.x) * kCentimetres);
    Put<std::int16_t>(bytes, (place.y - middle.y) * kCentimetres);
}

double FlagsOf(const HistorySample& sample)
{
    unsigned flags = static_cast<unsigned>(sample.engageState) & 3U;
    unsigned bit = 4U;
    for (const bool flag :
         {sample.isNavigating, sample.isReverse, sample.isFed, sample.drivesAgainst,
          sample.takesNearestPass, sample.aim.has_value(), sample.guidesImplement}) {
        flags |= flag ? bit : 0U;
        bit <<= 1U;
    }
    return flags;
}

} // namespace

std::string BytesOf(const HistorySample& sample)
{
    std::string bytes;
    bytes.reserve(HistorySample::kBytes);
    Put<std::uint32_t>(bytes, sample.time * kHundredths);
    Put<std::int32_t>(bytes, sample.pose.position.x * kMillimetres);
    Put<std::int32_t>(bytes, sample.pose.position.y * kMillimetres);
    PutHeading(bytes, sample.pose.heading);
    PutHeading(bytes, sample.implementHeading);
    PutBeside(bytes, sample.implement, sample.pose.position);
    Put<std::int16_t>(bytes, sample.speed * kMillimetres);
    Put<std::int16_t>(bytes, sample.speedSetPoint * kMillimetres);
    Put<std::int16_t>(bytes, sample.steeringAngle * kRadians);
    Put<std::int16_t>(bytes, sample.desiredSteeringAngle * kRadians);
    PutError(bytes, sample.crossTrackError);
    PutError(bytes, sample.implementError);
    Put<std::int16_t>(bytes, sample.headingError * kRadians);
    Put<std::int16_t>(bytes, sample.pass);
    Put<std::int32_t>(bytes, sample.nudge * kTenthsOfMillimetres);
    PutBeside(bytes, sample.aim.value_or(sample.pose.position), sample.pose.position);
    Put<std::uint16_t>(bytes, FlagsOf(sample));
    Put<std::uint8_t>(bytes, static_cast<double>(sample.fix));
    Put<std::uint8_t>(bytes, sample.correctionAge);
    Put<std::uint32_t>(bytes, sample.faults);
    return bytes;
}
