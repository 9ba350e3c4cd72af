#ifndef KESTROVE_SIMULATOR_POSITIONFEED_H
#define KESTROVE_SIMULATOR_POSITIONFEED_H

#include <memory>
#include <optional>

#include "simulator/PositionSample.h"
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
    explicit PositionFeedC(CSimulation& simulation);
    ~PositionFeedC();
    PositionFeedC(const PositionFeedC&) = delete;
    PositionFeedC& operator=(const PositionFeedC&) = delete;

    /// Moves the origin. Refused when there is no such place.
    COutcome SetOrigin(const GeodeticPlace& place);
    /// Where the origin lies; none as long as neither a client nor a sample has said.
    const std::optional<GeodeticPlace>& Origin() const { return m_origin; }
    /// Takes a sample over as the machine's position. Refused when it is not valid or when a
    /// machine cannot be there. A height that is not a number is one that nobody knows.
    COutcome Feed(const PositionSample& told);
    /// How far above the origin the machine is, metres; 0 while the simulation drives it itself.
    double Height() const;

private:
    class FrameC;

    CSimulation& m_simulation;
    std::unique_ptr<FrameC> m_frame;
    std::optional<GeodeticPlace> m_origin;
    double m_height = 0.0;
    double m_knownHeight = 0.0; ///< metres above the ellipsoid
};

#endif
