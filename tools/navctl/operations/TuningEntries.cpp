#include "tools/navctl/operations/Operation.h"

namespace {

using Api = CNavigationAPI;

CArgument Limit(const char* name, const char* help)
{
    return Single(name, "", "not negative, in rising order", help);
}

CArgument TuningValue()
{
    return Single("value", "", "within its limits", "the value");
}

/// The setter and the getter of a parameter that has operations of its own.
COperation Getter(const char* name, const char* summary, Kestrove::ETuningParameter parameter)
{
    return Request(name, "get_tuning_parameter", summary, {}, {parameter}, SingleReply());
}
COperation Setter(const char* name, const char* summary, void (Api::*operation)(float, bool))
{
    return Notification(name, "set_tuning_parameter", summary, {TuningValue(), Persist()},
                        Sent(operation));
}

} // namespace

std::vector<COperation> TuningEntries()
{
    return {
        Request("get-tuning-limits", "GetTuningLimits", "Asks for the limits of a tuning parameter",
                {Parameter()}, {}, LimitsReply()),
        Notification("set-tuning-limits", "SetTuningLimits",
                     "Sets the limits of a tuning parameter",
                     {Parameter(), Limit("lowest", "the lowest value"),
                      Limit("start", "the start value"), Limit("highest", "the highest value")},
                     Sent(&Api::SetTuningLimits)),
        Request("get-tuning-parameter", "get_tuning_parameter", "Asks for a tuning parameter",
                {Parameter()}, {}, SingleReply()),
        Notification("set-tuning-parameter", "set_tuning_parameter",
                     "Sets a tuning parameter; the service clamps it to its limits",
                     {Parameter(), TuningValue(), Persist()}, Sent(&Api::SetTuningParameter)),
        Getter("get-sensitivity", "Asks for the sensitivity", Kestrove::Sensitivity),
        Getter("get-aggressiveness", "Asks for the aggressiveness", Kestrove::Aggressiveness),
        Getter("get-overshoot", "Asks for the overshoot", Kestrove::Overshoot),
        Getter("get-speed-adjust", "Asks for the speed adjustment", Kestrove::SpeedAdjust),
        Setter("set-sensitivity", "Sets the sensitivity", &Api::SetSensitivity),
        Setter("set-aggressiveness", "Sets the aggressiveness", &Api::SetAggressiveness),
        Setter("set-overshoot", "Sets the overshoot", &Api::SetOvershoot),
        Setter("set-speed-adjust", "Sets the speed adjustment", &Api::SetSpeedAdjust),
        Notification("reset-integral", "reset_integral",
                     "Puts the integral term of the controller back to zero", {},
                     Sent(&Api::ResetIntegral)),
        Request("get-velocity-set-point", "GetVelocitySetPoint", "Asks for the velocity set point",
                {}, {}, FirstSingleReply(), "m/s"),
        Notification("set-velocity-set-point", "SetVelocitySetPoint", "Sets the velocity set point",
                     {Single("velocity", "m/s", "-5 to 15", "the velocity, negative backwards")},
                     Sent(&Api::SetVelocitySetPoint)),
        Request("get-curve-filter-size", "GetCurveFilterSize",
                "Asks for the size of the curve filter", {}, {1}, IntegerReply(), "points"),
        Notification("set-curve-filter-size", "SetCurveFilterSize",
                     "Sets the size of the curve filter",
                     {Integer("size", "", "1 to 1001", "how many recorded points")},
                     Sent(&Api::SetCurveFilterSize)),
    };
}
