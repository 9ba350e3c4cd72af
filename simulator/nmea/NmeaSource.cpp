#include "simulator/nmea/NmeaSource.h"

#include <cmath>
#include <tuple>
#include <utility>
#include <vector>

#include <GeographicLib/LocalCartesian.hpp>

namespace {

constexpr std::uint64_t kNmeaStream = 9;
/// Moments between two of the simulation's own begin with this rate.
constexpr int kDoubleRate = 20;
/// Below that the course over ground is not known, metres per second.
constexpr double kLeastCourseSpeed = 0.05;
constexpr double kTolerance = 1e-6;

bool IsWhole(double number)
{
    return std::abs(number - std::round(number)) < kTolerance;
}

bool IsSame(const GeodeticPlace& one, const GeodeticPlace& other)
{
    return std::tie(one.latitude, one.longitude, one.height) ==
           std::tie(other.latitude, other.longitude, other.height);
}

bool HasCorrection(EFix fix)
{
    return fix != EFix::None && fix != EFix::Single;
}

} // namespace

/// The local frame at its place on the earth.
class CNmeaSource::CFrame
{
public:
    explicit CFrame(const GeodeticPlace& origin)
        : m_frame(origin.latitude, origin.longitude, origin.height)
    {
    }

    /// Fills in the place, and turns the directions to where north is there.
    void Place(const Point& local, NmeaMoment& moment) const
    {
        std::vector<double> rotation(9);
        m_frame.Reverse(local.x, local.y, 0.0, moment.place.latitude, moment.place.longitude,
                        moment.place.height, rotation);
        for (std::optional<double>* const direction : {&moment.course, &moment.heading}) {
            if (*direction) {
                const Point along = Along(**direction);
                *direction = std::atan2(rotation[0] * along.x + rotation[3] * along.y,
                                        rotation[1] * along.x + rotation[4] * along.y);
            }
        }
    }

private:
    GeographicLib::LocalCartesian m_frame;
};

CNmeaSource::CNmeaSource(int rate, const GeodeticPlace& origin, std::uint64_t seed, Sink sink)
    : m_rate(rate), m_random(seed, kNmeaStream), m_sink(std::move(sink)), m_origin(origin),
      m_frame(std::make_unique<CFrame>(origin))
{
}

CNmeaSource::~CNmeaSource() = default;

void CNmeaSource::Look(const CSimulation& world, const std::optional<GeodeticPlace>& setOrigin)
{
    if (setOrigin && !IsSame(*setOrigin, m_origin)) {
        m_origin = *setOrigin;
        m_frame = std::make_unique<CFrame>(m_origin);
    }
    LookAtMovement(world);
    if (m_rate == kDoubleRate && m_hasBefore) {
        TellWhatLiesBetween(world);
    }
    if (world.ControlRan()) {
        TellWhatWasMeasured(world);
    }
    TellWhatIsDue(world.Time());
    m_before = world.TruePose();
    m_hasBefore = true;
}

void CNmeaSource::LookAtMovement(const CSimulation& world)
{
    m_course.reset();
    m_yawRate.reset();
    const Pose now = world.TruePose();
    const bool isFed = world.FedMode(); // a fed machine jumps from sample to sample
    if (std::abs(world.Speed()) >= kLeastCourseSpeed) {
        const double forward = now.heading + (world.Speed() < 0.0 ? kPi : 0.0);
        const Point way{now.position.x - m_before.position.x, now.position.y - m_before.position.y};
        m_course = isFed || !m_hasBefore ? forward : std::atan2(way.x, way.y);
    }
    if (!isFed && m_hasBefore) {
        m_yawRate = NormaliseTurn(now.heading - m_before.heading) / CSimulation::kStepSeconds;
    }
}

NmeaMoment CNmeaSource::MomentOf(const CSimulation& world, double time, const Pose& pose) const
{
    const ReceiverReport report = world.Reported();
    NmeaMoment moment;
    moment.unixMilliseconds = kNmeaStartSeconds * 1000 + std::llround(time * 1000.0);
    moment.fix = report.fix;
    if (HasCorrection(report.fix)) {
        moment.correctionAge = report.correctionAge;
    }
    moment.speed = std::abs(world.Speed());
    moment.course = m_course;
    if (report.fix != EFix::None) {
        moment.heading = pose.heading;
    }
    moment.yawRate = m_yawRate;
    moment.roll = report.roll;
    moment.pitch = report.pitch;
    moment.positionSigma = std::hypot(report.accuracy.white, report.accuracy.drift);
    moment.headingSigma = report.accuracy.heading;
    m_frame->Place(pose.position, moment);
    return moment;
}

void CNmeaSource::TellWhatWasMeasured(const CSimulation& world)
{
    const ReceiverReport report = world.Reported();
    const double measuredAt = world.Time() - report.latency;
    if (report.isNew && IsWhole(measuredAt * m_rate)) {
        m_late.push_back({world.Time(), MomentOf(world, measuredAt, world.MeasuredPose())});
    }
}

void CNmeaSource::TellWhatLiesBetween(const CSimulation& world)
{
    const double now = world.Time();
    const double then = now - CSimulation::kStepSeconds;
    const double time = std::floor(now * kDoubleRate + kTolerance) / kDoubleRate;
    const bool isBetween = !IsWhole(time * kDoubleRate / 2.0);
    if (!isBetween || time <= then + kTolerance || time > now + kTolerance) {
        return;
    }
    const double part = (time - then) / CSimulation::kStepSeconds;
    const Pose truth = world.TruePose();
    const ReceiverReport report = world.Reported();
    const auto mixed = [part](double from, double to) { return from + part * (to - from); };
    Pose pose;
    pose.position.x = mixed(m_before.position.x, truth.position.x) + report.lasting.x;
    pose.position.x += report.accuracy.white * m_random.Gaussian();
    pose.position.y = mixed(m_before.position.y, truth.position.y) + report.lasting.y;
    pose.position.y += report.accuracy.white * m_random.Gaussian();
    pose.heading = m_before.heading + part * NormaliseTurn(truth.heading - m_before.heading) +
                   report.accuracy.heading * m_random.Gaussian();
    m_late.push_back({time + report.latency, MomentOf(world, time, pose)});
}

void CNmeaSource::TellWhatIsDue(double now)
{
    while (!m_late.empty() && m_late.front().at <= now + kTolerance) {
        m_sink(NmeaSentences(m_late.front().moment));
        m_late.pop_front();
    }
}
