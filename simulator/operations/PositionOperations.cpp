#include "simulator/operations/PositionOperations.h"

#include "simulator/base/Outcome.h"
#include "simulator/operations/PositionSample.h"

void CPositionOperations::Register(COperationTable& table)
{
    table.Add("SetPositionData", *this, &CPositionOperations::SetPositionData);
}

void CPositionOperations::SetPositionData(const std::string& record)
{
    PositionSample sample;
    const std::string problem = ReadPositionSample(record, sample);
    if (!problem.empty()) {
        throw UnusableArgument(problem);
    }
    const COutcome outcome = m_feed.Feed(sample);
    // A receiver that waits for a fix sends the same ten times a second; once is enough to know.
    if (outcome.Reason() != m_lastRefusal) {
        m_log.Carried("SetPositionData", outcome);
    }
    m_lastRefusal = outcome.Reason();
    if (outcome && m_feed.HasOtherClock() && !m_hasToldOfClock) {
        m_hasToldOfClock = true;
        m_log.Write(ELogLevel::Warning,
                    "the times of the fed positions are not those of the system's clock: a latency "
                    "that all of them have cannot be seen");
    }
}
