#include "tests/api/ContractTable.h"

namespace Contract {

namespace {

std::vector<Row> LimitsRows()
{
    return {
        RequestRow("bool GetTuningLimits(Kestrove::ETuningParameter parameter, double& lowest, "
                   "double& start, double& highest)",
                   kReconnecting, "GetTuningLimits", "[int 1]", ListReply(1.1, 2.1, 3.1),
                   "true (1.1, 2.1, 3.1)", "false (7.0, 8.0, 9.0)",
                   [](CNavigationAPI& api) {
                       Core::Maths::Vector3<double> limits(7.0, 8.0, 9.0);
                       const bool known = api.GetTuningLimits(Kestrove::Aggressiveness, limits.x,
                                                              limits.y, limits.z);
                       return Text(known) + " " + Text(limits);
                   })
            .Disposing(EDisposal::Kept),
        NotificationRow("bool SetTuningLimits(Kestrove::ETuningParameter parameter, double lowest, "
                        "double start, double highest)",
                        kReconnecting, "SetTuningLimits",
                        "[int 2, double 0.1, double 0.3, double 0.9]", "true", "false",
                        [](CNavigationAPI& api) {
                            return Text(api.SetTuningLimits(Kestrove::Overshoot, 0.1, 0.3, 0.9));
                        })
            .Disposing(EDisposal::Kept),
    };
}

std::vector<Row> ParameterRows()
{
    return {
        RequestRow(
            "float GetTuningParameter(Kestrove::ETuningParameter parameter)", kVerifying,
            "get_tuning_parameter", "[int 2]", DoubleReply(0.2), "0.20000000298023224", "0.0",
            [](CNavigationAPI& api) { return Text(api.GetTuningParameter(Kestrove::Overshoot)); })
            .Disposing(EDisposal::AtOnce),
        NotificationRow("void SetTuningParameter(Kestrove::ETuningParameter parameter, float "
                        "value, bool persist)",
                        kVerifying, "set_tuning_parameter",
                        "[int 1, double 0.10000000149011612, int 1]", "nothing", "nothing",
                        [](CNavigationAPI& api) {
                            api.SetTuningParameter(Kestrove::Aggressiveness, 0.1F, true);
                            return "nothing";
                        }),
    };
}

Row ShortcutGetter(const std::string& operation, int parameter, const Run& run)
{
    return RequestRow(operation, kVerifying, "get_tuning_parameter",
                      "[int " + std::to_string(parameter) + "]", DoubleReply(0.3),
                      "0.30000001192092896", "0.0", run)
        .Disposing(EDisposal::AtOnce);
}

Row ShortcutSetter(const std::string& operation, const std::string& arguments, const Run& run)
{
    return NotificationRow(operation, kVerifying, "set_tuning_parameter", arguments, "nothing",
                           "nothing", run);
}

std::vector<Row> ShortcutRows()
{
    return {
        ShortcutGetter("float GetSensitivity()", 0,
                       [](CNavigationAPI& api) { return Text(api.GetSensitivity()); }),
        ShortcutGetter("float GetAggressiveness()", 1,
                       [](CNavigationAPI& api) { return Text(api.GetAggressiveness()); }),
        ShortcutGetter("float GetOvershoot()", 2,
                       [](CNavigationAPI& api) { return Text(api.GetOvershoot()); }),
        ShortcutGetter("float GetSpeedAdjust()", 3,
                       [](CNavigationAPI& api) { return Text(api.GetSpeedAdjust()); }),
        ShortcutSetter("void SetSensitivity(float value, bool persist)",
                       "[int 0, double 2.0999999046325684, int 0]",
                       [](CNavigationAPI& api) {
                           api.SetSensitivity(2.1F, false);
                           return "nothing";
                       }),
        ShortcutSetter("void SetAggressiveness(float value, bool persist)",
                       "[int 1, double 0.699999988079071, int 1]",
                       [](CNavigationAPI& api) {
                           api.SetAggressiveness(0.7F, true);
                           return "nothing";
                       }),
        ShortcutSetter("void SetOvershoot(float value, bool persist)",
                       "[int 2, double 1.100000023841858, int 0]",
                       [](CNavigationAPI& api) {
                           api.SetOvershoot(1.1F, false);
                           return "nothing";
                       }),
        ShortcutSetter("void SetSpeedAdjust(float value, bool persist)",
                       "[int 3, double 0.10000000149011612, int 1]",
                       [](CNavigationAPI& api) {
                           api.SetSpeedAdjust(0.1F, true);
                           return "nothing";
                       }),
    };
}

std::vector<Row> ControllerRows()
{
    return {
        NotificationRow("bool ResetIntegral()", kVerifying, "reset_integral", "[]", "true", "false",
                        [](CNavigationAPI& api) { return Text(api.ResetIntegral()); }),
        RequestRow("float GetVelocitySetPoint()", kReconnecting, "GetVelocitySetPoint", "[]",
                   ListReply(2.7), "2.700000047683716", "0.0",
                   [](CNavigationAPI& api) { return Text(api.GetVelocitySetPoint()); })
            .Disposing(EDisposal::KeptWithoutReply),
        NotificationRow("void SetVelocitySetPoint(float velocity)", kReconnecting,
                        "SetVelocitySetPoint", "[double 3.0999999046325684]", "nothing", "nothing",
                        [](CNavigationAPI& api) {
                            api.SetVelocitySetPoint(3.1F);
                            return "nothing";
                        })
            .Disposing(EDisposal::Kept),
        RequestRow("int GetCurveFilterSize()", kReconnecting, "GetCurveFilterSize", "[int 1]",
                   IntReply(7), "7", "-1",
                   [](CNavigationAPI& api) { return Text(api.GetCurveFilterSize()); }),
        NotificationRow("void SetCurveFilterSize(int size)", kReconnecting, "SetCurveFilterSize",
                        "[int 1, int 7]", "nothing", "nothing",
                        [](CNavigationAPI& api) {
                            api.SetCurveFilterSize(7);
                            return "nothing";
                        })
            .Building({"list made", "Reserve 2"}),
    };
}

} // namespace

std::vector<Row> TuningRows()
{
    std::vector<Row> all;
    for (const auto& rows : {LimitsRows(), ParameterRows(), ShortcutRows(), ControllerRows()}) {
        all.insert(all.end(), rows.begin(), rows.end());
    }
    return all;
}

} // namespace Contract
