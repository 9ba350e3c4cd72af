#ifndef KESTROVE_SIMULATOR_WAYLINEKEEPER_H
#define KESTROVE_SIMULATOR_WAYLINEKEEPER_H

#include "core/Vector3.h"
#include "platform/BElement.h"
#include "simulator/WaylineBuilder.h"
#include "simulator/WaylineForm.h"
#include "simulator/world/Outcome.h"
#include "simulator/world/Simulation.h"
#include "wayline/Wayline.h"

/// What clients see of the wayline, for "cb_wayline_status".
struct WaylineStatus
{
    bool complete = false;
    bool recording = false;
    Kestrove::EWaylineType kind = Kestrove::EWaylineTypeEmpty;
    double length = 0.0; ///< metres; so far, while it is recorded; 0 for a line without ends
};

/// Holds the wayline, the waypoints and the recorded drives, and gives the simulation the line that
/// they make.
/// Thread safety: none.
class WaylineKeeperC
{
public:
    /// @param simulation must outlive this object.
    explicit WaylineKeeperC(CSimulation& simulation) : m_simulation(simulation) {}

    /// Replaces the wayline. Refused, the present one staying, when the list form is none or makes
    /// no line.
    COutcome Set(const BListC& listForm);
    /// The wayline; null when there is none that is complete.
    const Kestrove::CWayline* Current() const { return m_wayline.Get(); }
    /// Begins a wayline in place of the present one. A replay is complete at once.
    COutcome Begin(Kestrove::EWaylineType kind);
    /// Drops the wayline, or the one that is being made.
    ///
    /// @return false when there was none.
    bool Clear();
    /// Drops the wayline and the waypoints.
    void ClearAll();

    COutcome SetWaypoint(int number, const Waypoint& waypoint);
    bool IsWaypointSet(int number) const { return m_builder.IsSet(number); }
    /// A waypoint; null when it is not set.
    const Waypoint* WaypointAt(int number) const { return m_builder.At(number); }
    /// Changes whenever the wayline does.
    int Revision() const { return m_revision; }
    /// The last recorded drives.
    const RecordedDrives& Drives() const { return m_drives; }
    /// Brings back the waypoints before the last change, and the wayline that they make.
    ///
    /// @return the number of waypoints set now.
    int RestoreWaypoints();

    /// Takes down where the machine is, while a drive is recorded. To be called each time that
    /// guidance ran.
    ///
    /// @param height metres above the origin.
    void Record(double height);

    WaylineStatus Status() const;
    /// The heading of any wayline where the machine is nearest to it; NaN for one without a shape.
    double HeadingOf(const BListC& listForm) const;

private:
    Core::Maths::Vector3<double> Here() const;
    COutcome Take(const Kestrove::WaylinePtr& wayline, const RecordedDrives& drives);
    void Become(const Kestrove::WaylinePtr& wayline);
    RecordedDrives DrivesWith(const WaylineBuilderC& builder) const;

    CSimulation& m_simulation;
    WaylineBuilderC m_builder;
    Kestrove::WaylinePtr m_wayline;
    RecordedDrives m_drives;
    double m_height = 0.0;
    int m_revision = 0;
};

#endif
