#include "simulator/CommandLine.h"

#include <cstdio>
#include <map>
#include <type_traits>
#include <vector>

#include <CLI/CLI.hpp>

#include "simulator/ImplementOption.h"
#include "simulator/Version.h"

namespace {

template <typename Value>
using Choices = std::map<std::string, Value>;

const Choices<ELogLevel> kLogLevels{{"error", ELogLevel::Error},
                                    {"warning", ELogLevel::Warning},
                                    {"info", ELogLevel::Info},
                                    {"debug", ELogLevel::Debug}};
const Choices<EReceiver> kReceivers{
    {"ideal", EReceiver::Ideal}, {"rtk", EReceiver::Rtk}, {"sbas", EReceiver::Sbas}};
const Choices<ELeastFix> kLeastFixes{{"any", ELeastFix::Any},
                                     {"gps", ELeastFix::Gps},
                                     {"dgps", ELeastFix::Dgps},
                                     {"rtk-float", ELeastFix::RtkFloat},
                                     {"rtk-fixed", ELeastFix::RtkFixed}};
const Choices<EGuide> kGuides{{"machine", EGuide::Machine}, {"implement", EGuide::Implement}};
const Choices<EGround> kGrounds{{"firm", EGround::Firm}, {"field", EGround::Field}};

std::string NotAllowed(const std::string& word, const std::string& allowed)
{
    return "\"" + Printable(word) + "\" is not allowed, allowed is " + allowed;
}

/// Checks that a word is one of a few.
template <typename Value>
CLI::Validator OneOf(const Choices<Value>& choices)
{
    const auto check = [&choices](const std::string& word) {
        if (choices.count(word) != 0)
            return std::string();
        std::string allowed;
        for (const auto& choice : choices)
            allowed += (allowed.empty() ? "" : ", ") + choice.first;
        return NotAllowed(word, allowed);
    };
    return CLI::Validator(check, "");
}

/// Checks that the name of a file is there.
const CLI::Validator kFileName(
    [](const std::string& word) {
        return word.empty() ? NotAllowed(word, "the name of a file") : std::string();
    },
    "");

/// An option whose value is one of a few words.
template <typename Value>
void AddChoice(CLI::App& app, const char* name, Value& value, const Choices<Value>& choices,
               const char* defaultWord, const char* help)
{
    app.add_option_function<std::string>(
           name, [&value, &choices](const std::string& word) { value = choices.at(word); }, help)
        ->check(OneOf(choices))
        ->type_name("WORD")
        ->default_str(defaultWord);
}

/// Checks that a word is a number from `lowest` to `highest`, of the type that they have; "nan" is
/// none.
template <typename Number>
CLI::Validator Within(Number lowest, Number highest)
{
    const auto check = [lowest, highest](const std::string& word) {
        Number value{};
        if (CLI::detail::lexical_cast(word, value) && value >= lowest && value <= highest)
            return std::string();
        char allowed[80];
        std::snprintf(allowed, sizeof allowed, "%.15g to %.15g%s", static_cast<double>(lowest),
                      static_cast<double>(highest),
                      std::is_integral_v<Number> ? " without a fraction" : "");
        return NotAllowed(word, allowed);
    };
    return CLI::Validator(check, "");
}

/// An option that is a number within limits; in degrees on the command line where `unit` is that
/// of a degree, in radians in the program.
void AddNumber(CLI::App& app, const char* name, double& value, const CLI::Validator& range,
               const char* help, double unit = 1.0)
{
    app.add_option_function<double>(
           name, [&value, unit](const double& given) { value = given * unit; }, help)
        ->check(range)
        ->type_name("NUMBER")
        ->default_str(CLI::detail::to_string(value / unit));
}

void AddServiceOptions(CLI::App& app, ProgramOptions& options)
{
    app.add_option("--port", options.port,
                   "Port to listen on, on the loopback addresses only; 0 takes a free one")
        ->check(Within(0, 65535))
        ->type_name("NUMBER")
        ->capture_default_str();
    app.add_option("--http", options.httpPort,
                   "Port to serve the live page on, likewise; without it there is none")
        ->check(Within(0, 65535))
        ->type_name("NUMBER");
    app.add_option("--state", options.stateFile,
                   "File that keeps settings over a restart; made when it is not there")
        ->check(kFileName)
        ->type_name("FILE");
    app.add_option("--track", options.trackFile, "Write the drive to a file as CSV")
        ->check(kFileName)
        ->type_name("FILE");
    AddChoice(app, "--log-level", options.logLevel, kLogLevels, "warning",
              "What is written to standard error: error, warning, info or debug");
    AddNumber(app, "--speed-factor", options.speedFactor, Within(0.01, 1000.0),
              "Simulated seconds a real second");
}

void AddImplementOptions(CLI::App& app, SimulationOptions& world)
{
    const auto check = [](const std::string& words) {
        ImplementGeometry trial;
        return ReadImplement(words, trial) ? std::string() : NotAllowed(words, kImplementForms);
    };
    app.add_option_function<std::string>(
           "--implement",
           [&world](const std::string& words) { ReadImplement(words, world.implement); },
           "How the implement hangs on the machine: carried:BEHIND or trailed:HITCH,DRAWBAR, "
           "metres")
        ->check(CLI::Validator(check, ""))
        ->type_name("WORD")
        ->default_str("carried:2.0");
    AddChoice(app, "--guide", world.guide, kGuides, "machine",
              "What is kept on the line: machine or implement");
    AddChoice(app, "--least-fix", world.leastFix, kLeastFixes, "rtk-float",
              "Fed positions are steered by when their fix is at least: any, gps, dgps, rtk-float "
              "or rtk-fixed");
}

void AddWorldOptions(CLI::App& app, SimulationOptions& world, std::vector<double>& start)
{
    app.add_option("--seed", world.seed, "Seed of all noise; the same seed repeats a run")
        ->check(Within<std::int64_t>(0, 1'000'000'000'000'000))
        ->type_name("NUMBER")
        ->capture_default_str();
    AddChoice(app, "--receiver", world.receiver, kReceivers, "rtk",
              "How well the machine's receiver measures: ideal, rtk or sbas");
    AddChoice(app, "--ground", world.ground, kGrounds, "firm",
              "What the machine drives on: firm or field");
    app.add_option("--start", start,
                   "Where the machine starts: metres east, metres north, heading in degrees")
        ->expected(3)
        ->delimiter(',')
        ->check(Within(-1e6, 1e6))
        ->type_name("X,Y,HEADING")
        ->default_str("0,0,0");
    AddNumber(app, "--speed", world.speed, Within(-5.0, 15.0),
              "Speed at the start and first speed set point, metres per second");
    AddNumber(app, "--centre-bias", world.centreBias, Within(-5.0, 5.0),
              "How far the wheels stand right of what the sensor says, degrees", Radians(1.0));
    AddNumber(app, "--backlash", world.backlash, Within(0.0, 5.0),
              "Play between the steering actuator and the wheels, degrees", Radians(1.0));
    AddImplementOptions(app, world);
}

} // namespace

std::optional<EExitCode> ReadCommandLine(int argumentCount, const char* const* arguments,
                                         ProgramOptions& options, std::ostream& output,
                                         std::ostream& errors)
{
    CLI::App app("A navigation service with a simulated machine, to develop applications against.",
                 "navigation-simulator");
    app.set_version_flag("--version", std::string("navigation-simulator ") + ProgramVersion());
    std::vector<double> start;
    AddServiceOptions(app, options);
    AddWorldOptions(app, options.simulation, start);
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error, output, errors) == 0 ? kExitSuccess : kExitWrongOptions;
    }
    if (!start.empty())
        options.simulation.startPose = {{start[0], start[1]}, NormaliseHeading(Radians(start[2]))};
    return std::nullopt;
}
