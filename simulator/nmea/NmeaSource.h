#ifndef KESTROVE_SIMULATOR_NMEA_NMEASOURCE_H
#define KESTROVE_SIMULATOR_NMEA_NMEASOURCE_H

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "simulator/machine/RandomSource.h"
#include "simulator/nmea/NmeaSentences.h"
#include "simulator/operations/PositionFeed.h"
#include "simulator/world/Simulation.h"

/// How often a moment is reported, a second.
inline constexpr int kNmeaRates[] = {1, 2, 5, 10, 20};
inline constexpr int kUsualNmeaRate = 10;
/// Where on the earth the machine's local frame lies until a client says.
inline constexpr GeodeticPlace kUsualNmeaOrigin{48.0, 11.0, 500.0};
/// When every drive begins: 2026-01-01 00:00:00 UTC, so that a drive repeats to the letter.
inline constexpr std::int64_t kNmeaStartSeconds = 1'767'225'600;

/// Watches the machine and says what its receiver does in NMEA sentences.
///
/// A moment of a whole tenth of a second has what guidance measured then. Twice as often, what lies
/// between two of them has the errors that last and white noise of its own, which guidance never
/// sees: that somebody listens does not change the drive.
/// Thread safety: none.
class CNmeaSource
{
public:
    using Sink = std::function<void(std::string&&)>;

    /// @param rate one of kNmeaRates.
    /// @param sink takes the sentences of each moment in one piece.
    CNmeaSource(int rate, const GeodeticPlace& origin, std::uint64_t seed, Sink sink);
    ~CNmeaSource();
    CNmeaSource(const CNmeaSource&) = delete;
    CNmeaSource& operator=(const CNmeaSource&) = delete;

    /// To be called after each step of the world.
    ///
    /// @param setOrigin where a client has placed the local frame; none: at the origin given.
    void Look(const CSimulation& world, const std::optional<GeodeticPlace>& setOrigin);

private:
    class CFrame;
    struct Late
    {
        double at; ///< on the world's clock
        NmeaMoment moment;
    };

    void LookAtMovement(const CSimulation& world);
    void TellWhatWasMeasured(const CSimulation& world);
    void TellWhatLiesBetween(const CSimulation& world);
    NmeaMoment MomentOf(const CSimulation& world, double time, const Pose& pose) const;
    void TellWhatIsDue(double now);

    int m_rate;
    CRandomSource m_random;
    Sink m_sink;
    GeodeticPlace m_origin;
    std::unique_ptr<CFrame> m_frame;
    Pose m_before; ///< the truth a step ago
    bool m_hasBefore = false;
    std::optional<double> m_course; ///< in the local frame, as all that follows
    std::optional<double> m_yawRate;
    std::deque<Late> m_late; ///< measured, and reported when the receiver's latency has passed
};

#endif
