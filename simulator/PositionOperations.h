#ifndef KESTROVE_SIMULATOR_POSITIONOPERATIONS_H
#define KESTROVE_SIMULATOR_POSITIONOPERATIONS_H

#include <string>

#include "simulator/OperationTable.h"
#include "simulator/PositionFeed.h"
#include "simulator/ServiceLog.h"

/// The operation that feeds positions.
class PositionOperationsC
{
public:
    /// Both must outlive this object.
    PositionOperationsC(PositionFeedC& feed, const ServiceLogC& log) : m_feed(feed), m_log(log) {}

    /// Adds the operation to a table, which this object must outlive.
    void Register(OperationTableC& table);

private:
    void SetPositionData(const std::string& record);

    PositionFeedC& m_feed;
    const ServiceLogC& m_log;
    std::string m_lastRefusal;
    bool m_hasToldOfClock = false;
};

#endif
