#ifndef KESTROVE_SIMULATOR_MACHINE_SATELLITERECEIVER_H
#define KESTROVE_SIMULATOR_MACHINE_SATELLITERECEIVER_H

#include <cstdint>
#include <deque>
#include <optional>

#include "simulator/machine/Antenna.h"
#include "simulator/machine/Corrections.h"
#include "simulator/machine/Multipath.h"
#include "simulator/machine/Receiver.h"
#include "simulator/machine/ReceiverReport.h"
#include "simulator/machine/Terrain.h"

/// How the receiver is built in and set up.
struct ReceiverOptions
{
    EReceiver kind = EReceiver::Rtk;
    AntennaMount antenna;
    bool compensatesLean = true; ///< takes roll and pitch into account
    int rate = 10;               ///< measurements a second: 1, 2, 5 or 10
    int latency = 0;             ///< from a measurement until it is reported, tenths of a second
};

/// What reaches the antenna.
struct Reception
{
    bool isCovered = false;      ///< no satellite is seen
    bool hasCorrections = true;  ///< the corrections come
    std::optional<EFix> bestFix; ///< no fix is better than that
    double multipath = 0.0;      ///< metres, one sigma, of the jumps near trees
};

/// The errors of a receiver whose fix floats, and of one with satellites alone.
ReceiverAccuracy AccuracyOfFix(EFix fix, EReceiver kind);

/// The machine's receiver as a whole: the antenna above a machine that leans, the fix, its errors,
/// and when what is measured gets to guidance.
class CSatelliteReceiver
{
public:
    /// @param sampleSeconds between two calls of Measure().
    CSatelliteReceiver(const ReceiverOptions& options, std::uint64_t seed, double sampleSeconds);

    /// Goes on by a sample.
    ///
    /// @return where the machine's reference point is and where it looks, as it gets to guidance
    ///         now; nothing where no new measurement does.
    std::optional<Pose> Measure(const Pose& truth, const Attitude& lean,
                                const Reception& reception);
    /// What the receiver says beside that.
    const ReceiverReport& Report() const { return m_report; }
    /// By how much the position last measured was beside the truth, its white noise left out,
    /// metres.
    const Point& Drift() const { return m_drift; }

private:
    struct Sample
    {
        std::optional<Pose> pose;
        ReceiverReport report;
    };

    EFix FixOf(const Reception& reception);
    Pose WithErrors(const Pose& antenna, EFix fix, const Pose& usual);
    Sample Take(const Pose& truth, const Attitude& lean, const Reception& reception);

    ReceiverOptions m_options;
    double m_sampleSeconds;
    CReceiver m_usual;
    CReceiver m_float;
    CReceiver m_single;
    CInclinometer m_inclinometer;
    CMultipath m_multipath;
    CCorrections m_corrections;
    Point m_drift; ///< of the errors last added
    std::uint64_t m_samples = 0;
    std::deque<Sample> m_underWay;
    ReceiverReport m_report;
};

#endif
