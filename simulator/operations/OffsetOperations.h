#ifndef KESTROVE_SIMULATOR_OPERATIONS_OFFSETOPERATIONS_H
#define KESTROVE_SIMULATOR_OPERATIONS_OFFSETOPERATIONS_H

#include "core/Vector3.h"
#include "simulator/operations/OperationTable.h"
#include "simulator/output/ServiceLog.h"
#include "simulator/world/Simulation.h"

/// The operations that shift the line and set the implement's geometry.
class COffsetOperations
{
public:
    /// @param work makes what takes long; null to have it made on the spot.
    ///
    /// All must outlive this object.
    COffsetOperations(CSimulation& simulation, const CServiceLog& log, CLongWork* work)
        : m_simulation(simulation), m_log(log), m_work(work)
    {
    }

    /// Adds the operations to a table, which this object must outlive.
    void Register(COperationTable& table);

private:
    StatusAndVector Nudge(LeadingOne, bool add, double amount);
    StatusAndVector AutoSetNudge(LeadingOne);
    Core::Maths::Vector3<double> GetNudgeVector();
    double GetNudge(LeadingOne);
    void SetNudge(LeadingOne, double nudge);
    bool AutoSetFieldOffset(LeadingOne);
    bool SetFieldOffset(LeadingOne, double offset);
    double GetFieldOffset(LeadingOne);
    bool SetImplementOffset(LeadingOne, double offset);
    double GetImplementOffset(LeadingOne);
    void SetSplinesUseImplementOffset(bool use);
    bool SetImplementWidth(LeadingOne, double width);
    double GetImplementWidth(LeadingOne);

    COutcome ShiftUnderMachine(COutcome (CSimulation::*set)(double), double present);

    CSimulation& m_simulation;
    const CServiceLog& m_log;
    CLongWork* m_work;
};

#endif
