#include "tools/navctl/Program.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/navctl/CommandLine.h"
#include "tools/navctl/Context.h"
#include "tools/navctl/Output.h"
#include "tools/navctl/UsageProblem.h"

namespace {

bool AsksForJson(const std::vector<std::string>& words)
{
    const auto end = std::find(words.begin(), words.end(), "--");
    return std::find(words.begin(), end, "--json") != end;
}

void FailByUsage(CContext& context, const std::string& problem)
{
    context.Fail(kExitUsage, problem);
    WriteError("navctl --help and navctl COMMAND --help tell more");
}

/// Gives what is asked for in place of a command's work: help or the version.
///
/// @param problem what is wrong with the command line all the same.
void PrintHelp(CContext& context, CLI::App& app, const std::optional<std::string>& problem,
               const CLI::Success& wanted)
{
    if (problem) {
        FailByUsage(context, *problem);
        return;
    }
    std::ostringstream text;
    app.exit(wanted, text, text);
    if (context.WritesJson()) {
        context.Print({{"text", text.str()}}, "");
    } else {
        context.Output().Write(context.Output().Fitted(text.str()));
    }
}

EExitCode Run(int argumentCount, char** arguments, COutput& output)
{
    CContext context(output);
    const std::vector<std::string> given =
        WithWholeNumbers({arguments + 1, arguments + std::max(argumentCount, 1)});
    const std::unique_ptr<CLI::App> app = MakeCommandLine(context, given);
    const std::vector<std::string> words = WithHelpAsOption(*app, given);
    try {
        // The reader takes them from the back.
        app->parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::Success& wanted) {
        context.options.json = AsksForJson(words);
        PrintHelp(context, *app,
                  words == given ? UnknownWord(*app, words) : HelpProblem(*app, words), wanted);
    } catch (const CLI::ParseError& error) {
        // The options need not have been read yet.
        context.options.json = AsksForJson(words);
        const std::optional<std::string> problem =
            words == given ? std::nullopt : HelpProblem(*app, words);
        FailByUsage(context, problem ? *problem : UsageProblem(*app, words, error));
    } catch (const std::exception& error) {
        context.Fail(kExitProtocolError, error.what());
    }
    return context.ExitCode();
}

} // namespace

int RunProgram(int argumentCount, char** arguments)
{
    COutput output;
    const EExitCode code = Run(argumentCount, arguments, output);
    if (output.HasFailed()) {
        WriteError("cannot write the standard output: " + output.Problem());
        return kExitCannotWrite;
    }
    return code;
}
