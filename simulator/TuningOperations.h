#ifndef KESTROVE_SIMULATOR_TUNINGOPERATIONS_H
#define KESTROVE_SIMULATOR_TUNINGOPERATIONS_H

#include <vector>

#include "simulator/KeptSettings.h"
#include "simulator/OperationTable.h"
#include "simulator/ServiceLog.h"
#include "simulator/world/Simulation.h"

/// The operations that tune the steering controller.
class TuningOperationsC
{
public:
    /// All must outlive this object.
    TuningOperationsC(CSimulation& simulation, KeptSettingsC& kept, const ServiceLogC& log)
        : m_simulation(simulation), m_kept(kept), m_log(log)
    {
    }

    /// Adds the operations to a table, which this object must outlive.
    void Register(OperationTableC& table);

private:
    /// Nothing for a number that is no parameter's; so does GetTuningParameter().
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
    KeptSettingsC& m_kept;
    const ServiceLogC& m_log;
};

#endif
