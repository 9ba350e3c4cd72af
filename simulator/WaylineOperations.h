#ifndef KESTROVE_SIMULATOR_WAYLINEOPERATIONS_H
#define KESTROVE_SIMULATOR_WAYLINEOPERATIONS_H

#include <vector>

#include "simulator/OperationTable.h"
#include "simulator/PositionFeed.h"
#include "simulator/ServiceLog.h"
#include "simulator/WaylineKeeper.h"

/// The operations of waylines and waypoints.
class WaylineOperationsC
{
public:
    /// All must outlive this object.
    WaylineOperationsC(WaylineKeeperC& waylines, PositionFeedC& feed, const ServiceLogC& log)
        : m_waylines(waylines), m_feed(feed), m_log(log)
    {
    }

    /// Adds the operations to a table, which this object must outlive.
    void Register(OperationTableC& table);

private:
    void SetWaylineOrigin(double latitude, double longitude, double height);
    std::vector<double> CalculateHeadings(NestedLists waylines);
    Value GetWayline();
    bool SetWayline(WholeList wayline);
    bool ClearWayline();
    bool StartWayline(int kind);
    bool SetWaypoint(int number, double x, double y, double z, double heading);
    bool IsWaypointSet(int number);
    int RestoreWaypoints(LeadingOne);

    WaylineKeeperC& m_waylines;
    PositionFeedC& m_feed;
    const ServiceLogC& m_log;
};

#endif
