#ifndef KESTROVE_SIMULATOR_STEERINGOPERATIONS_H
#define KESTROVE_SIMULATOR_STEERINGOPERATIONS_H

#include "simulator/Navigator.h"
#include "simulator/OperationTable.h"
#include "simulator/SettingsStore.h"

/// The operations of engaging, of navigation's beginning and end, and of the engage settings.
class SteeringOperationsC
{
public:
    /// Both must outlive this object.
    SteeringOperationsC(NavigatorC& navigator, SettingsStoreC& settings)
        : m_navigator(navigator), m_settings(settings)
    {
    }

    /// Adds the operations to a table, which this object must outlive.
    void Register(OperationTableC& table);

private:
    bool IsSteeringEngaged() { return m_navigator.Engagement().Engaged(); }
    bool EngageSteering(LeadingOne) { return m_navigator.Engage(); }
    bool DisengageSteering(LeadingOne);
    bool StartNavigation(LeadingOne, bool followNearestPass);
    bool StopNavigation(LeadingOne);
    bool ClearNavigation();
    bool ReinitialiseNavigation(LeadingOne);
    bool IsNavigationActivated() { return m_navigator.NavigationActive(); }
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

    NavigatorC& m_navigator;
    SettingsStoreC& m_settings;
};

#endif
