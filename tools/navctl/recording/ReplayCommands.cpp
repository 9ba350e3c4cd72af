#include <limits>
#include <memory>

#include "tools/navctl/UsageProblem.h"
#include "tools/navctl/recording/RecordingCommand.h"
#include "tools/navctl/recording/ReplayRun.h"

namespace {

using ReplayRun = void (*)(CContext&, const CReplayOptions&, CReplayScript);

void AddReplayCommand(CLI::App& command, CContext& context,
                      const std::shared_ptr<CReplayOptions>& options, ReplayRun run)
{
    command.add_option("FILE", options->file, "The recording")->required();
    command.add_option("--client", options->client, "Of many recorded clients, that one")
        ->check(WholeNumberWithin(1, std::numeric_limits<int>::max()))
        ->type_name("N");
    command.add_option("--tolerance", options->tolerance, "By how much numbers may differ")
        ->check(NumberWithin(0.0, 1e9, "0 to 1e9"))
        ->type_name("NUMBER");
    command.callback([&context, options, run] {
        std::optional<CReplayScript> script = ReadScript(context, options->file, options->client);
        if (script) {
            run(context, *options, std::move(*script));
        }
    });
}

} // namespace

void AddReplayCommands(CLI::App& group, CContext& context)
{
    const auto served = std::make_shared<CReplayOptions>();
    CLI::App* const serve = group.add_subcommand(
        "serve", "Listens on port 5010 and answers an application as the recorded service did");
    AddReplayCommand(*serve, context, served, RunServe);
    serve->add_flag("--lenient", served->lenient, "Do not compare arguments");
    serve->add_flag("--stepped", served->stepped,
                    "Send events behind the recorded request, not at their recorded times");
    serve->add_flag("--once", served->once, "End when the application has left");

    const auto played = std::make_shared<CReplayOptions>();
    CLI::App* const play = group.add_subcommand(
        "play",
        "Sends what the recorded application sent, and compares what comes; 1 if it differs");
    AddReplayCommand(*play, context, played, RunPlay);
    CLI::Option* const rate =
        play->add_option("--rate", played->rate, "How many times as fast as recorded")
            ->check(NumberWithin(0.001, 1e6, "0.001 to 1e6"))
            ->type_name("NUMBER");
    play->add_flag("--stepped", played->stepped,
                   "Send each message when all that was recorded before it has come")
        ->excludes(rate);
}
