#include "tests/api/ContractTable.h"

namespace Contract {

namespace {

/// The out-parameter starts as (7, 8, 9), which shows whether it was touched.
Core::Maths::Vector3<double> Untouched()
{
    return {7.0, 8.0, 9.0};
}

std::vector<Row> NudgeRows()
{
    return {
        RequestRow("int Nudge(Core::Maths::Vector3<double>& nudge, bool add, double amount)",
                   kReconnecting, "Nudge", "[int 1, int 1, double 0.1]",
                   ListReply(5, 1.1, 2.1, 3.1), "5 (1.1, 2.1, 3.1)", "-1 (7.0, 8.0, 9.0)",
                   [](CNavigationAPI& api) {
                       auto nudge = Untouched();
                       const int status = api.Nudge(nudge, true, 0.1);
                       return Text(status) + " " + Text(nudge);
                   }),
        RequestRow("int AutoSetNudge(Core::Maths::Vector3<double>& nudge)", kReconnecting,
                   "AutoSetNudge", "[int 1]", ListReply(0, 1.1, 2.1, 3.1), "0 (1.1, 2.1, 3.1)",
                   "-1 (7.0, 8.0, 9.0)",
                   [](CNavigationAPI& api) {
                       auto nudge = Untouched();
                       const int status = api.AutoSetNudge(nudge);
                       return Text(status) + " " + Text(nudge);
                   }),
        RequestRow("bool GetNudgeVector(Core::Maths::Vector3<double>& nudge)", kVerifying,
                   "get_nudge_vector", "[]", ListReply(1.1, 2.1, 3.1), "true (1.1, 2.1, 3.1)",
                   "false (7.0, 8.0, 9.0)",
                   [](CNavigationAPI& api) {
                       auto nudge = Untouched();
                       const bool known = api.GetNudgeVector(nudge);
                       return Text(known) + " " + Text(nudge);
                   }),
        RequestRow("double GetNudgeScalar()", kReconnecting, "get_nudge", "[int 1]",
                   DoubleReply(0.7), "0.7", "-1.0",
                   [](CNavigationAPI& api) { return Text(api.GetNudgeScalar()); }),
        NotificationRow("void SetNudge(double nudge)", kVerifying, "set_nudge",
                        "[int 1, double -0.1]", "nothing", "nothing",
                        [](CNavigationAPI& api) {
                            api.SetNudge(-0.1);
                            return "nothing";
                        }),
    };
}

std::vector<Row> FieldOffsetRows()
{
    return {
        RequestRow("int AutoSetFieldOffset()", kReconnecting, "AutoSetFieldOffset", "[int 1]",
                   IntReply(11), "11", "-1",
                   [](CNavigationAPI& api) { return Text(api.AutoSetFieldOffset()); }),
        RequestRow("int SetFieldOffset(double offset)", kReconnecting, "SetFieldOffset",
                   "[int 1, double 2.1]", IntReply(12), "12", "-1",
                   [](CNavigationAPI& api) { return Text(api.SetFieldOffset(2.1)); })
            .Building({"list made", "Reserve 2"}),
        RequestRow("double GetFieldOffset()", kReconnecting, "GetFieldOffset", "[int 1]",
                   DoubleReply(1.2), "1.2", "-1.0",
                   [](CNavigationAPI& api) { return Text(api.GetFieldOffset()); }),
    };
}

std::vector<Row> ImplementRows()
{
    return {
        RequestRow("int SetImplementOffset(double offset)", kReconnecting, "SetImplementOffset",
                   "[int 1, double -1.1]", IntReply(13), "13", "-1",
                   [](CNavigationAPI& api) { return Text(api.SetImplementOffset(-1.1)); })
            .Building({"list made", "Reserve 2"}),
        RequestRow("double GetImplementOffset()", kReconnecting, "GetImplementOffset", "[int 1]",
                   DoubleReply(-1.1), "-1.1", "-1.0",
                   [](CNavigationAPI& api) { return Text(api.GetImplementOffset()); }),
        NotificationRow("void SetSplinesUseImplementOffset(bool use)", kVerifying,
                        "SetSplinesUseImplementOffset", "[int 1]", "nothing", "nothing",
                        [](CNavigationAPI& api) {
                            api.SetSplinesUseImplementOffset(true);
                            return "nothing";
                        }),
        RequestRow("int SetImplementWidth(double width)", kReconnecting, "SetImplementWidth",
                   "[int 1, double 24.1]", IntReply(14), "14", "-1",
                   [](CNavigationAPI& api) { return Text(api.SetImplementWidth(24.1)); })
            .Building({"list made", "Reserve 2"}),
        RequestRow("double GetImplementWidth()", kReconnecting, "GetImplementWidth", "[int 1]",
                   DoubleReply(24.1), "24.1", "-1.0",
                   [](CNavigationAPI& api) { return Text(api.GetImplementWidth()); }),
    };
}

} // namespace

std::vector<Row> OffsetRows()
{
    std::vector<Row> all;
    for (const auto& rows : {NudgeRows(), FieldOffsetRows(), ImplementRows()}) {
        all.insert(all.end(), rows.begin(), rows.end());
    }
    return all;
}

} // namespace Contract
