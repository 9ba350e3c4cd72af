#ifndef KESTROVE_SIMULATOR_HTTP_TRAIL_H
#define KESTROVE_SIMULATOR_HTTP_TRAIL_H

#include <cstddef>
#include <string>
#include <vector>

#include "simulator/Events.h"
#include "simulator/machine/Pose.h"

/// Where the machine has been: a position each time that guidance ran, of the last hour.
///
/// Thread safety: none; a copy of what it holds may go anywhere.
class TrailC
{
public:
    /// Ten positions a second for an hour.
    static constexpr std::size_t kMostPoints = 36000;
    /// Seconds from one position to the next.
    static constexpr double kInterval = CSimulation::kStepSeconds * CSimulation::kStepsPerControl;

    TrailC() = default;
    TrailC(const TrailC&) = delete;
    TrailC& operator=(const TrailC&) = delete;

    /// A sink for the service's events, from which the positions come; this object must outlive it.
    EventSink Sink();
    /// Adds a position; the oldest goes when there are too many.
    void Add(const Point& position);
    /// The positions, the oldest first.
    std::vector<Point> Points() const;

private:
    std::vector<Point> m_ring;
    std::size_t m_oldest = 0;
};

/// The trail as the page reads it.
///
/// @param end the time of the last position, seconds.
/// @param run another text for each start of the service.
std::string TrailJson(const std::vector<Point>& points, double end, const std::string& run);

#endif
