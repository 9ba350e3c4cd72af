#include "tools/navctl/wayline/BegunWayline.h"

#include <algorithm>
#include <chrono>

#include "tools/navctl/Names.h"
#include "tools/navctl/operations/Operation.h"
#include "tools/navctl/watch/EventKind.h"
#include "tools/navctl/watch/EventLoop.h"
#include "tools/navctl/wayline/WaylineContent.h"

namespace {

std::optional<Kestrove::EWaylineType> KindNamed(const std::string& name)
{
    const NameTable& names = WaylineKindNames();
    const auto known = std::find_if(names.begin(), names.end(),
                                    [&name](const auto& entry) { return entry.first == name; });
    return known == names.end() ? std::nullopt
                                : std::optional(static_cast<Kestrove::EWaylineType>(known->second));
}

/// The kind of the service's wayline, complete or not; nothing when the service does not say.
std::optional<Kestrove::EWaylineType> KindOfWayline(CNavigationAPI& navigation, double seconds)
{
    const COperation& getter = FindOperation("get-wayline");
    const COutcome wayline = Call(navigation, getter.serviceName, getter.exchange, {});
    if (wayline.kind == EOutcome::Value) {
        return KindNamed(wayline.value["kind"].get<std::string>());
    }
    // That is how the service says that none is complete.
    if (wayline.kind != EOutcome::NoAnswer || navigation.LastError().code != ELinkError::NoValue) {
        return std::nullopt;
    }
    const std::optional<CBegunWayline> begun = AskForBegunWayline(navigation, seconds);
    return begun ? std::optional(begun->kind) : std::nullopt;
}

/// The waypoints of a kind by their numbers, in words.
std::string WaypointsOf(int count)
{
    switch (count) {
    case 1:
        return "the waypoint 0 alone";
    case 2:
        return "the waypoints 0 and 1";
    default:
        return "the waypoints 0 to " + std::to_string(count - 1);
    }
}

} // namespace

std::optional<CBegunWayline> AskForBegunWayline(CNavigationAPI& navigation, double seconds)
{
    std::optional<CEvent> status;
    const CSubscription subscription(navigation, {FindEventKind("wayline-status")},
                                     [&](const CEvent& event) { status = event; });
    CEventLoop loop(navigation, -1);
    loop.Run({[&] { return status.has_value(); }, {}, {}}, std::chrono::duration<double>(seconds));
    if (!status) {
        return std::nullopt;
    }
    const auto kind = KindNamed(status->fields["kind"].get<std::string>());
    return kind ? std::optional(CBegunWayline{*kind, status->fields["recording"].get<bool>()})
                : std::nullopt;
}

int WaypointCount(Kestrove::EWaylineType kind)
{
    switch (kind) {
    case Kestrove::EWaylineTypeAHeading:
        return 1;
    case Kestrove::EWaylineTypeAB:
    case Kestrove::EWaylineTypeSpline:
    case Kestrove::EWaylineTypeABCurve:
    case Kestrove::EWaylineTypePath:
        return 2;
    case Kestrove::EWaylineTypeCircle:
        return 3;
    default:
        return 0;
    }
}

std::string WhyWaypointIsIdle(CNavigationAPI& navigation, int number, double seconds)
{
    const std::optional<Kestrove::EWaylineType> kind = KindOfWayline(navigation, seconds);
    if (!kind) {
        return {};
    }
    const std::string waypoint = "the waypoint " + std::to_string(number);
    if (*kind == Kestrove::EWaylineTypeEmpty) {
        return waypoint +
               " is part of no wayline, since none was begun: navctl start-wayline KIND, and then "
               "its waypoints";
    }
    const int count = WaypointCount(*kind);
    const std::string title = KindTitle(*kind);
    if (count == 0) {
        return waypoint + " is part of no wayline: a " + title + " has no waypoints";
    }
    if (number < count) {
        return {};
    }
    return waypoint + " is part of no wayline: that of the service is of the kind " + title +
           ", which has " + WaypointsOf(count);
}
