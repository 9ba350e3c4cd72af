#include "tools/navctl/operations/Operation.h"

namespace {

CArgument MetresArgument(const char* name, const char* help)
{
    return Number(name, "m", "", help);
}

CArgument Waypoint()
{
    return Integer("waypoint", "", "0 to 2",
                   "its number: 0 is A, 1 is B, 2 a circle's third point");
}

void SendWaylineOrigin(CNavigationAPI& navigation, const ArgumentValues& values)
{
    navigation.SetWaylineOrigin(
        {As<double>(values[0]), As<double>(values[1]), As<double>(values[2])});
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
                     SendWaylineOrigin),
        Request(
            "calculate-headings", "calculate_headings",
            "Asks for the heading of each wayline where the machine is nearest to it",
            {{"waylines", EArgumentType::Waylines, "", "", "text forms, each quoted as one word"}},
            {}, NumbersReply(), "rad"),
        Request("get-wayline", "get_wayline", "Asks for the service's wayline, in its text form",
                {}, {}, WaylineReply()),
        Request("set-wayline", "set_wayline", "Replaces the service's wayline",
                {{"wayline", EArgumentType::Wayline, "", "", "its text form, quoted as one word"}},
                {}, AnsweredReply()),
        Request("clear-wayline", "clear_wayline", "Drops the service's wayline and disengages", {},
                {}, AcceptedReply()),
        Request("start-wayline", "start_wayline",
                "Begins a wayline of a kind, which the waypoints then complete",
                {{"kind", EArgumentType::Kind, "", "", "the kind"}}, {}, AcceptedReply()),
        Request("set-waypoint", "set_waypoint", "Sets a waypoint of the wayline that was begun",
                {Waypoint(), MetresArgument("x", "east of the origin"),
                 MetresArgument("y", "north of it"), MetresArgument("z", "above it"),
                 Number("heading", "rad", "", "clockwise from north")},
                {}, AcceptedReply()),
        Request("is-waypoint-set", "is_waypoint_set", "Asks whether a waypoint is set",
                {Waypoint()}, {}, OneReply()),
        Request("restore-waypoints", "RestoreWaypoints",
                "Brings back the waypoints before the last change and gives their number", {}, {1},
                IntegerReply()),
    };
}
