#ifndef KESTROVE_SIMULATOR_OPERATIONS_POSITIONOPERATIONS_H
#define KESTROVE_SIMULATOR_OPERATIONS_POSITIONOPERATIONS_H

#include <string>

#include "simulator/operations/OperationTable.h"
#include "simulator/operations/PositionFeed.h"
#include "simulator/output/ServiceLog.h"

/// The operation that feeds positions.
class CPositionOperations
{
public:
    /// Both must outlive this object.
    CPositionOperations(CPositionFeed& feed, const CServiceLog& log) : m_feed(feed), m_log(log) {}

    /// Adds the operation to a table, which this object must outlive.
    void Register(COperationTable& table);

private:
    void SetPositionData(const std::string& record);

    CPositionFeed& m_feed;
    const CServiceLog& m_log;
    std::string m_lastRefusal;
    bool m_hasToldOfClock = false;
};

#endif
