#include "tools/navctl/operations/Operation.h"

namespace {

using Api = CNavigationAPI;

} // namespace

std::vector<COperation> SteeringEntries()
{
    return {
        Request("is-steering-engaged", "IsSteeringEngaged",
                "Asks whether the service is steering the machine", {}, {}, OneReply()),
        Request("engage-steering", "EngageSteering", "Lets the service take over the steering", {},
                {1}, StatusReply()),
        Request("disengage-steering", "DisengageSteering",
                "Gives the steering back to the operator", {}, {1}, StatusReply()),
        Request("start-navigation", "StartNavigation",
                "Starts navigation along the wayline, which must be complete",
                {Switch("follow-nearest-pass",
                        "along the pass nearest to the machine, not the wayline itself")},
                {1}, StatusReply()),
        Request("stop-navigation", "StopNavigation",
                "Disengages and stops navigation; the wayline stays", {}, {1}, StatusReply()),
        Request("clear-navigation", "ClearNavigation",
                "Disengages and drops wayline, waypoints, nudge and field offset", {}, {},
                StatusReply()),
        Request("reinitialise-navigation", "ReinitialiseNavigation",
                "Puts every setting of the service back to its start value", {}, {1},
                StatusReply()),
        Request("is-navigation-activated", "IsNavigationActivated",
                "Asks whether navigation is active", {}, {}, OneReply()),
    };
}

std::vector<COperation> EngageSettingEntries()
{
    return {
        Notification("set-reverse-engage-enabled", "set_reverse_engage_enabled",
                     "Sets whether the machine can engage while it reverses at all",
                     {Switch("enabled", "whether it can"), Persist()},
                     Sent(&Api::SetReverseEngageEnabled)),
        Request("get-reverse-engage-enabled", "get_reverse_engage_enabled",
                "Asks whether the machine can engage while it reverses at all", {}, {1},
                SwitchReply()),
        Notification("set-allow-reverse-engage", "set_reverse_engage_allowed",
                     "Sets whether the operator allows engaging in reverse",
                     {Switch("allowed", "whether it is allowed"), Persist()},
                     Sent(&Api::SetAllowReverseEngage)),
        Request("get-allow-reverse-engage", "get_reverse_engage_allowed",
                "Asks whether the operator allows engaging in reverse", {}, {1}, SwitchReply()),
        Notification(
            "set-low-speed-engage-enabled", "set_low_speed_engage_allowed",
            "Sets whether steering may be engaged at low speed, and then stay engaged without "
            "limit of time",
            {Switch("enabled", "whether it may"), Persist()}, Sent(&Api::SetLowSpeedEngageEnabled)),
        Request("get-low-speed-engage-enabled", "get_low_speed_engage_allowed",
                "Asks whether steering may be engaged at low speed, and then stay engaged "
                "without limit of time",
                {}, {1}, SwitchReply()),
        Notification(
            "set-low-speed-engage-timeout", "set_low_speed_engage_timeout",
            "Sets how long steering stays engaged at low speed where low-speed engaging is off; "
            "where it is on, there is no limit",
            {Number("seconds", "s", "0 to 3600", "the time"), Persist()},
            Sent(&Api::SetLowSpeedEngageTimeout)),
        Request("get-low-speed-engage-timeout", "get_low_speed_engage_timeout",
                "Asks how long steering stays engaged at low speed where low-speed engaging is off",
                {}, {1}, NumberReply(), "s"),
        Notification("set-look-ahead-time", "set_lookahead_time",
                     "Sets how far ahead of the machine, in time, the controller aims",
                     {Number("seconds", "s", "0.2 to 10", "the time"), Persist()},
                     Sent(&Api::SetLookAheadTime)),
        Request("get-look-ahead-time", "get_lookahead_time",
                "Asks how far ahead of the machine, in time, the controller aims", {}, {1},
                NumberReply(), "s"),
    };
}
