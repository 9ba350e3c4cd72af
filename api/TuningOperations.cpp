#include "api/NavigationAPI.h"

#include "api/CallFrame.h"

using CallFrame::Arguments;
using CallFrame::ArgumentsOf;
using CallFrame::kLeadingOne;
using CallFrame::LeadingOne;
using CallFrame::NoArguments;
using CallFrame::ReadList;
using CallFrame::Reply;
using CallFrame::ReservedPair;

bool CNavigationAPI::GetTuningLimits(Kestrove::ETuningParameter parameter, double& lowest,
                                     double& start, double& highest)
{
    if (!ReconnectingGuard()) {
        return false;
    }
    // Kept on purpose: the protocol leaves the list of a limits call to the connection for good.
    BListC* const arguments = ArgumentsOf(parameter).release();
    const Reply reply(CallMethod("GetTuningLimits", arguments));
    const BListC* limits = ReadList(reply.get());
    if (limits == nullptr || limits->Size() != 3) {
        return false;
    }
    lowest = limits->GetDouble(0);
    start = limits->GetDouble(1);
    highest = limits->GetDouble(2);
    return true;
}

bool CNavigationAPI::SetTuningLimits(Kestrove::ETuningParameter parameter, double lowest,
                                     double start, double highest)
{
    if (!ReconnectingGuard()) {
        return false;
    }
    // Kept on purpose: the protocol leaves the list of a limits call to the connection for good.
    SendNotification("SetTuningLimits", ArgumentsOf(parameter, lowest, start, highest).release());
    return true;
}

float CNavigationAPI::GetTuningParameter(Kestrove::ETuningParameter parameter)
{
    return VerifyingGuard() ? static_cast<float>(RequestDoubleFreeingArguments(
                                  "get_tuning_parameter", ArgumentsOf(parameter), 0.0))
                            : 0.0F;
}

void CNavigationAPI::SetTuningParameter(Kestrove::ETuningParameter parameter, float value,
                                        bool persist)
{
    if (VerifyingGuard()) {
        Notify("set_tuning_parameter", ArgumentsOf(parameter, value, persist));
    }
}

float CNavigationAPI::GetSensitivity()
{
    return GetTuningParameter(Kestrove::Sensitivity);
}

float CNavigationAPI::GetAggressiveness()
{
    return GetTuningParameter(Kestrove::Aggressiveness);
}

float CNavigationAPI::GetOvershoot()
{
    return GetTuningParameter(Kestrove::Overshoot);
}

float CNavigationAPI::GetSpeedAdjust()
{
    return GetTuningParameter(Kestrove::SpeedAdjust);
}

void CNavigationAPI::SetSensitivity(float value, bool persist)
{
    SetTuningParameter(Kestrove::Sensitivity, value, persist);
}

void CNavigationAPI::SetAggressiveness(float value, bool persist)
{
    SetTuningParameter(Kestrove::Aggressiveness, value, persist);
}

void CNavigationAPI::SetOvershoot(float value, bool persist)
{
    SetTuningParameter(Kestrove::Overshoot, value, persist);
}

void CNavigationAPI::SetSpeedAdjust(float value, bool persist)
{
    SetTuningParameter(Kestrove::SpeedAdjust, value, persist);
}

bool CNavigationAPI::ResetIntegral()
{
    if (!VerifyingGuard()) {
        return false;
    }
    Notify("reset_integral", NoArguments());
    return true;
}

float CNavigationAPI::GetVelocitySetPoint()
{
    if (!ReconnectingGuard()) {
        return 0.0F;
    }
    Arguments arguments = NoArguments();
    Reply reply(CallMethod("GetVelocitySetPoint", arguments.get()));
    if (reply == nullptr) {
        // Kept on purpose: a call without a reply leaves its list to the connection for good.
        static_cast<void>(arguments.release());
        return 0.0F;
    }
    const BListC* velocity = ReadList(reply.get());
    const auto value = static_cast<float>(velocity == nullptr ? 0.0 : velocity->GetDouble(0));
    reply.reset();
    arguments.reset();
    return value;
}

void CNavigationAPI::SetVelocitySetPoint(float velocity)
{
    if (ReconnectingGuard()) {
        // Kept on purpose: the protocol leaves the list of this call to the connection for good.
        SendNotification("SetVelocitySetPoint", ArgumentsOf(velocity).release());
    }
}

int CNavigationAPI::GetCurveFilterSize()
{
    return ReconnectingGuard() ? RequestInt("GetCurveFilterSize", LeadingOne(), -1) : -1;
}

void CNavigationAPI::SetCurveFilterSize(int size)
{
    if (ReconnectingGuard()) {
        Notify("SetCurveFilterSize", ReservedPair(kLeadingOne, size));
    }
}
