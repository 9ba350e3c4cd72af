#include "simulator/machine/Receiver.h"

ReceiverAccuracy AccuracyOf(EReceiver receiver)
{
    switch (receiver) {
    case EReceiver::Rtk:
        return {0.006, 0.008, Radians(0.15)};
    case EReceiver::Sbas:
        return {0.05, 0.25, Radians(0.5)};
    case EReceiver::Ideal:
        break;
    }
    return {0.0, 0.0, 0.0};
}

CReceiver::CReceiver(const ReceiverAccuracy& accuracy, std::uint64_t seed, std::uint64_t stream,
                     double sampleSeconds)
    : m_accuracy(accuracy), m_random(seed, stream),
      m_eastDrift(m_accuracy.drift, kReceiverDriftSeconds, sampleSeconds),
      m_northDrift(m_accuracy.drift, kReceiverDriftSeconds, sampleSeconds)
{
}

Pose CReceiver::Measure(const Pose& truePose)
{
    // A statement a draw: within one, the compiler could choose their order.
    const double eastDrift = m_eastDrift.Next(m_random);
    const double eastNoise = m_accuracy.white * m_random.Gaussian();
    const double northDrift = m_northDrift.Next(m_random);
    const double northNoise = m_accuracy.white * m_random.Gaussian();
    const double turn = m_accuracy.heading * m_random.Gaussian();
    m_drift = {eastDrift, northDrift};
    return {{truePose.position.x + eastDrift + eastNoise,
             truePose.position.y + northDrift + northNoise},
            NormaliseHeading(truePose.heading + turn)};
}
