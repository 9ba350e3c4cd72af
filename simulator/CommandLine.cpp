#include "simulator/CommandLine.h"

#include <map>

#include <CLI/CLI.hpp>

#include "simulator/Version.h"

namespace {

const std::map<std::string, ELogLevel> kLogLevels{{"error", ELogLevel::Error},
                                                  {"warning", ELogLevel::Warning},
                                                  {"info", ELogLevel::Info},
                                                  {"debug", ELogLevel::Debug}};

void AddServiceOptions(CLI::App& app, ProgramOptions& options)
{
    app.add_option("--port", options.port, "Port to listen on, on the loopback addresses only")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--state", options.stateFile,
                   "File that keeps settings over a restart; made when it is not there");
    app.add_option("--log-level", options.logLevel,
                   "What is written to standard error: error, warning, info or debug")
        ->transform(CLI::CheckedTransformer(kLogLevels).description("LEVEL"))
        ->default_str("warning");
}

} // namespace

std::optional<EExitCode> ReadCommandLine(int argumentCount, char** arguments,
                                         ProgramOptions& options)
{
    CLI::App app("A navigation service with a simulated machine, to develop applications against.",
                 "navigation-simulator");
    app.set_version_flag("--version", ProgramVersion());
    AddServiceOptions(app, options);
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kExitSuccess : kExitWrongOptions;
    }
    return std::nullopt;
}
