#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <pthread.h>
#include <unistd.h>

#include "simulator/aside/MemoryWatch.h"
#include "simulator/base/Version.h"
#include "simulator/http/LivePage.h"
#include "simulator/nmea/NmeaOutput.h"
#include "simulator/output/LimitedLog.h"
#include "simulator/output/ProgramOutput.h"
#include "simulator/program/CommandLine.h"
#include "simulator/program/DescriptorLimit.h"
#include "simulator/program/MemoryLimit.h"
#include "simulator/program/RecordingView.h"
#include "simulator/service/Pacer.h"
#include "simulator/service/ServiceLink.h"
#include "simulator/settings/KeptSettings.h"
#include "simulator/settings/SettingsSaver.h"
#include "simulator/settings/StateFile.h"

namespace {

using Clock = std::chrono::steady_clock;
/// Shared with threads that a disk may keep beyond the end of main().
using OutputPointer = std::shared_ptr<CProgramOutput>;

// A program that is asked to end has done so within two seconds, whatever holds up its files.
constexpr std::chrono::milliseconds kLongestSaving(1000);
constexpr std::chrono::milliseconds kLongestWriting(400);

/// Those that end the program.
sigset_t EndingSignals()
{
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGINT);
    ::sigaddset(&signals, SIGTERM);
    return signals;
}

// What the loop keeps to itself of the memory.
constexpr std::size_t kMostSpare = std::size_t{16} * 1024 * 1024;

/// Until the program serves, SIGINT and SIGTERM end it at once, whatever holds it up: there is
/// nothing to bring to an end yet. They do so where its parent has them blocked, too, which a
/// program inherits.
void EndAtOnceOnSignals()
{
    for (const int signal : {SIGINT, SIGTERM}) {
        std::signal(signal, [](int) { ::_exit(kExitSuccess); });
    }
    const sigset_t ending = EndingSignals();
    ::pthread_sigmask(SIG_UNBLOCK, &ending, nullptr);
}

/// Once the program ends, further ones change nothing: they would cut short what it still saves and
/// writes. No other thread takes them either.
void HoldSignalsBack()
{
    const sigset_t ending = EndingSignals();
    ::pthread_sigmask(SIG_BLOCK, &ending, nullptr);
}

/// The state file and what it holds.
struct KeptState
{
    std::unique_ptr<CStateFile> file; ///< none: nothing is kept
    KeptValues values;
};

/// Reads the kept settings and makes sure that each of them can be used.
std::string LoadKept(const ProgramOptions& options, KeptState& kept)
{
    if (options.stateFile.empty()) {
        return {};
    }
    kept.file = std::make_unique<CStateFile>(options.stateFile);
    std::string problem = kept.file->Open();
    if (problem.empty()) {
        problem = kept.file->Load(kept.values);
    }
    if (!problem.empty()) {
        return problem;
    }
    CSimulation trial(options.simulation);
    const COutcome outcome = CKeptSettings(kept.values, {}).ApplyTo(trial);
    return outcome ? std::string()
                   : "cannot use the state file " + options.stateFile + ": " + outcome.Reason();
}

std::string Announcement(const CServiceLink& link, const std::optional<CLivePage>& page,
                         const CNmeaOutput& nmea)
{
    std::ostringstream text;
    text << nmea.Announcement();
    if (page) {
        text << "live page at http://localhost:" << page->Port() << "/\n";
    }
    text << "navigation-simulator " << ProgramVersion() << " listens on localhost, port "
         << link.Port() << '\n';
    return text.str();
}

/// Starts to say what the receiver measures, where anybody is to hear it.
EExitCode StartNmea(const ProgramOptions& options, const CStateFile* settings, CServiceLink& link,
                    CNmeaOutput& nmea, std::string& problem)
{
    bool isPort = false;
    problem = nmea.Open(settings, isPort);
    if (problem.empty() && !options.nmea.targets.empty()) {
        link.Core().OnStep(
            [&nmea](const CSimulation& world, const auto& origin) { nmea.Look(world, origin); });
    }
    return problem.empty() ? kExitSuccess : isPort ? kExitCannotListen : kExitWrongOptions;
}

/// Has happen what is planned.
std::string StartScenario(const ProgramOptions& options, CServiceCore& core)
{
    if (options.scenarioFile.empty()) {
        return {};
    }
    Scenario scenario;
    std::string problem = ReadScenarioFile(options.scenarioFile, core.OperationNames(), scenario);
    if (problem.empty()) {
        core.StartScenario(std::move(scenario));
    }
    return problem;
}

/// Starts to listen and to write the drive down.
///
/// @return the code to exit with when that fails, with what stands in the way in `problem`.
EExitCode StartServing(const ProgramOptions& options, const CStateFile* settings,
                       CServiceLink& link, std::optional<CLivePage>& page, CNmeaOutput& nmea,
                       std::string& problem)
{
    // First of all: the track file may be that of the simulator which has the port.
    problem = link.Listen(options.port);
    if (!problem.empty()) {
        return kExitCannotListen;
    }
    if (page) {
        problem = page->Listen(*options.httpPort);
        if (!problem.empty()) {
            problem = "live page: " + problem;
            return kExitCannotListen;
        }
    }
    if (!options.trackFile.empty()) {
        problem = link.Core().RecordTrack(options.trackFile, settings, options.driveCommand);
    }
    if (problem.empty() && !options.recordFile.empty()) {
        problem = link.RecordTo(options.recordFile, options.driveCommand);
    }
    if (!problem.empty()) {
        return kExitWrongOptions;
    }
    problem = StartScenario(options, link.Core());
    if (!problem.empty()) {
        return kExitWrongOptions;
    }
    return StartNmea(options, settings, link, nmea, problem);
}

/// Has the kept settings saved from now on, where there is a file for them.
void StartSaving(KeptState kept, const OutputPointer& output, std::optional<CSettingsSaver>& saver)
{
    if (kept.file) {
        saver.emplace(std::move(kept.file), std::move(kept.values),
                      [output](const std::string& line) { output->Log(line); });
    }
}

/// What takes the settings to keep; empty where there is no file for them.
KeepSink SinkOf(const KeptState& kept, std::optional<CSettingsSaver>& saver)
{
    if (!kept.file) {
        return {};
    }
    return [&saver](const KeptValues& values) { saver->Keep(values); };
}

/// Brings to the disk what is still to be brought there.
void EndSaving(const ProgramOptions& options, CServiceLink& link,
               std::optional<CSettingsSaver>& saver, CProgramOutput& output)
{
    const Clock::time_point deadline = Clock::now() + kLongestSaving;
    if (saver && !saver->Finish(deadline)) {
        output.Log("the state file " + options.stateFile +
                   " may lack the last settings: it could not be written in time");
    } else if (saver && saver->State() == EKeeping::Failing) {
        output.Log("the state file " + options.stateFile +
                   " lacks the last settings: it could not be written at the end either");
    }
    link.Core().EndTrack(deadline);
    link.EndRecording(deadline);
}

/// The most that there may be at once of clients, so that descriptors are left for the page and for
/// files, whoever connects to the service, that an event goes to a bounded number, and that those
/// that send nothing take an eighth of the memory at most.
MPIServerLimitsC LimitsOf(const DescriptorLimit::Shares& descriptors, std::size_t memory)
{
    constexpr std::size_t mostClients = 1024;
    constexpr std::size_t silentBytes = 32768;
    MPIServerLimitsC limits;
    // Those who read sentences take theirs from the clients' share, where there are many.
    constexpr std::size_t readers = 2 * CNmeaServer::kMostReaders;
    const std::size_t left =
        descriptors.clients > 4 * readers ? descriptors.clients - readers : descriptors.clients;
    limits.memory = memory;
    limits.connections = std::min({mostClients, left, memory / 8 / silentBytes});
    return limits;
}

/// The system's clock, unless the simulated one goes at another speed.
UnixClock ClockOf(const ProgramOptions& options)
{
    if (options.speedFactor != 1.0 || options.clock == EClock::Stepped) {
        return {};
    }
    return [] {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        return std::chrono::duration<double>(now).count();
    };
}

ServiceCoreOptions CoreOptionsOf(const ProgramOptions& options, const KeptState& kept,
                                 std::optional<CSettingsSaver>& saver, EventSink publish,
                                 CLogTap& log)
{
    ServiceCoreOptions core;
    core.simulation = options.simulation;
    core.kept = kept.values;
    core.keep = SinkOf(kept, saver);
    core.publish = std::move(publish);
    core.log = log.Sink();
    core.keepState = [&saver] { return saver->State(); };
    core.stepped = options.clock == EClock::Stepped;
    core.description = options.description;
    core.driveCommand = options.driveCommand;
    core.clock = ClockOf(options);
    return core;
}

/// Runs the loop until a signal stops it, also where memory runs out.
void RunToTheEnd(asio::io_context& loop, CServiceLink& link, std::size_t memory)
{
    CMemoryWatch(loop, std::min(kMostSpare, memory / 4), [&link] { link.GiveUpGreediest(); }).Run();
}

/// A drive to look at, where time goes on by itself and nothing else is planned.
void OfferShow(const ProgramOptions& options, CServiceLink& link, CLivePage& page)
{
    if (options.clock == EClock::Real && options.scenarioFile.empty()) {
        page.OfferShow([&link] { return link.HasHadClients(); });
        link.OnClient([&page] { page.EndShow(); });
    }
}

EExitCode Serve(const ProgramOptions& options, KeptState kept, const OutputPointer& output)
{
    asio::io_context loop;
    asio::signal_set signals(loop, SIGINT, SIGTERM);
    signals.async_wait([&loop](const auto&, int) { loop.stop(); });
    const LogSink write = [&output](ELogLevel, const std::string& line) { output->Log(line); };
    CLimitedLog limited(loop, options.logLevel, write);
    CLogTap log(limited.Sink());
    CTrail trail;
    std::optional<CSettingsSaver> saver;
    const auto shares = DescriptorLimit::Divide(options.httpPort ? HttpLimits().connections : 0);
    const auto memory = MemoryLimit::Divide(MemoryLimit::Allowed());
    CServiceLink link(
        loop,
        CoreOptionsOf(options, kept, saver, options.httpPort ? trail.Sink() : EventSink(), log),
        [&limited](ClientNumber client) { limited.Serve(client); },
        LimitsOf(shares, memory.clients));
    const HttpLimits limits{shares.page, memory.page};
    std::optional<CLivePage> page;
    if (options.httpPort) {
        page.emplace(loop, link.Core(), trail, log, LivePageTimes(), limits);
        OfferShow(options, link, *page);
    }
    std::string problem;
    CNmeaOutput nmea(loop, options.nmea, options.simulation.seed, log.Sink());
    const EExitCode exitCode = StartServing(options, kept.file.get(), link, page, nmea, problem);
    if (!problem.empty()) {
        HoldSignalsBack(); // those who took them end with this function
        output->Log(problem);
        return exitCode;
    }
    StartSaving(std::move(kept), output, saver);
    output->Print(Announcement(link, page, nmea));
    CPacer pacer(loop, link.Core(), options.speedFactor);
    if (options.clock == EClock::Real) {
        pacer.Start();
    }
    RunToTheEnd(loop, link, memory.clients);
    HoldSignalsBack();
    EndSaving(options, link, saver, *output);
    nmea.Close(Clock::now() + kLongestWriting);
    return kExitSuccess;
}

EExitCode Run(int argumentCount, const char* const* arguments, const OutputPointer& output)
{
    ProgramOptions options;
    std::ostringstream text;
    std::ostringstream errors;
    const std::optional<EExitCode> exitCode =
        ReadCommandLine(argumentCount, arguments, options, text, errors);
    output->Print(text.str());
    output->PrintError(errors.str());
    if (exitCode) {
        return *exitCode;
    }
    std::string problem = DescriptorLimit::Problem(options.httpPort.has_value());
    if (!problem.empty()) {
        output->Log(problem);
        return kExitFailed;
    }
    if (!options.viewFile.empty()) {
        return ViewRecording(options, *output);
    }
    KeptState kept;
    problem = LoadKept(options, kept);
    if (!problem.empty()) {
        output->Log(problem);
        return kExitWrongOptions;
    }
    const std::string warning = kept.file ? kept.file->Warning() : std::string();
    if (!warning.empty() && options.logLevel >= ELogLevel::Warning) {
        output->Log(warning);
    }
    return Serve(options, std::move(kept), output);
}

} // namespace

int main(int argumentCount, char** arguments)
{
    // First of all: until here a signal ends the program as one that was killed by it.
    EndAtOnceOnSignals();
    // A client that goes away while it is written to is not a reason to end, nor is a file that has
    // become as long as it may.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    DescriptorLimit::Raise();
    OutputPointer output;
    EExitCode exitCode = kExitFailed;
    try {
        output = std::make_shared<CProgramOutput>();
        exitCode = Run(argumentCount, arguments, output);
    } catch (const std::exception& error) {
        if (output) {
            output->Log(error.what());
        } else {
            const std::string problem = DescriptorLimit::Problem(false);
            std::fprintf(stderr, "navigation-simulator: %s\n",
                         problem.empty() ? error.what() : problem.c_str());
        }
    }
    if (output) {
        output->Finish(Clock::now() + kLongestWriting);
    }
    return exitCode;
}
