#ifndef KESTROVE_SIMULATOR_OPERATIONS_POSITIONFEED_H
#define KESTROVE_SIMULATOR_OPERATIONS_POSITIONFEED_H

#include <memory>
#include <optional>

#include "simulator/base/Outcome.h"
#include "simulator/operations/PositionSample.h"
#include "simulator/operations/SampleClock.h"
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
class CPositionFeed
{
public:
    /// @param simulation must outlive this object.
    /// @param clock the system's clock, to know how old samples are; may be empty.
    explicit CPositionFeed(CSimulation& simulation, UnixClock clock = {});
    ~CPositionFeed();
    CPositionFeed(const CPositionFeed&) = delete;
    CPositionFeed& operator=(const CPositionFeed&) = delete;

    /// Moves the origin. Refused when there is no such place.
    COutcome SetOrigin(const GeodeticPlace& place);
    /// Where the origin lies; none as long as neither a client nor a sample has said.
    const std::optional<GeodeticPlace>& Origin() const { return m_origin; }
    /// Takes a sample over as the machine's position. Refused when it is not valid or when a
    /// machine cannot be there. A height that is not a number is one that nobody knows.
    COutcome Feed(const PositionSample& told);
    /// How far above the origin the machine is, metres; 0 while the simulation drives it itself.
    double Height() const;
    /// Whether the samples' clock is another than the system's, so that a latency that all samples
    /// have cannot be seen.
    bool HasOtherClock() const { return m_clock.HasLearned(); }

private:
    class CFrame;

    CSimulation& m_simulation;
    CSampleClock m_clock;
    std::unique_ptr<CFrame> m_frame;
    std::optional<GeodeticPlace> m_origin;
    double m_height = 0.0;
    double m_knownHeight = 0.0; ///< metres above the ellipsoid
};

#endif
