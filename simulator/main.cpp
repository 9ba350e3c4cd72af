#include <csignal>
#include <cstdio>
#include <string>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include "simulator/CommandLine.h"
#include "simulator/ServiceCore.h"
#include "simulator/ServiceLink.h"
#include "simulator/StateFile.h"
#include "simulator/Version.h"

namespace {

void WriteError(const std::string& text)
{
    std::fprintf(stderr, "navigation-simulator: %s\n", text.c_str());
}

LogSink MakeLog(ELogLevel mostDetailed)
{
    return [mostDetailed](ELogLevel level, const std::string& text) {
        if (level <= mostDetailed)
            WriteError(text);
    };
}

KeepSink MakeKeep(const ProgramOptions& options)
{
    if (options.stateFile.empty())
        return {};
    return [file = StateFileC(options.stateFile)](const KeptValues& values) {
        const std::string problem = file.Save(values);
        if (!problem.empty())
            WriteError(problem);
    };
}

/// Reads the kept settings and makes sure that each of them is one.
std::string LoadKept(const ProgramOptions& options, KeptValues& kept)
{
    if (options.stateFile.empty())
        return {};
    const std::string problem = StateFileC(options.stateFile).Load(kept);
    if (!problem.empty())
        return problem;
    Settings settings;
    for (const auto& [name, value] : kept) {
        const std::string wrong = ApplyKept(settings, name, value);
        if (!wrong.empty())
            return "cannot use the state file " + options.stateFile + ": " + wrong;
    }
    return {};
}

EExitCode Serve(const ProgramOptions& options, const KeptValues& kept)
{
    asio::io_context loop;
    asio::signal_set signals(loop, SIGINT, SIGTERM);
    signals.async_wait([&loop](const auto&, int) { loop.stop(); });
    const LogSink log = MakeLog(options.logLevel);
    ServiceCoreC core(kept, MakeKeep(options), log);
    ServiceLinkC link(loop, core, log);
    const std::string problem = link.Listen(options.port);
    if (!problem.empty()) {
        WriteError(problem);
        return kExitCannotListen;
    }
    std::printf("navigation-simulator %s listens on localhost, port %u\n", ProgramVersion(),
                static_cast<unsigned>(link.Port()));
    std::fflush(stdout);
    loop.run();
    return kExitSuccess;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    // A client that goes away while it is written to is no reason to end.
    std::signal(SIGPIPE, SIG_IGN);
    ProgramOptions options;
    const std::optional<EExitCode> exitCode = ReadCommandLine(argumentCount, arguments, options);
    if (exitCode)
        return *exitCode;
    KeptValues kept;
    const std::string problem = LoadKept(options, kept);
    if (!problem.empty()) {
        WriteError(problem);
        return kExitWrongOptions;
    }
    return Serve(options, kept);
}
