#ifndef KESTROVE_SIMULATOR_OPERATIONS_WAYLINEOPERATIONS_H
#define KESTROVE_SIMULATOR_OPERATIONS_WAYLINEOPERATIONS_H

#include "simulator/aside/WorkQueue.h"
#include "simulator/lines/WaylineKeeper.h"
#include "simulator/operations/OperationTable.h"
#include "simulator/operations/PositionFeed.h"
#include "simulator/output/ServiceLog.h"

/// The operations of waylines and waypoints.
class CWaylineOperations
{
public:
    /// @param work makes what takes long; null to have it made on the spot.
    /// All must outlive this object.
    CWaylineOperations(const CSimulation& simulation, CWaylineKeeper& waylines, CPositionFeed& feed,
                       const CServiceLog& log, CLongWork* work)
        : m_simulation(simulation), m_waylines(waylines), m_feed(feed), m_log(log), m_work(work)
    {
    }

    /// Adds the operations to a table, which this object must outlive.
    void Register(COperationTable& table);

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
    CWaylineKeeper& m_waylines;
    CPositionFeed& m_feed;
    const CServiceLog& m_log;
    CLongWork* m_work;
};

#endif
