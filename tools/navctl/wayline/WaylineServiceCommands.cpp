#include "tools/navctl/wayline/WaylineServiceCommands.h"

#include <memory>

#include "tools/navctl/Names.h"
#include "tools/navctl/operations/LateReply.h"
#include "tools/navctl/operations/OperationRun.h"
#include "tools/navctl/operations/Refusal.h"
#include "tools/navctl/wayline/WaylineReport.h"
#include "tools/navctl/wayline/WaylineSource.h"
#include "tools/navctl/wayline/WaylineText.h"

namespace {

COutcome CallByName(CContext& context, const char* command, const ArgumentValues& values)
{
    const COperation& operation = FindOperation(command);
    context.WaitLonger(MoreSecondsFor(values));
    return Call(context.Navigation(), operation.serviceName, operation.exchange, values);
}

/// Calls an operation.
///
/// @return whether it was carried out or refused; nothing when the command has failed.
std::optional<EOutcome> Outcome(CContext& context, const char* command,
                                const ArgumentValues& values)
{
    const COutcome outcome = CallByName(context, command, values);
    return GotThrough(context, FindOperation(command), outcome) ? std::optional(outcome.kind)
                                                                : std::nullopt;
}

/// What the service holds.
struct HeldWayline
{
    bool isKnown = false; ///< the service has said; if not, the command has failed
    std::optional<WaylineContent> content;
};

HeldWayline AskForWayline(CContext& context)
{
    const COperation& getter = FindOperation("get-wayline");
    const std::unique_ptr<BElementC> reply =
        CallFor(context.Navigation(), getter.serviceName, getter.exchange, {});
    const Kestrove::WaylinePtr wayline =
        Kestrove::CWayline::FromBList(dynamic_cast<BListC*>(reply.get()));
    if (wayline) {
        return {true, ContentOf(*wayline)};
    }
    const EOutcome outcome = reply == nullptr ? EOutcome::NoAnswer : EOutcome::OtherForm;
    return {GotThrough(context, getter, {outcome}), std::nullopt};
}

Json HeldJson(const WaylineContent& content)
{
    Json value = WaylineJson(content);
    value["text"] = WriteWaylineText(content);
    return value;
}

void Get(CContext& context)
{
    if (!context.Reach()) {
        return;
    }
    const HeldWayline held = AskForWayline(context);
    if (!held.isKnown) {
        return;
    }
    if (!held.content) {
        return context.Fail(kExitRefused, "the service has no complete wayline");
    }
    context.Print(HeldJson(*held.content), WriteWaylineText(*held.content));
}

/// Ends the command with why an operation was refused, and what the service holds, in words.
void Refuse(CContext& context, Json value, const char* operation, const ArgumentValues& values,
            const std::string& held = "")
{
    std::string reason = ReasonOfRefusal(context.Navigation(), FindOperation(operation), values);
    if (!held.empty()) {
        reason += "; it holds " + held;
    }
    value["reason"] = reason;
    context.Refuse(value, "the service refused " + std::string(operation) + ": " + reason);
}

Json NameJson(const std::string& name)
{
    return name.empty() ? Json(nullptr) : Json(name);
}

/// Which line of a file it is: 'line 3 "Along the road" of the field "North"'.
std::string EntryWords(const WaylineList::Entry& entry)
{
    const auto quoted = [](const std::string& name) { return "\"" + Printable(name) + "\""; };
    return "line " + std::to_string(entry.number) +
           (entry.content.name.empty() ? "" : " " + quoted(entry.content.name)) +
           (entry.field.empty() ? "" : " of the field " + quoted(entry.field));
}

void ReportSet(CContext& context, const WaylineList::Entry& wanted, const HeldWayline& held)
{
    if (!held.isKnown) {
        return;
    }
    const bool isTaken = held.content && *held.content == wanted.content;
    const Json value{{"outcome", isTaken ? "done" : "refused"},
                     {"line", wanted.number},
                     {"name", NameJson(wanted.content.name)},
                     {"field", NameJson(wanted.field)},
                     {"held", held.content ? HeldJson(*held.content) : Json(nullptr)}};
    if (isTaken) {
        return context.Print(value, "the service holds " + EntryWords(wanted) + ": " +
                                        WaylineWords(*held.content));
    }
    Refuse(context, value, "set-wayline", {},
           held.content ? WaylineWords(*held.content) : "no complete wayline");
}

/// Moves the service's local frame to where a line was read into. Not while the machine is steered:
/// it would follow its present line at another place until the new one is there.
///
/// @return false when it was not moved; that has been reported then and the exit code is set.
bool MoveOrigin(CContext& context, const GeodeticPlace& origin)
{
    const COutcome steering = CallByName(context, "is-steering-engaged", {});
    if (!GotThrough(context, FindOperation("is-steering-engaged"), steering)) {
        return false;
    }
    if (steering.value.is_boolean() && steering.value.get<bool>()) {
        context.Fail(kExitRefused,
                     "the line needs an origin of the local frame beside it, and that "
                     "is not moved while steering is engaged; disengage, or name the "
                     "service's own with --origin LAT,LON,HEIGHT");
        return false;
    }
    context.Navigation().SetWaylineOrigin({origin.latitude, origin.longitude, origin.height});
    return true;
}

void Set(CContext& context, const WaylineSource& source)
{
    const std::optional<WaylineList> list = ReadSource(context, source);
    if (!list) {
        return;
    }
    if (list->entries.size() != 1) {
        return context.Fail(kExitUsage, source.file + ": there are " +
                                            std::to_string(list->entries.size()) +
                                            " waylines in it; choose one by its name or "
                                            "number: --line LINE");
    }
    if (!context.Reach()) {
        return;
    }
    if (list->isOriginChosen && !MoveOrigin(context, *list->origin)) {
        return;
    }
    const WaylineList::Entry& wanted = list->entries.front();
    // The reply says nothing, what the service holds afterwards does.
    if (Outcome(context, "set-wayline", {MakeWayline(wanted.content)})) {
        ReportSet(context, wanted, AskForWayline(context));
    }
}

void Start(CContext& context, Kestrove::EWaylineType kind)
{
    if (!context.Reach()) {
        return;
    }
    const ArgumentValues values{static_cast<int>(kind)};
    const std::optional<EOutcome> outcome = Outcome(context, "start-wayline", values);
    if (!outcome) {
        return;
    }
    const bool isStarted = outcome == EOutcome::Done;
    const Json value{{"outcome", isStarted ? "done" : "refused"}, {"kind", KindName(kind)}};
    if (isStarted) {
        return context.Print(value, "done");
    }
    Refuse(context, value, "start-wayline", values);
}

void Clear(CContext& context)
{
    if (!context.Reach()) {
        return;
    }
    const std::optional<EOutcome> outcome = Outcome(context, "clear-wayline", {});
    if (!outcome) {
        return;
    }
    const bool isCleared = outcome == EOutcome::Done;
    const Json value{{"outcome", isCleared ? "done" : "refused"}};
    if (isCleared) {
        return context.Print(value, "done");
    }
    Refuse(context, value, "clear-wayline", {});
}

} // namespace

void AddWaylineServiceCommands(CLI::App& group, CContext& context)
{
    group.add_subcommand("get", "Asks for the service's wayline, in its text form")
        ->callback([&context] { Get(context); });
    CLI::App* set = group.add_subcommand(
        "set", "Replaces the service's wayline by a file's, and reads it back");
    const auto source = std::make_shared<WaylineSource>();
    AddWaylineSource(*set, *source);
    set->callback([&context, source] { Set(context, *source); });
    CLI::App* start = group.add_subcommand(
        "start", "Begins a wayline of a kind, which the waypoints then complete");
    const auto kind = std::make_shared<Kestrove::EWaylineType>(Kestrove::EWaylineTypeEmpty);
    AddKindOption(*start, "KIND", "The kind, by name or code", *kind)->required();
    start->callback([&context, kind] { Start(context, *kind); });
    group.add_subcommand("clear", "Drops the service's wayline and disengages")
        ->callback([&context] { Clear(context); });
}
