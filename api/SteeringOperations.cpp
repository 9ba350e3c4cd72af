#include "api/NavigationAPI.h"

#include "api/CallFrame.h"

using CallFrame::ArgumentsOf;
using CallFrame::kLeadingOne;
using CallFrame::LeadingOne;
using CallFrame::NoArguments;

bool CNavigationAPI::IsSteeringEngaged()
{
    // Only 1 counts: the service reserves other values.
    return ReconnectingGuard() && RequestInt("IsSteeringEngaged", NoArguments(), 0) == 1;
}

int CNavigationAPI::EngageSteering()
{
    return ReconnectingGuard() ? RequestInt("EngageSteering", LeadingOne(), -1) : -1;
}

int CNavigationAPI::DisengageSteering()
{
    return ReconnectingGuard() ? RequestInt("DisengageSteering", LeadingOne(), -1) : -1;
}

int CNavigationAPI::StartNavigation(bool followNearestPass)
{
    return ReconnectingGuard()
               ? RequestInt("StartNavigation", ArgumentsOf(kLeadingOne, followNearestPass), -1)
               : -1;
}

int CNavigationAPI::StopNavigation()
{
    return ReconnectingGuard() ? RequestInt("StopNavigation", LeadingOne(), -1) : -1;
}

int CNavigationAPI::ClearNavigation()
{
    // The service takes no leading one here, and the list goes before the reply is looked at.
    return ReconnectingGuard() ? RequestIntFreeingArguments("ClearNavigation", NoArguments(), -1)
                               : -1;
}

int CNavigationAPI::ReinitialiseNavigation()
{
    return ReconnectingGuard() ? RequestInt("ReinitialiseNavigation", LeadingOne(), -1) : -1;
}

bool CNavigationAPI::IsNavigationActivated()
{
    // Only 1 counts: the service reserves other values.
    return ReconnectingGuard() && RequestInt("IsNavigationActivated", NoArguments(), 0) == 1;
}

void CNavigationAPI::SetReverseEngageEnabled(bool enabled, bool persist)
{
    if (VerifyingGuard()) {
        Notify("set_reverse_engage_enabled", ArgumentsOf(enabled, persist));
    }
}

bool CNavigationAPI::GetReverseEngageEnabled()
{
    return VerifyingGuard() &&
           RequestIntFreeingArguments("get_reverse_engage_enabled", LeadingOne(), 0) != 0;
}

void CNavigationAPI::SetAllowReverseEngage(bool allowed, bool persist)
{
    if (VerifyingGuard()) {
        Notify("set_reverse_engage_allowed", ArgumentsOf(allowed, persist));
    }
}

bool CNavigationAPI::GetAllowReverseEngage()
{
    return VerifyingGuard() &&
           RequestIntFreeingArguments("get_reverse_engage_allowed", LeadingOne(), 0) != 0;
}

void CNavigationAPI::SetLowSpeedEngageEnabled(bool enabled, bool persist)
{
    if (VerifyingGuard()) {
        Notify("set_low_speed_engage_allowed", ArgumentsOf(enabled, persist));
    }
}

bool CNavigationAPI::GetLowSpeedEngageEnabled()
{
    return VerifyingGuard() &&
           RequestIntFreeingArguments("get_low_speed_engage_allowed", LeadingOne(), 0) != 0;
}

void CNavigationAPI::SetLowSpeedEngageTimeout(double timeoutSeconds, bool persist)
{
    if (VerifyingGuard()) {
        Notify("set_low_speed_engage_timeout", ArgumentsOf(timeoutSeconds, persist));
    }
}

double CNavigationAPI::GetLowSpeedEngageTimeout()
{
    return VerifyingGuard()
               ? RequestDoubleFreeingArguments("get_low_speed_engage_timeout", LeadingOne(), 0.0)
               : 0.0;
}

void CNavigationAPI::SetLookAheadTime(double lookAheadSeconds, bool persist)
{
    if (VerifyingGuard()) {
        Notify("set_lookahead_time", ArgumentsOf(lookAheadSeconds, persist));
    }
}

double CNavigationAPI::GetLookAheadTime()
{
    return VerifyingGuard() ? RequestDoubleFreeingArguments("get_lookahead_time", LeadingOne(), 0.0)
                            : 0.0;
}
