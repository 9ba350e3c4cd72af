#ifndef KESTROVE_SIMULATOR_MACHINE_RECEIVER_H
#define KESTROVE_SIMULATOR_MACHINE_RECEIVER_H

#include <cstdint>

#include "simulator/machine/Pose.h"
#include "simulator/machine/RandomSource.h"

/// How well the machine's receiver measures; the figures are in Receiver.cpp.
enum class EReceiver
{
    Ideal, ///< without any error
    Rtk,   ///< centimetres
    Sbas,  ///< decimetres
};

/// The errors of a receiver, one sigma each: of east and north alike, and of the heading.
struct ReceiverAccuracy
{
    double white;   ///< metres, new in every sample
    double drift;   ///< metres, correlated over kReceiverDriftSeconds
    double heading; ///< radians, new in every sample
};

/// Over what time the drift of a receiver is correlated, seconds.
inline constexpr double kReceiverDriftSeconds = 60.0;

ReceiverAccuracy AccuracyOf(EReceiver receiver);

/// A satellite receiver with two antennas on the machine: measures position and heading.
class CReceiver
{
public:
    static constexpr std::uint64_t kUsualStream = 1;

    /// @param stream of the seed, see CRandomSource.
    /// @param sampleSeconds between two calls of Measure().
    CReceiver(EReceiver receiver, std::uint64_t seed, double sampleSeconds)
        : CReceiver(AccuracyOf(receiver), seed, kUsualStream, sampleSeconds)
    {
    }
    CReceiver(const ReceiverAccuracy& accuracy, std::uint64_t seed, std::uint64_t stream,
              double sampleSeconds);

    Pose Measure(const Pose& truePose);
    /// By how much the last measurement was beside the truth, its white noise left out, metres.
    const Point& Drift() const { return m_drift; }

private:
    ReceiverAccuracy m_accuracy;
    CRandomSource m_random;
    CCorrelatedNoise m_eastDrift;
    CCorrelatedNoise m_northDrift;
    Point m_drift;
};

#endif
