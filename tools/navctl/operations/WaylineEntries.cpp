#include "tools/navctl/operations/Operation.h"

#include "tools/navctl/Names.h"

namespace {

using Api = CNavigationAPI;

CArgument MetresArgument(const char* name, const char* help)
{
    return Number(name, "m", "", help);
}

CArgument Waypoint()
{
    return Integer("waypoint", "", "0 to 2",
                   "its number: 0 is A, 1 is B, 2 a circle's third point");
}

COutcome InvokeSetWaylineOrigin(CNavigationAPI& navigation, const ArgumentValues& values)
{
    navigation.SetWaylineOrigin(
        {As<double>(values[0]), As<double>(values[1]), As<double>(values[2])});
    return {EOutcome::Sent};
}

COutcome InvokeCalculateHeadings(CNavigationAPI& navigation, const ArgumentValues& values)
{
    const auto& waylines = std::get<std::vector<Kestrove::WaylinePtr>>(values[0]);
    return {EOutcome::Value, navigation.CalculateHeadings(waylines)};
}

COutcome InvokeGetWayline(CNavigationAPI& navigation, const ArgumentValues&)
{
    const Kestrove::WaylinePtr wayline = navigation.GetWayline();
    if (wayline) {
        return {EOutcome::Value,
                {{"kind", KindName(wayline->Type())}, {"text", wayline->ToString()}}};
    }
    // An answer without a value is how the service says that there is none.
    const bool hasNone = navigation.LastError().code == ELinkError::NoValue;
    return {hasNone ? EOutcome::Value : EOutcome::NoAnswer};
}

COutcome InvokeSetWayline(CNavigationAPI& navigation, const ArgumentValues& values)
{
    const bool isAnswered = navigation.SetWayline(As<Kestrove::WaylinePtr>(values[0]));
    return {isAnswered ? EOutcome::Answered : EOutcome::NoAnswer};
}

} // namespace

std::vector<COperation> WaylineEntries()
{
    return {
        Notification("set-wayline-origin", "set_wayline_origin",
                     "Sets the origin of the local frame in which waylines are given",
                     {Number("latitude", "degrees", "-90 to 90", "WGS 84"),
                      Number("longitude", "degrees", "-180 to 180", "WGS 84"),
                      MetresArgument("height", "above the ellipsoid")},
                     InvokeSetWaylineOrigin),
        Request(
            "calculate-headings", "calculate_headings",
            "Asks for the heading of each wayline where the machine is nearest to it",
            {{"waylines", EArgumentType::Waylines, "", "", "text forms, each quoted as one word"}},
            InvokeCalculateHeadings, "rad"),
        Request("get-wayline", "get_wayline", "Asks for the service's wayline, in its text form",
                {}, InvokeGetWayline),
        Request("set-wayline", "set_wayline",
                "Replaces the service's wayline; a refusal is not told, ask with get-wayline",
                {{"wayline", EArgumentType::Wayline, "", "", "its text form, quoted as one word"}},
                InvokeSetWayline),
        Request("clear-wayline", "clear_wayline", "Drops the service's wayline and disengages", {},
                Accepted(&Api::ClearWayline)),
        Request("start-wayline", "start_wayline",
                "Begins a wayline of a kind, which the waypoints then complete",
                {{"kind", EArgumentType::Kind, "", "", "the kind"}}, Accepted(&Api::StartWayline)),
        Request("set-waypoint", "set_waypoint", "Sets a waypoint of the wayline that was begun",
                {Waypoint(), MetresArgument("x", "east of the origin"),
                 MetresArgument("y", "north of it"), MetresArgument("z", "above it"),
                 Number("heading", "rad", "", "clockwise from north")},
                Accepted(&Api::SetWaypoint)),
        Request("is-waypoint-set", "is_waypoint_set", "Asks whether a waypoint is set",
                {Waypoint()}, Value(&Api::IsWaypointSet)),
        Request("restore-waypoints", "RestoreWaypoints",
                "Brings back the waypoints before the last change and gives their number", {},
                Value(&Api::RestoreWaypoints)),
    };
}
