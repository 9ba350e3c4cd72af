#include "tools/navctl/doctor/WaylineFinding.h"

#include <optional>

#include "tools/navctl/operations/Operation.h"
#include "tools/navctl/wayline/BegunWayline.h"
#include "tools/navctl/wayline/WaylineContent.h"

namespace {

/// The first waypoint that the service says is not set; nothing when there is none.
std::optional<int> MissingWaypoint(CContext& context, int count)
{
    const COperation& question = FindOperation("is-waypoint-set");
    for (int number = 0; number < count; ++number) {
        const COutcome isSet =
            Call(context.Navigation(), question.serviceName, question.exchange, {number});
        if (isSet.kind != EOutcome::Value) {
            return std::nullopt;
        }
        if (!isSet.value.get<bool>()) {
            return number;
        }
    }
    return std::nullopt;
}

} // namespace

CFinding NoWaylineFinding(CContext& context)
{
    const std::optional<CBegunWayline> begun =
        AskForBegunWayline(context.Navigation(), context.options.timeoutSeconds);
    if (begun) {
        if (const std::optional<int> missing =
                MissingWaypoint(context, WaypointCount(begun->kind))) {
            const std::string number = std::to_string(*missing);
            return {"wayline",
                    "one of the kind " + std::string(KindTitle(begun->kind)) +
                        (begun->isRecording ? " is being recorded; its waypoint "
                                            : " was begun; its waypoint ") +
                        number + " is missing",
                    std::string(begun->isRecording ? "drive to its end, then: " : "") +
                        "navctl set-waypoint " + number + " X Y Z HEADING",
                    kExitRefused};
        }
    }
    return {"wayline", "there is none that is complete",
            "navctl wayline set FILE; or navctl start-wayline KIND and its waypoints",
            kExitRefused};
}
