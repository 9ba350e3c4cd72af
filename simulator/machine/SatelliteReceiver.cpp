#include "simulator/machine/SatelliteReceiver.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::uint64_t kFloatStream = 3;
constexpr std::uint64_t kSingleStream = 4;
constexpr int kSamplesPerSecond = 10;

/// A fix as good as another at most.
EFix Worse(EFix one, EFix other)
{
    return std::min(one, other);
}

} // namespace

ReceiverAccuracy AccuracyOfFix(EFix fix, EReceiver kind)
{
    ReceiverAccuracy accuracy = AccuracyOf(kind);
    if (fix == EFix::Float) {
        accuracy.white = 0.02;
        accuracy.drift = 0.15;
    } else if (fix == EFix::Single) {
        accuracy.white = 0.3;
        accuracy.drift = 1.5;
    }
    return accuracy;
}

CSatelliteReceiver::CSatelliteReceiver(const ReceiverOptions& options, std::uint64_t seed,
                                       double sampleSeconds)
    : m_options(options), m_sampleSeconds(sampleSeconds),
      m_usual(AccuracyOf(options.kind), seed, CReceiver::kUsualStream, sampleSeconds),
      m_float(AccuracyOfFix(EFix::Float, options.kind), seed, kFloatStream, sampleSeconds),
      m_single(AccuracyOfFix(EFix::Single, options.kind), seed, kSingleStream, sampleSeconds),
      m_inclinometer(seed, sampleSeconds), m_multipath(seed, sampleSeconds)
{
}

EFix CSatelliteReceiver::FixOf(const Reception& reception)
{
    m_corrections.Step(m_sampleSeconds, reception.hasCorrections, reception.isCovered);
    EFix fix = m_corrections.Fix();
    if (fix > EFix::Single && m_options.kind == EReceiver::Sbas) {
        fix = EFix::Differential;
    }
    return reception.bestFix ? Worse(fix, *reception.bestFix) : fix;
}

Pose CSatelliteReceiver::WithErrors(const Pose& antenna, EFix fix, const Pose& usual)
{
    CReceiver* const other = fix == EFix::Float    ? &m_float
                             : fix == EFix::Single ? &m_single
                                                   : nullptr;
    const Pose measured = other ? other->Measure(antenna) : usual;
    m_drift = other ? other->Drift() : m_usual.Drift();
    return measured;
}

CSatelliteReceiver::Sample CSatelliteReceiver::Take(const Pose& truth, const Attitude& lean,
                                                    const Reception& reception)
{
    const EFix fix = FixOf(reception);
    const Attitude measuredLean = m_inclinometer.Measure(lean);
    const Pose antenna = AntennaOf(truth, m_options.antenna, lean);
    // Each time, so that the errors of the usual fix are the same whatever happens meanwhile.
    const Pose usual = m_usual.Measure(antenna);
    Pose measured = WithErrors(antenna, fix, usual);
    const Point white{measured.position.x - antenna.position.x - m_drift.x,
                      measured.position.y - antenna.position.y - m_drift.y};
    const Point jump = m_multipath.Next(reception.multipath);
    measured.position = {measured.position.x + jump.x, measured.position.y + jump.y};
    measured = ReferenceOf(measured, m_options.antenna,
                           m_options.compensatesLean ? measuredLean : Attitude());
    Sample sample;
    if (fix != EFix::None) {
        sample.pose = measured;
    }
    sample.report.fix = fix;
    sample.report.correctionAge = m_corrections.Age();
    sample.report.lasting = {measured.position.x - truth.position.x - white.x,
                             measured.position.y - truth.position.y - white.y};
    sample.report.roll = measuredLean.roll;
    sample.report.pitch = measuredLean.pitch;
    sample.report.accuracy = AccuracyOfFix(fix, m_options.kind);
    sample.report.latency = m_options.latency * m_sampleSeconds;
    return sample;
}

std::optional<Pose> CSatelliteReceiver::Measure(const Pose& truth, const Attitude& lean,
                                                const Reception& reception)
{
    m_underWay.push_back(Take(truth, lean, reception));
    const int interval = kSamplesPerSecond / m_options.rate;
    const bool isDue = m_samples++ % static_cast<std::uint64_t>(interval) == 0;
    if (!isDue) {
        m_underWay.back().pose.reset();
    }
    m_underWay.back().report.isNew = isDue;
    if (m_underWay.size() <= static_cast<std::size_t>(m_options.latency)) {
        m_report.isNew = false;
        return std::nullopt;
    }
    const Sample told = std::move(m_underWay.front());
    m_underWay.pop_front();
    m_report = told.report;
    return told.pose;
}
