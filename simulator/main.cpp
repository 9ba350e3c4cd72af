#include <csignal>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include "simulator/CommandLine.h"
#include "simulator/KeptSettings.h"
#include "simulator/Pacer.h"
#include "simulator/ServiceLink.h"
#include "simulator/StateFile.h"
#include "simulator/Version.h"
#include "simulator/http/LivePage.h"

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

/// Reads the kept settings and makes sure that each of them can be used.
std::string LoadKept(const ProgramOptions& options, KeptValues& kept)
{
    if (options.stateFile.empty())
        return {};
    const StateFileC file(options.stateFile);
    std::string problem = file.Check();
    if (problem.empty())
        problem = file.Load(kept);
    if (!problem.empty())
        return problem;
    CSimulation trial(options.simulation);
    const COutcome outcome = KeptSettingsC(kept, {}).ApplyTo(trial);
    return outcome ? std::string()
                   : "cannot use the state file " + options.stateFile + ": " + outcome.Reason();
}

void Announce(const ServiceLinkC& link, const std::optional<LivePageC>& page)
{
    if (page) {
        std::printf("live page at http://localhost:%u/\n", static_cast<unsigned>(page->Port()));
        std::fflush(stdout);
    }
    std::printf("navigation-simulator %s listens on localhost, port %u\n", ProgramVersion(),
                static_cast<unsigned>(link.Port()));
    std::fflush(stdout);
}

EExitCode Fail(EExitCode code, const std::string& problem)
{
    WriteError(problem);
    return code;
}

/// Has nothing more come out on the standard output: the wayline library prints the text forms that
/// it reads, and whoever started the program need not read that. It stays open all the same, since
/// its end stands for the end of the program.
void SilenceOutput()
{
    [[maybe_unused]] static const int kept = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        WriteError("cannot open /dev/null");
}

EExitCode Serve(const ProgramOptions& options, const KeptValues& kept)
{
    asio::io_context loop;
    asio::signal_set signals(loop, SIGINT, SIGTERM);
    signals.async_wait([&loop](const auto&, int) { loop.stop(); });
    LogTapC log(MakeLog(options.logLevel));
    TrailC trail;
    ServiceLinkC link(loop, {options.simulation, kept, MakeKeep(options),
                             options.httpPort ? trail.Sink() : EventSink(), log.Sink()});
    // First of all: the track file may be that of the simulator which has the port.
    const std::string busy = link.Listen(options.port);
    if (!busy.empty())
        return Fail(kExitCannotListen, busy);
    std::optional<LivePageC> page;
    if (options.httpPort) {
        page.emplace(loop, link.Core(), trail, log);
        const std::string problem = page->Listen(*options.httpPort);
        if (!problem.empty())
            return Fail(kExitCannotListen, "live page: " + problem);
    }
    if (!options.trackFile.empty()) {
        const std::string problem = link.Core().RecordTrack(options.trackFile);
        if (!problem.empty())
            return Fail(kExitWrongOptions, problem);
    }
    Announce(link, page);
    if (page)
        SilenceOutput();
    PacerC pacer(loop, link.Core(), options.speedFactor);
    pacer.Start();
    loop.run();
    return kExitSuccess;
}

EExitCode Run(int argumentCount, const char* const* arguments)
{
    ProgramOptions options;
    const std::optional<EExitCode> exitCode = ReadCommandLine(argumentCount, arguments, options);
    if (exitCode)
        return *exitCode;
    KeptValues kept;
    const std::string problem = LoadKept(options, kept);
    if (!problem.empty())
        return Fail(kExitWrongOptions, problem);
    return Serve(options, kept);
}

} // namespace

int main(int argumentCount, char** arguments)
{
    // A client that goes away while it is written to is no reason to end.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return Run(argumentCount, arguments);
    } catch (const std::exception& error) {
        return Fail(kExitFailed, error.what());
    }
}
