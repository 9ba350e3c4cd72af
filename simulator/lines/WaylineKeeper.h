#ifndef KESTROVE_SIMULATOR_LINES_WAYLINEKEEPER_H
#define KESTROVE_SIMULATOR_LINES_WAYLINEKEEPER_H

#include <cstddef>
#include <memory>
#include <vector>

#include "core/Vector3.h"
#include "platform/BElement.h"
#include "simulator/base/Outcome.h"
#include "simulator/lines/WaylineBuilder.h"
#include "simulator/lines/WaylineForm.h"
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
class CWaylineKeeper
{
public:
    /// What a wayline is held as: it never changes, so that other threads can read it.
    using SharedWayline = std::shared_ptr<const Kestrove::CWayline>;

    /// @param simulation must outlive this object, and so must `work`, which makes what takes long;
    ///        null to have it made on the spot. With it, operations may throw CWorkPending, as
    ///        those of the simulation.
    explicit CWaylineKeeper(CSimulation& simulation, CLongWork* work = nullptr)
        : m_simulation(simulation), m_work(work)
    {
    }

    /// Replaces the wayline. Refused, the present one staying, when the list is not a line's or
    /// makes no line.
    COutcome Set(const BListC& listForm);
    /// The wayline; null when there is none that is complete.
    const Kestrove::CWayline* Current() const { return m_wayline.get(); }
    /// The same, to keep.
    const SharedWayline& SharedCurrent() const { return m_wayline; }
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
    const RecordedDrives& Drives() const { return *m_drives; }
    /// The same, to keep.
    const std::shared_ptr<const RecordedDrives>& SharedDrives() const { return m_drives; }
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

private:
    using SharedDrivesPtr = std::shared_ptr<const RecordedDrives>;

    /// A wayline that is to become the present one, with all that goes with it.
    struct Candidate
    {
        std::string problem; ///< why there is none; empty otherwise
        SharedWayline wayline;
        LineDefinitionPtr line; ///< null when the wayline stands for none
        SharedDrivesPtr drives;
        CWaylineBuilder builder;
        int changes = 0; ///< of the waypoints, so far
    };

    static SharedWayline Shared(const Kestrove::WaylinePtr& wayline);
    static Candidate FromList(const BListC& list, const SharedDrivesPtr& drives);
    static Candidate FromBuilder(CWaylineBuilder builder, const SharedDrivesPtr& drives);
    template <typename TMake>
    std::shared_ptr<const Candidate> Made(const WorkKey& key, std::size_t points, TMake make) const;
    Core::Maths::Vector3<double> Here() const;
    COutcome Take(const Candidate& candidate);
    COutcome TakeReplay();
    void Become(const SharedWayline& wayline);
    void ChangeBuilder(const CWaylineBuilder& builder);

    CSimulation& m_simulation;
    CLongWork* m_work;
    CWaylineBuilder m_builder;
    SharedWayline m_wayline;
    SharedDrivesPtr m_drives = std::make_shared<const RecordedDrives>();
    double m_height = 0.0;
    int m_revision = 0;
    int m_changes = 0; ///< of the waypoints
};

#endif
