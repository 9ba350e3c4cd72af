#include "tools/navctl/wayline/WaylineServiceCommands.h"

#include <memory>

#include "tools/navctl/Names.h"
#include "tools/navctl/operations/Refusal.h"
#include "tools/navctl/wayline/WaylineReport.h"
#include "tools/navctl/wayline/WaylineSource.h"
#include "tools/navctl/wayline/WaylineText.h"

namespace {

/// What the service holds.
struct HeldWayline
{
    bool isKnown = false; ///< the service has told
    std::optional<WaylineContent> content;
};

HeldWayline AskForWayline(CContext& context)
{
    const Kestrove::WaylinePtr wayline = context.Navigation().GetWayline();
    if (wayline)
        return {true, ContentOf(*wayline)};
    // An answer without a value is how the service says that it has none.
    return {context.Navigation().LastError().code == ELinkError::NoValue, std::nullopt};
}

Json HeldJson(const WaylineContent& content)
{
    Json value = WaylineJson(content);
    value["text"] = WriteWaylineText(content);
    return value;
}

void Get(CContext& context)
{
    if (!context.Reach())
        return;
    const HeldWayline held = AskForWayline(context);
    if (!held.isKnown)
        return context.FailByLink();
    if (!held.content)
        return context.Fail(kExitRefused, "the service has no complete wayline");
    context.Print(HeldJson(*held.content), WriteWaylineText(*held.content));
}

/// Ends the command with what was refused, and why.
void Refuse(CContext& context, const Json& value, const char* operation, const std::string& words)
{
    const std::string reason =
        ReasonOfRefusal(context.Navigation(), FindOperation(operation), ArgumentValues());
    context.Refuse(value, words + "; " + reason);
}

void ReportSet(CContext& context, const WaylineContent& wanted, const HeldWayline& held)
{
    if (!held.isKnown)
        return context.FailByLink();
    const bool isTaken = held.content && *held.content == wanted;
    const Json value{{"outcome", isTaken ? "done" : "refused"},
                     {"held", held.content ? HeldJson(*held.content) : Json(nullptr)}};
    if (isTaken)
        return context.Print(value, "the service holds: " + WaylineWords(*held.content));
    Refuse(context, value, "set-wayline",
           held.content ? "the service did not take it; it holds: " + WaylineWords(*held.content)
                        : "the service did not take it; it holds no wayline");
}

void Set(CContext& context, const WaylineSource& source)
{
    const std::optional<WaylineList> list = ReadSource(context, source);
    if (!list)
        return;
    if (list->entries.size() != 1) {
        return context.Fail(kExitUsage, source.file + ": there are " +
                                            std::to_string(list->entries.size()) +
                                            " waylines in it; choose one: --line NUMBER");
    }
    if (!context.Reach())
        return;
    const WaylineContent& wanted = list->entries.front().content;
    // True for every answer, a refusal included: what the service holds afterwards tells.
    if (!context.Navigation().SetWayline(MakeWayline(wanted)))
        return context.FailByLink();
    ReportSet(context, wanted, AskForWayline(context));
}

void Start(CContext& context, Kestrove::EWaylineType kind)
{
    if (!context.Reach())
        return;
    const bool isStarted = context.Navigation().StartWayline(kind);
    const Json value{{"outcome", isStarted ? "done" : "refused"}, {"kind", KindName(kind)}};
    if (isStarted)
        return context.Print(value, "done");
    if (context.HasLinkFailed())
        return context.FailByLink();
    Refuse(context, value, "start-wayline",
           "the service begins no " + std::string(KindTitle(kind)));
}

void Clear(CContext& context)
{
    if (!context.Reach())
        return;
    const bool isCleared = context.Navigation().ClearWayline();
    const Json value{{"outcome", isCleared ? "done" : "refused"}};
    if (isCleared)
        return context.Print(value, "done");
    if (context.HasLinkFailed())
        return context.FailByLink();
    Refuse(context, value, "clear-wayline", "there was no wayline to drop");
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
