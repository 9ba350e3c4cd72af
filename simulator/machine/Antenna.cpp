#include "simulator/machine/Antenna.h"

#include <cmath>

namespace {

constexpr std::uint64_t kInclinometerStream = 7;
constexpr double kWhite = Radians(0.1);
constexpr double kDrift = Radians(0.05);
constexpr double kDriftSeconds = 60.0;

} // namespace

Point AntennaOffset(const AntennaMount& mount, const Attitude& attitude)
{
    const double sinRoll = std::sin(attitude.roll);
    const double cosRoll = std::cos(attitude.roll);
    const double sinPitch = std::sin(attitude.pitch);
    const double cosPitch = std::cos(attitude.pitch);
    return {mount.right * cosRoll + mount.up * sinRoll,
            mount.ahead * cosPitch + (mount.right * sinRoll - mount.up * cosRoll) * sinPitch};
}

CInclinometer::CInclinometer(std::uint64_t seed, double sampleSeconds)
    : m_random(seed, kInclinometerStream), m_rollDrift(kDrift, kDriftSeconds, sampleSeconds),
      m_pitchDrift(kDrift, kDriftSeconds, sampleSeconds)
{
}

Attitude CInclinometer::Measure(const Attitude& truth)
{
    if (truth.roll == 0.0 && truth.pitch == 0.0) {
        return truth;
    }
    // A statement a draw: within one, the compiler could choose their order.
    const double rollDrift = m_rollDrift.Next(m_random);
    const double rollNoise = kWhite * m_random.Gaussian();
    const double pitchDrift = m_pitchDrift.Next(m_random);
    const double pitchNoise = kWhite * m_random.Gaussian();
    return {truth.roll + rollDrift + rollNoise, truth.pitch + pitchDrift + pitchNoise};
}

Pose ReferenceOf(const Pose& antenna, const AntennaMount& mount, const Attitude& attitude)
{
    const Point offset = AntennaOffset(mount, attitude);
    return {Moved(antenna.position, antenna.heading, -offset.y, -offset.x), antenna.heading};
}

Pose AntennaOf(const Pose& reference, const AntennaMount& mount, const Attitude& attitude)
{
    const Point offset = AntennaOffset(mount, attitude);
    return {Moved(reference.position, reference.heading, offset.y, offset.x), reference.heading};
}
