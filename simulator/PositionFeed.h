#ifndef KESTROVE_SIMULATOR_POSITIONFEED_H
#define KESTROVE_SIMULATOR_POSITIONFEED_H

#include <memory>

#include "simulator/PositionSample.h"
#include "simulator/SampleClock.h"
#include "simulator/world/Outcome.h"
#include "simulator/world/Simulation.h"

/// A place on the earth, WGS 84: degrees and metres above the ellipsoid.
struct GeodeticPlace
{
    double latitude = 0.0;
    double longitude = 0.0;
    double height = 0.0;
};

/// Turns position samples into places of the local frame and feeds them to the simulation.
///
/// The frame's origin is the wayline origin; until one is set, the place of the first sample.
/// Thread safety: none.
class PositionFeedC
{
public:
    /// @param simulation must outlive this object.
    /// @param clock the system's clock, to know how old samples are; may be empty.
    explicit PositionFeedC(CSimulation& simulation, UnixClock clock = {});
    ~PositionFeedC();
    PositionFeedC(const PositionFeedC&) = delete;
    PositionFeedC& operator=(const PositionFeedC&) = delete;

    /// Moves the origin. Refused when there is no such place.
    COutcome SetOrigin(const GeodeticPlace& place);
    /// Takes a sample over as the machine's position. Refused when it is not valid or when a
    /// machine cannot be there. A height that is not a number is one that nobody knows.
    COutcome Feed(const PositionSample& told);
    /// How far above the origin the machine is, metres; 0 while the simulation drives it itself.
    double Height() const;
    /// Whether the samples' clock is another than the system's, so that a latency that all samples
    /// have cannot be seen.
    bool HasOtherClock() const { return m_clock.HasLearned(); }

private:
    class FrameC;

    CSimulation& m_simulation;
    CSampleClock m_clock;
    std::unique_ptr<FrameC> m_frame;
    double m_height = 0.0;
    double m_knownHeight = 0.0; ///< metres above the ellipsoid
};

#endif
