#ifndef KESTROVE_SIMULATOR_HTTP_TRAIL_H
#define KESTROVE_SIMULATOR_HTTP_TRAIL_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "simulator/machine/Pose.h"
#include "simulator/operations/Events.h"

/// The positions of a trail as a text of JSON, in pieces that the trail keeps: to make one costs no
/// more than a few pointers.
struct TrailText
{
    std::vector<std::shared_ptr<const std::string>> pieces;
    std::size_t skipped = 0; ///< bytes of the first piece, of positions that are too old
    std::string newest;      ///< behind the pieces
};

/// Where the machine has been: a position each time that guidance ran, of the last hour.
///
/// Each position is written as a text once, when it comes, so that who asks for the trail, however
/// often, takes no time of the thread that the simulation belongs to.
///
/// Thread safety: none; the text of what it holds may go anywhere.
class CTrail
{
public:
    /// Ten positions a second for an hour.
    static constexpr std::size_t kMostPoints = 36000;
    /// Seconds from one position to the next.
    static constexpr double kInterval = CSimulation::kStepSeconds * CSimulation::kStepsPerControl;

    CTrail() = default;
    CTrail(const CTrail&) = delete;
    CTrail& operator=(const CTrail&) = delete;

    /// A sink for the service's events, from which the positions come; this object must outlive it.
    EventSink Sink();
    /// Adds a position; the oldest goes when there are too many.
    void Add(const Point& position);
    /// The positions, the oldest first.
    TrailText Text() const;

private:
    std::deque<std::shared_ptr<const std::string>> m_pieces;
    std::size_t m_skipped = 0;
    std::string m_newest;
    std::size_t m_pointsOfNewest = 0;
    std::deque<std::uint8_t> m_lengths; ///< of the text of each position, the oldest first
};

/// The trail as the page reads it.
///
/// @param end the time of the last position, seconds.
/// @param run another text for each start of the service.
std::string TrailJson(const TrailText& positions, double end, const std::string& run);

#endif
