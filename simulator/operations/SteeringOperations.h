#ifndef KESTROVE_SIMULATOR_OPERATIONS_STEERINGOPERATIONS_H
#define KESTROVE_SIMULATOR_OPERATIONS_STEERINGOPERATIONS_H

#include "simulator/lines/WaylineKeeper.h"
#include "simulator/operations/OperationTable.h"
#include "simulator/output/ServiceLog.h"
#include "simulator/settings/KeptSettings.h"
#include "simulator/world/Simulation.h"

/// The operations of engaging, of navigation's beginning and end, and of the engage settings.
class CSteeringOperations
{
public:
    /// Overtakes everything, however long that takes.
    static constexpr const char* kDisengage = "DisengageSteering";

    /// All must outlive this object.
    CSteeringOperations(CSimulation& simulation, CWaylineKeeper& waylines, CKeptSettings& kept,
                        const CServiceLog& log)
        : m_simulation(simulation), m_waylines(waylines), m_kept(kept), m_log(log)
    {
    }

    /// Adds the operations to a table, which this object must outlive.
    void Register(COperationTable& table);

private:
    bool IsSteeringEngaged();
    bool EngageSteering(LeadingOne);
    bool DisengageSteering(LeadingOne);
    bool StartNavigation(LeadingOne, bool followNearestPass);
    bool StopNavigation(LeadingOne);
    bool ClearNavigation();
    bool ReinitialiseNavigation(LeadingOne);
    bool IsNavigationActivated();
    std::vector<std::string> WhyNotEngaged();
    Value WhyRefused(const std::string& operation);
    bool SimulatorSetGuide(const std::string& guide);
    Value SimulatorGuide();
    void SetReverseEngageEnabled(bool enabled, bool keep);
    bool GetReverseEngageEnabled(LeadingOne);
    void SetReverseEngageAllowed(bool allowed, bool keep);
    bool GetReverseEngageAllowed(LeadingOne);
    void SetLowSpeedEngageAllowed(bool allowed, bool keep);
    bool GetLowSpeedEngageAllowed(LeadingOne);
    void SetLowSpeedEngageTimeout(double seconds, bool keep);
    double GetLowSpeedEngageTimeout(LeadingOne);
    void SetLookAheadTime(double seconds, bool keep);
    double GetLookAheadTime(LeadingOne);

    CSimulation& m_simulation;
    CWaylineKeeper& m_waylines;
    CKeptSettings& m_kept;
    const CServiceLog& m_log;
};

#endif
