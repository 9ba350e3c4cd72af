#ifndef KESTROVE_SIMULATOR_OPERATIONS_TUNINGOPERATIONS_H
#define KESTROVE_SIMULATOR_OPERATIONS_TUNINGOPERATIONS_H

#include <vector>

#include "simulator/operations/OperationTable.h"
#include "simulator/output/ServiceLog.h"
#include "simulator/settings/KeptSettings.h"
#include "simulator/world/Simulation.h"

/// The operations that tune the steering controller.
class CTuningOperations
{
public:
    /// All must outlive this object.
    CTuningOperations(CSimulation& simulation, CKeptSettings& kept, const CServiceLog& log)
        : m_simulation(simulation), m_kept(kept), m_log(log)
    {
    }

    /// Adds the operations to a table, which this object must outlive.
    void Register(COperationTable& table);

private:
    /// Nothing for a number that is not a parameter's; so does GetTuningParameter().
    Value GetTuningLimits(int parameter);
    void SetTuningLimits(int parameter, double lowest, double start, double highest);
    Value GetTuningParameter(int parameter);
    void SetTuningParameter(int parameter, double value, bool keep);
    void ResetIntegral();
    std::vector<double> GetVelocitySetPoint();
    void SetVelocitySetPoint(double metresPerSecond);
    int GetCurveFilterSize(LeadingOne);
    void SetCurveFilterSize(LeadingOne, int points);

    CSimulation& m_simulation;
    CKeptSettings& m_kept;
    const CServiceLog& m_log;
};

#endif
