#include "tools/navctl/operations/LateReply.h"

#include "tools/navctl/operations/Confirmation.h"
#include "tools/navctl/wayline/WaylineContent.h"

namespace {

/// A slow machine computes a spline of the longest line that the bundled service takes in this.
constexpr double kSecondsAPoint = 1e-4;

bool OnlyAsks(const std::string& name)
{
    const auto begins = [&name](const std::string& start) { return name.rfind(start, 0) == 0; };
    return begins("get-") || begins("is-") || begins("calculate-");
}

std::size_t PointsOf(const Kestrove::WaylinePtr& wayline)
{
    return ContentOf(*wayline).points.size();
}

/// The getter that shows what has become of an operation; empty for none.
std::string GetterAfter(const COperation& operation)
{
    if (const CConfirmation* const confirmation = FindConfirmation(operation.name)) {
        const std::string getter = confirmation->getter;
        return confirmation->passed > 0 ? getter + " PARAMETER" : getter;
    }
    if (operation.name == "nudge" || operation.name == "auto-set-nudge") {
        return "get-nudge-scalar";
    }
    return operation.name == "auto-set-field-offset" ? "get-field-offset" : std::string();
}

} // namespace

std::string WordsOfLateReply(const COperation& operation)
{
    if (OnlyAsks(operation.name)) {
        return {};
    }
    const std::string words = "it may still carry it out: ";
    if (operation.name == "engage-steering" || operation.name == "start-navigation") {
        return words + "\"navctl disengage-steering\" keeps it from steering, \"navctl doctor\" "
                       "shows its state";
    }
    const std::string getter = GetterAfter(operation);
    return words + "\"navctl " + (getter.empty() ? "doctor" : getter) + "\" shows its state";
}

double MoreSecondsFor(const ArgumentValues& values)
{
    std::size_t points = 0;
    for (const ArgumentValue& value : values) {
        if (const auto* const wayline = std::get_if<Kestrove::WaylinePtr>(&value)) {
            points += PointsOf(*wayline);
        } else if (const auto* const all = std::get_if<std::vector<Kestrove::WaylinePtr>>(&value)) {
            for (const Kestrove::WaylinePtr& each : *all) {
                points += PointsOf(each);
            }
        }
    }
    return kSecondsAPoint * static_cast<double>(points);
}
