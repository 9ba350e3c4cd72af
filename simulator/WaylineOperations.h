#ifndef KESTROVE_SIMULATOR_WAYLINEOPERATIONS_H
#define KESTROVE_SIMULATOR_WAYLINEOPERATIONS_H

#include "simulator/OperationTable.h"
#include "simulator/PositionFeed.h"
#include "simulator/ServiceLog.h"
#include "simulator/WaylineKeeper.h"
#include "simulator/WorkQueue.h"

/// The operations of waylines and waypoints.
class WaylineOperationsC
{
public:
    /// @param work makes what takes long; null to have it made on the spot.
    /// All must outlive this object.
    WaylineOperationsC(const CSimulation& simulation, WaylineKeeperC& waylines, PositionFeedC& feed,
                       const ServiceLogC& log, CLongWork* work)
        : m_simulation(simulation), m_waylines(waylines), m_feed(feed), m_log(log), m_work(work)
    {
    }

    /// Adds the operations to a table, which this object must outlive.
    void Register(OperationTableC& table);

private:
    void SetWaylineOrigin(double latitude, double longitude, double height);
    Answer CalculateHeadings(NestedLists waylines);
    Answer GetWayline();
    bool SetWayline(WholeList wayline);
    bool ClearWayline();
    bool StartWayline(int kind);
    bool SetWaypoint(int number, double x, double y, double z, double heading);
    bool IsWaypointSet(int number);
    int RestoreWaypoints(LeadingOne);

    const CSimulation& m_simulation;
    WaylineKeeperC& m_waylines;
    PositionFeedC& m_feed;
    const ServiceLogC& m_log;
    CLongWork* m_work;
};

#endif
