#ifndef KESTROVE_SIMULATOR_STEERINGOPERATIONS_H
#define KESTROVE_SIMULATOR_STEERINGOPERATIONS_H

#include "simulator/KeptSettings.h"
#include "simulator/OperationTable.h"
#include "simulator/ServiceLog.h"
#include "simulator/WaylineKeeper.h"
#include "simulator/world/Simulation.h"

/// The operations of engaging, of navigation's beginning and end, and of the engage settings.
class SteeringOperationsC
{
public:
    /// All must outlive this object.
    SteeringOperationsC(CSimulation& simulation, WaylineKeeperC& waylines, KeptSettingsC& kept,
                        const ServiceLogC& log)
        : m_simulation(simulation), m_waylines(waylines), m_kept(kept), m_log(log)
    {
    }

    /// Adds the operations to a table, which this object must outlive.
    void Register(OperationTableC& table);

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
    int SimulatorKeeps();
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
    WaylineKeeperC& m_waylines;
    KeptSettingsC& m_kept;
    const ServiceLogC& m_log;
};

#endif
