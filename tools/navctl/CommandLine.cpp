#include "tools/navctl/CommandLine.h"

#include <cctype>

#include "tools/navctl/UsageProblem.h"
#include "tools/navctl/Version.h"
#include "tools/navctl/doctor/DoctorCommand.h"
#include "tools/navctl/feed/FeedCommand.h"
#include "tools/navctl/fields/FieldCommands.h"
#include "tools/navctl/manual/CompletionCommand.h"
#include "tools/navctl/manual/ManualCommand.h"
#include "tools/navctl/operations/OperationCommands.h"
#include "tools/navctl/recording/RecordingCommand.h"
#include "tools/navctl/report/ReportCommand.h"
#include "tools/navctl/simulator/FaultCommand.h"
#include "tools/navctl/simulator/SimulatorCommand.h"
#include "tools/navctl/watch/WatchCommand.h"
#include "tools/navctl/wayline/WaylineCommand.h"

namespace {

/// Where the descriptions of a help page start: right of the longest command.
constexpr std::size_t kHelpColumn = 36;
const char* const kHelpCommand = "help";

void AddCommonOptions(CLI::App& app, CContext& context)
{
    app.set_version_flag("--version", std::string("navctl ") + ProgramVersion());
    app.add_option("--timeout", context.options.timeoutSeconds,
                   "Longest wait for a reply, seconds, 0.001 to 3600")
        ->check(NumberWithin(0.001, 3600.0, "0.001 to 3600"))
        ->type_name("SECONDS")
        ->capture_default_str();
    app.add_flag("--json", context.options.json, "Write the result as one JSON value");
    app.add_option("--record", context.options.recording,
                   "Record the link into this file, which is not there yet")
        ->type_name("FILE");
    app.add_flag("--trace", context.options.trace,
                 "Show the library's own trace lines on the standard error");
}

void AddVersionCommand(CLI::App& app, CContext& context)
{
    app.add_subcommand("version", "Prints the version")->callback([&context] {
        context.Print({{"version", ProgramVersion()}}, ProgramVersion());
    });
}

/// For the list of commands: the words are turned into those of --help before they are read.
void AddHelpCommand(CLI::App& app)
{
    CLI::App* const command =
        app.add_subcommand(kHelpCommand, "Prints the help of a command: navctl help COMMAND");
    command
        ->add_option_function<std::string>(
            "command", [](const std::string&) {}, "The command; without it, all are listed")
        ->type_name("");
    command->callback([] { throw CLI::CallForHelp(); });
}

/// The groups of commands, in the order of the help.
void AddCommands(CLI::App& app, CContext& context)
{
    AddOperationsCommand(app, context);
    AddWaylineCommand(app, context);
    AddBoundaryCommand(app, context);
    AddFeedCommand(app, context);
    AddWatchCommand(app, context);
    AddDoctorCommand(app, context);
    AddRecordingCommand(app, context);
    AddReportCommand(app, context);
    AddSimulatorCommand(app, context);
    AddFaultCommands(app, context);
    AddManualCommand(app, context);
    AddCompletionCommand(app, context);
    AddVersionCommand(app, context);
    AddHelpCommand(app);
    AddOperationCommands(app, context);
}

} // namespace

std::vector<std::string> WithWholeNumbers(std::vector<std::string> words)
{
    for (std::string& word : words) {
        const bool isNumber = word.size() > 2 && word.compare(0, 2, "-.") == 0 &&
                              std::isdigit(static_cast<unsigned char>(word[2])) != 0;
        if (isNumber) {
            word.insert(1, "0");
        }
    }
    return words;
}

std::vector<std::string> WithHelpAsOption(const CLI::App& app, std::vector<std::string> words)
{
    const std::size_t first = PlaceOfCommand(app, words);
    if (first >= words.size() || words[first] != kHelpCommand) {
        return words;
    }
    words.erase(words.begin() + static_cast<std::ptrdiff_t>(first));
    words.emplace_back("--help");
    return words;
}

std::unique_ptr<CLI::App> MakeCommandLine(CContext& context, const std::vector<std::string>& words)
{
    auto app = std::make_unique<CLI::App>("The navigation service from a shell.", "navctl");
    app->require_subcommand(1);
    app->get_formatter()->column_width(kHelpColumn);
    // The common options are taken after the command as well.
    app->fallthrough();
    AddCommonOptions(*app, context);
    // Before the command's own callback.
    app->parse_complete_callback([&context] {
        if (context.options.trace) {
            context.Output().TraceToErrors();
        }
    });
    const std::size_t place = PlaceOfCommand(*app, words);
    if (place == words.size() || !AddOperationCommand(*app, context, words[place])) {
        AddCommands(*app, context);
    }
    return app;
}
