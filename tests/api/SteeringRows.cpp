#include "tests/api/ContractTable.h"

namespace Contract {

namespace {

std::vector<Row> CommandRows()
{
    return {
        RequestRow("bool IsSteeringEngaged()", kReconnecting, "IsSteeringEngaged", "[]",
                   IntReply(1), "true", "false",
                   [](CNavigationAPI& api) { return Text(api.IsSteeringEngaged()); }),
        RequestRow("int EngageSteering()", kReconnecting, "EngageSteering", "[int 1]", IntReply(7),
                   "7", "-1", [](CNavigationAPI& api) { return Text(api.EngageSteering()); }),
        RequestRow("int DisengageSteering()", kReconnecting, "DisengageSteering", "[int 1]",
                   IntReply(8), "8", "-1",
                   [](CNavigationAPI& api) { return Text(api.DisengageSteering()); }),
        RequestRow("int StartNavigation(bool followNearestPass)", kReconnecting, "StartNavigation",
                   "[int 1, int 0]", IntReply(9), "9", "-1",
                   [](CNavigationAPI& api) { return Text(api.StartNavigation(false)); }),
        RequestRow("int StartNavigation(bool followNearestPass)", kReconnecting, "StartNavigation",
                   "[int 1, int 1]", IntReply(0), "0", "-1",
                   [](CNavigationAPI& api) { return Text(api.StartNavigation(true)); }),
        RequestRow("int StopNavigation()", kReconnecting, "StopNavigation", "[int 1]", IntReply(-5),
                   "-5", "-1", [](CNavigationAPI& api) { return Text(api.StopNavigation()); }),
        RequestRow("int ClearNavigation()", kReconnecting, "ClearNavigation", "[]", IntReply(3),
                   "3", "-1", [](CNavigationAPI& api) { return Text(api.ClearNavigation()); })
            .Disposing(EDisposal::AtOnce),
        RequestRow("int ReinitialiseNavigation()", kReconnecting, "ReinitialiseNavigation",
                   "[int 1]", IntReply(4), "4", "-1",
                   [](CNavigationAPI& api) { return Text(api.ReinitialiseNavigation()); }),
        RequestRow("bool IsNavigationActivated()", kReconnecting, "IsNavigationActivated", "[]",
                   IntReply(1), "true", "false",
                   [](CNavigationAPI& api) { return Text(api.IsNavigationActivated()); }),
    };
}

std::vector<Row> SwitchRows()
{
    return {
        NotificationRow("void SetReverseEngageEnabled(bool enabled, bool persist)", kVerifying,
                        "set_reverse_engage_enabled", "[int 0, int 1]", "nothing", "nothing",
                        [](CNavigationAPI& api) {
                            api.SetReverseEngageEnabled(false, true);
                            return "nothing";
                        }),
        RequestRow("bool GetReverseEngageEnabled()", kVerifying, "get_reverse_engage_enabled",
                   "[int 1]", IntReply(2), "true", "false",
                   [](CNavigationAPI& api) { return Text(api.GetReverseEngageEnabled()); })
            .Disposing(EDisposal::AtOnce),
        NotificationRow("void SetAllowReverseEngage(bool allowed, bool persist)", kVerifying,
                        "set_reverse_engage_allowed", "[int 1, int 0]", "nothing", "nothing",
                        [](CNavigationAPI& api) {
                            api.SetAllowReverseEngage(true, false);
                            return "nothing";
                        }),
        RequestRow("bool GetAllowReverseEngage()", kVerifying, "get_reverse_engage_allowed",
                   "[int 1]", IntReply(-1), "true", "false",
                   [](CNavigationAPI& api) { return Text(api.GetAllowReverseEngage()); })
            .Disposing(EDisposal::AtOnce),
        NotificationRow("void SetLowSpeedEngageEnabled(bool enabled, bool persist)", kVerifying,
                        "set_low_speed_engage_allowed", "[int 0, int 1]", "nothing", "nothing",
                        [](CNavigationAPI& api) {
                            api.SetLowSpeedEngageEnabled(false, true);
                            return "nothing";
                        }),
        RequestRow("bool GetLowSpeedEngageEnabled()", kVerifying, "get_low_speed_engage_allowed",
                   "[int 1]", IntReply(1), "true", "false",
                   [](CNavigationAPI& api) { return Text(api.GetLowSpeedEngageEnabled()); })
            .Disposing(EDisposal::AtOnce),
    };
}

std::vector<Row> TimeRows()
{
    return {
        NotificationRow("void SetLowSpeedEngageTimeout(double timeoutSeconds, bool persist)",
                        kVerifying, "set_low_speed_engage_timeout", "[double 2.1, int 1]",
                        "nothing", "nothing",
                        [](CNavigationAPI& api) {
                            api.SetLowSpeedEngageTimeout(2.1, true);
                            return "nothing";
                        }),
        RequestRow("double GetLowSpeedEngageTimeout()", kVerifying, "get_low_speed_engage_timeout",
                   "[int 1]", DoubleReply(2.2), "2.2", "0.0",
                   [](CNavigationAPI& api) { return Text(api.GetLowSpeedEngageTimeout()); })
            .Disposing(EDisposal::AtOnce),
        NotificationRow("void SetLookAheadTime(double lookAheadSeconds, bool persist)", kVerifying,
                        "set_lookahead_time", "[double 1.1, int 0]", "nothing", "nothing",
                        [](CNavigationAPI& api) {
                            api.SetLookAheadTime(1.1, false);
                            return "nothing";
                        }),
        RequestRow("double GetLookAheadTime()", kVerifying, "get_lookahead_time", "[int 1]",
                   DoubleReply(1.7), "1.7", "0.0",
                   [](CNavigationAPI& api) { return Text(api.GetLookAheadTime()); })
            .Disposing(EDisposal::AtOnce),
    };
}

} // namespace

std::vector<Row> SteeringRows()
{
    std::vector<Row> all;
    for (const auto& rows : {CommandRows(), SwitchRows(), TimeRows()}) {
        all.insert(all.end(), rows.begin(), rows.end());
    }
    return all;
}

} // namespace Contract
