#include "tests/api/ContractTable.h"

#include "tests/doubles/Recording.h"

namespace Contract {

namespace {

Kestrove::WaylinePtr Line()
{
    return Kestrove::WaylinePtr(new Kestrove::CABWayline({1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}));
}

Kestrove::WaylinePtr Path()
{
    return Kestrove::WaylinePtr(new Kestrove::CPathWayline());
}

std::string Headings(const std::vector<double>& headings)
{
    std::string text = headings.empty() ? "empty" : "";
    for (const double heading : headings) {
        text += (text.empty() ? "" : " ") + Text(heading);
    }
    return text;
}

/// The wayline by its text form.
std::string WaylineText(const Kestrove::WaylinePtr& wayline)
{
    return wayline ? wayline->ToString() : "null";
}

std::vector<Row> WholeWaylineRows()
{
    return {
        NotificationRow("void SetWaylineOrigin(const Core::Maths::Vector3<double>& origin)",
                        kVerifying, "set_wayline_origin", "[double 51.1, double -0.2, double 80]",
                        "nothing", "nothing",
                        [](CNavigationAPI& api) {
                            api.SetWaylineOrigin({51.1, -0.2, 80.0});
                            return "nothing";
                        }),
        RequestRow("std::vector<double> CalculateHeadings(const "
                   "std::vector<Kestrove::WaylinePtr>& waylines)",
                   kVerifying, "calculate_headings",
                   "[[int 0, double 1, double 2, double 3, double 4, double 5, double 6], [int 5]]",
                   ListReply(0.1, 1.1, 2), "0.1 1.1 2.0", "empty",
                   [](CNavigationAPI& api) {
                       return Headings(api.CalculateHeadings({Line(), Path()}));
                   })
            .Building({"list made", "list made", "list made"})
            .Cleaning({"nested list destroyed", "nested list destroyed"})
            .Documented("[list form of each wayline]"),
        RequestRow("Kestrove::WaylinePtr GetWayline()", kVerifying, "get_wayline", "[]",
                   ListReply(1, 1.0, 2.0, 3.0, 0.1), "1 1.000000 2.000000 3.000000 0.100000",
                   "null", [](CNavigationAPI& api) { return WaylineText(api.GetWayline()); }),
        RequestRow("bool SetWayline(Kestrove::WaylinePtr wayline)", kVerifying, "set_wayline",
                   "[int 0, double 1, double 2, double 3, double 4, double 5, double 6]",
                   IntReply(0), "true", "false",
                   [](CNavigationAPI& api) { return Text(api.SetWayline(Line())); })
            .OfWrongType("true")
            .Documented("the wayline's list form"),
        RequestRow("bool ClearWayline()", kVerifying, "clear_wayline", "[]", IntReply(2), "true",
                   "false", [](CNavigationAPI& api) { return Text(api.ClearWayline()); }),
        RequestRow("bool StartWayline(Kestrove::EWaylineType type)", kVerifying, "start_wayline",
                   "[int 4]", IntReply(-1), "true", "false",
                   [](CNavigationAPI& api) {
                       return Text(api.StartWayline(Kestrove::EWaylineTypeABCurve));
                   }),
    };
}

std::vector<Row> WaypointRows()
{
    return {
        RequestRow(
            "bool SetWaypoint(int waypoint, double x, double y, double z, double heading)",
            kVerifying, "set_waypoint", "[int 2, double 1.1, double 2.1, double 3.1, double 4.1]",
            IntReply(2), "true", "false",
            [](CNavigationAPI& api) { return Text(api.SetWaypoint(2, 1.1, 2.1, 3.1, 4.1)); }),
        RequestRow("bool IsWaypointSet(int waypoint)", kReconnecting, "is_waypoint_set", "[int 3]",
                   IntReply(1), "true", "false",
                   [](CNavigationAPI& api) { return Text(api.IsWaypointSet(3)); }),
        RequestRow("int RestoreWaypoints()", kReconnecting, "RestoreWaypoints", "[int 1]",
                   IntReply(6), "6", "-1",
                   [](CNavigationAPI& api) { return Text(api.RestoreWaypoints()); }),
    };
}

} // namespace

std::vector<Row> WaylineRows()
{
    std::vector<Row> all = WholeWaylineRows();
    const std::vector<Row> waypoints = WaypointRows();
    all.insert(all.end(), waypoints.begin(), waypoints.end());
    return all;
}

} // namespace Contract
