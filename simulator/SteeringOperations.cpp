#include "simulator/SteeringOperations.h"

void SteeringOperationsC::Register(OperationTableC& table)
{
    using Self = SteeringOperationsC;
    table.Add("IsSteeringEngaged", *this, &Self::IsSteeringEngaged);
    table.Add("EngageSteering", *this, &Self::EngageSteering);
    table.Add("DisengageSteering", *this, &Self::DisengageSteering);
    table.Add("StartNavigation", *this, &Self::StartNavigation);
    table.Add("StopNavigation", *this, &Self::StopNavigation);
    table.Add("ClearNavigation", *this, &Self::ClearNavigation);
    table.Add("ReinitialiseNavigation", *this, &Self::ReinitialiseNavigation);
    table.Add("IsNavigationActivated", *this, &Self::IsNavigationActivated);
    table.Add("set_reverse_engage_enabled", *this, &Self::SetReverseEngageEnabled);
    table.Add("get_reverse_engage_enabled", *this, &Self::GetReverseEngageEnabled);
    table.Add("set_reverse_engage_allowed", *this, &Self::SetReverseEngageAllowed);
    table.Add("get_reverse_engage_allowed", *this, &Self::GetReverseEngageAllowed);
    table.Add("set_low_speed_engage_allowed", *this, &Self::SetLowSpeedEngageAllowed);
    table.Add("get_low_speed_engage_allowed", *this, &Self::GetLowSpeedEngageAllowed);
    table.Add("set_low_speed_engage_timeout", *this, &Self::SetLowSpeedEngageTimeout);
    table.Add("get_low_speed_engage_timeout", *this, &Self::GetLowSpeedEngageTimeout);
    table.Add("set_lookahead_time", *this, &Self::SetLookAheadTime);
    table.Add("get_lookahead_time", *this, &Self::GetLookAheadTime);
}

bool SteeringOperationsC::DisengageSteering(LeadingOne)
{
    m_navigator.Disengage();
    return true;
}

bool SteeringOperationsC::StartNavigation(LeadingOne, bool)
{
    return m_navigator.Start();
}

bool SteeringOperationsC::StopNavigation(LeadingOne)
{
    m_navigator.Stop();
    return true;
}

bool SteeringOperationsC::ClearNavigation()
{
    m_navigator.Stop();
    return true;
}

bool SteeringOperationsC::ReinitialiseNavigation(LeadingOne)
{
    m_settings.Reset();
    return true;
}

void SteeringOperationsC::SetReverseEngageEnabled(bool enabled, bool keep)
{
    m_settings.Set(&Settings::reverseEngageEnabled, kKeptReverseEngageEnabled, enabled, keep);
}

bool SteeringOperationsC::GetReverseEngageEnabled(LeadingOne)
{
    return m_settings.Current().reverseEngageEnabled;
}

void SteeringOperationsC::SetReverseEngageAllowed(bool allowed, bool keep)
{
    m_settings.Set(&Settings::reverseEngageAllowed, kKeptReverseEngageAllowed, allowed, keep);
}

bool SteeringOperationsC::GetReverseEngageAllowed(LeadingOne)
{
    return m_settings.Current().reverseEngageAllowed;
}

void SteeringOperationsC::SetLowSpeedEngageAllowed(bool allowed, bool keep)
{
    m_settings.Set(&Settings::lowSpeedEngageAllowed, kKeptLowSpeedEngageAllowed, allowed, keep);
}

bool SteeringOperationsC::GetLowSpeedEngageAllowed(LeadingOne)
{
    return m_settings.Current().lowSpeedEngageAllowed;
}

void SteeringOperationsC::SetLowSpeedEngageTimeout(double seconds, bool keep)
{
    m_settings.Set(&Settings::lowSpeedEngageTimeout, kKeptLowSpeedEngageTimeout,
                   kLowSpeedTimeoutRange, seconds, keep);
}

double SteeringOperationsC::GetLowSpeedEngageTimeout(LeadingOne)
{
    return m_settings.Current().lowSpeedEngageTimeout;
}

void SteeringOperationsC::SetLookAheadTime(double seconds, bool keep)
{
    m_settings.Set(&Settings::lookAheadTime, kKeptLookAheadTime, kLookAheadTimeRange, seconds,
                   keep);
}

double SteeringOperationsC::GetLookAheadTime(LeadingOne)
{
    return m_settings.Current().lookAheadTime;
}
