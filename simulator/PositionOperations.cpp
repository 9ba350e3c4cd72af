#include "simulator/PositionOperations.h"

#include "simulator/PositionSample.h"

void PositionOperationsC::Register(OperationTableC& table)
{
    table.Add("SetPositionData", *this, &PositionOperationsC::SetPositionData);
}

void PositionOperationsC::SetPositionData(const std::string& record)
{
    PositionSample sample;
    const std::string problem = ReadPositionSample(record, sample);
    if (!problem.empty())
        throw UnusableArgument(problem);
    m_log.Carried("SetPositionData", m_feed.Feed(sample));
}
