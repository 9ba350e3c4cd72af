#include "tools/navctl/doctor/WaylineFinding.h"

#include <algorithm>
#include <chrono>
#include <optional>

#include "tools/navctl/Names.h"
#include "tools/navctl/operations/Operation.h"
#include "tools/navctl/watch/EventKind.h"
#include "tools/navctl/watch/EventLoop.h"
#include "tools/navctl/wayline/WaylineContent.h"

namespace {

/// A subscriber gets the present state at once.
std::optional<CEvent> WaylineStatus(CContext& context)
{
    CNavigationAPI& navigation = context.Navigation();
    std::optional<CEvent> status;
    const CSubscription subscription(navigation, {FindEventKind("wayline-status")},
                                     [&](const CEvent& event) { status = event; });
    CEventLoop loop(navigation, -1);
    loop.Run({[&] { return status.has_value(); }, {}, {}},
             std::chrono::duration<double>(context.options.timeoutSeconds));
    return status;
}

/// How many waypoints make a wayline of the kind; 0 for what is not made of them.
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

/// The first waypoint that the service says is not set; nothing when there is none.
std::optional<int> MissingWaypoint(CContext& context, int count)
{
    const COperation& question = FindOperation("is-waypoint-set");
    for (int number = 0; number < count; ++number) {
        const COutcome isSet =
            Call(context.Navigation(), question.serviceName, question.exchange, {number});
        if (isSet.kind != EOutcome::Value)
            return std::nullopt;
        if (!isSet.value.get<bool>())
            return number;
    }
    return std::nullopt;
}

} // namespace

CFinding NoWaylineFinding(CContext& context)
{
    const std::optional<CEvent> status = WaylineStatus(context);
    const std::string name = status ? status->fields["kind"].get<std::string>() : std::string();
    const auto known = std::find_if(WaylineKindNames().begin(), WaylineKindNames().end(),
                                    [&name](const auto& entry) { return entry.first == name; });
    if (known != WaylineKindNames().end()) {
        const auto kind = static_cast<Kestrove::EWaylineType>(known->second);
        if (const std::optional<int> missing = MissingWaypoint(context, WaypointCount(kind))) {
            const std::string number = std::to_string(*missing);
            const bool isRecording = status->fields["recording"].get<bool>();
            return {"wayline",
                    "one of the kind " + std::string(KindTitle(kind)) +
                        (isRecording ? " is being recorded; its waypoint "
                                     : " was begun; its waypoint ") +
                        number + " is missing",
                    std::string(isRecording ? "drive to its end, then: " : "") +
                        "navctl set-waypoint " + number + " X Y Z HEADING",
                    kExitRefused};
        }
    }
    return {"wayline", "there is none that is complete",
            "navctl wayline set FILE; or navctl start-wayline KIND and its waypoints",
            kExitRefused};
}
