#include "simulator/program/CommandLine.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <type_traits>
#include <vector>

#include <CLI/CLI.hpp>

#include "simulator/base/Version.h"
#include "simulator/operations/PositionSample.h"
#include "simulator/program/DriveCommand.h"
#include "simulator/program/FileOption.h"
#include "simulator/program/WorldOptions.h"

namespace {

template <typename Value>
using Choices = std::map<std::string, Value>;

const Choices<ELogLevel> kLogLevels{{"error", ELogLevel::Error},
                                    {"warning", ELogLevel::Warning},
                                    {"info", ELogLevel::Info},
                                    {"debug", ELogLevel::Debug}};
const Choices<EClock> kClocks{{"real", EClock::Real}, {"stepped", EClock::Stepped}};
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
        if (choices.count(word) != 0) {
            return std::string();
        }
        std::string allowed;
        for (const auto& choice : choices) {
            allowed += (allowed.empty() ? "" : ", ") + choice.first;
        }
        return NotAllowed(word, allowed);
    };
    return CLI::Validator(check, "");
}

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

/// The number that a word is where it is given for an option; nothing when it is not one.
template <typename Number>
std::optional<Number> NumberIn(const std::string& word)
{
    CLI::App reader;
    CLI::Option* const option = reader.add_option("number")->add_result(word);
    try {
        return word.empty() ? std::nullopt : std::optional(option->as<Number>());
    } catch (const CLI::ConversionError&) {
        return std::nullopt;
    }
}

/// Checks that a word is a number from `lowest` to `highest`, of the type that they have; "nan" is
/// not one.
template <typename Number>
CLI::Validator Within(Number lowest, Number highest)
{
    const auto check = [lowest, highest](const std::string& word) {
        const auto value = NumberIn<Number>(word);
        if (value && *value >= lowest && *value <= highest) {
            return std::string();
        }
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
    std::ostringstream present;
    present << value / unit;
    app.add_option_function<double>(
           name, [&value, unit](const double& given) { value = given * unit; }, help)
        ->check(range)
        ->type_name("NUMBER")
        ->default_str(present.str());
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
    AddViewOption(app, options.viewFile);
    AddFileOption(app, "--state", options.stateFile,
                  "File that keeps settings over a restart; made when it is not there");
    AddFileOption(app, "--track", options.trackFile, "Write the drive to a file as CSV");
    AddFileOption(
        app, "--record", options.recordFile,
        "Record the link of all clients, and how the machine really drives, into a new file");
    AddFileOption(app, "--scenario", options.scenarioFile,
                  "File of what happens when: faults, lines, calls");
    AddChoice(app, "--log-level", options.logLevel, kLogLevels, "warning",
              "What is written to standard error: error, warning, info or debug");
    AddChoice(app, "--clock", options.clock, kClocks, "real",
              "What moves time on: real, or stepped, which waits for simulator_advance");
    AddNumber(app, "--speed-factor", options.speedFactor, Within(0.01, 1000.0),
              "Simulated seconds a real second");
}

/// Checks that a word names a place for sentences.
const CLI::Validator kNmeaTarget(
    [](const std::string& word) {
        return ReadNmeaTarget(word) ? std::string()
                                    : NotAllowed(word, "tcp: and a port, or file: and a path");
    },
    "");

/// Checks that a word is one of the rates.
const CLI::Validator kNmeaRate(
    [](const std::string& word) {
        const auto rate = NumberIn<int>(word);
        const bool isRate = rate && std::find(std::begin(kNmeaRates), std::end(kNmeaRates),
                                              *rate) != std::end(kNmeaRates);
        return isRate ? std::string() : NotAllowed(word, "1, 2, 5, 10 or 20");
    },
    "");

void AddNmeaOptions(CLI::App& app, NmeaOptions& nmea)
{
    app.add_option_function<std::vector<std::string>>(
           "--nmea",
           [&nmea](const std::vector<std::string>& words) {
               for (const std::string& word : words) {
                   nmea.targets.push_back(*ReadNmeaTarget(word));
               }
           },
           "Say what the receiver measures in NMEA sentences: tcp:PORT on the loopback addresses, "
           "or file:PATH; may be given again")
        ->check(kNmeaTarget)
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("TARGET");
    app.add_option("--nmea-rate", nmea.rate, "How often, a second: 1, 2, 5, 10 or 20")
        ->check(kNmeaRate)
        ->type_name("NUMBER")
        ->capture_default_str();
    const auto setOrigin = [&nmea](const std::vector<double>& place) {
        PositionSample there;
        there.latitude = place[0];
        there.longitude = place[1];
        there.height = place[2];
        const std::string problem = ImpossibleInSample(there);
        if (!problem.empty()) {
            throw CLI::ValidationError("--nmea-origin", problem);
        }
        nmea.origin = {place[0], place[1], place[2]};
    };
    app.add_option_function<std::vector<double>>(
           "--nmea-origin", setOrigin,
           "Where x and y are 0 in those until a client says: degrees north and east, metres "
           "above the ellipsoid")
        ->expected(3)
        ->delimiter(',')
        ->check(Within(-1e6, 1e6))
        ->type_name("LATITUDE,LONGITUDE,HEIGHT")
        ->default_str("48,11,500");
}

const CLI::Validator kTerrain(
    [](const std::string& word) {
        return ReadTerrain(word)
                   ? std::string()
                   : NotAllowed(word, "flat, rolling, or slope: and -30 to 30 degrees");
    },
    "");

/// Checks that a word is a number of whole tenths up to 1.
const CLI::Validator kTenths(
    [](const std::string& word) {
        const auto value = NumberIn<double>(word);
        const bool isOne = value && *value >= 0.0 && *value <= 1.0 &&
                           std::abs(*value * 10.0 - std::round(*value * 10.0)) < 1e-9;
        return isOne ? std::string() : NotAllowed(word, "0 to 1 in tenths");
    },
    "");

const Choices<bool> kSwitch{{"on", true}, {"off", false}};
const Choices<bool> kTyres{{"rigid", false}, {"dynamic", true}};
const Choices<int> kReceiverRates{{"1", 1}, {"2", 2}, {"5", 5}, {"10", 10}};

/// How the ground lies, and how the receiver gets along with it.
void AddLeanOptions(CLI::App& app, SimulationOptions& world)
{
    app.add_option_function<std::string>(
           "--terrain", [&world](const std::string& word) { world.terrain = *ReadTerrain(word); },
           "How the ground lies: flat, slope:DEGREES (falling to the east) or rolling")
        ->check(kTerrain)
        ->type_name("WORD")
        ->default_str("flat");
    const auto setAntenna = [&world](const std::vector<double>& arms) {
        world.mounting.antenna = {arms[0], arms[1], arms[2]};
    };
    app.add_option_function<std::vector<double>>(
           "--antenna", setAntenna,
           "Where the antenna is: metres ahead of the rear axle, to its right, above the ground")
        ->expected(3)
        ->delimiter(',')
        ->check(Within(-10.0, 10.0))
        ->type_name("AHEAD,RIGHT,UP")
        ->default_str("0,0,3");
    AddChoice(app, "--compensation", world.mounting.compensatesLean, kSwitch, "on",
              "Whether roll and pitch are taken into account: on or off");
}

void AddHarderWorldOptions(CLI::App& app, SimulationOptions& world)
{
    AddLeanOptions(app, world);
    AddChoice(app, "--receiver-rate", world.mounting.rate, kReceiverRates, "10",
              "Measurements a second that guidance gets: 1, 2, 5 or 10");
    app.add_option_function<double>(
           "--receiver-latency",
           [&world](const double& seconds) {
               world.mounting.latency = static_cast<int>(std::lround(seconds * 10.0));
           },
           "Seconds from a measurement until guidance has it, in tenths")
        ->check(kTenths)
        ->type_name("NUMBER")
        ->default_str("0");
    app.add_option("--tree-line", world.treeLine,
                   "Trees in a row to the north, so many metres east: positions jump near them")
        ->check(Within(-1e6, 1e6))
        ->type_name("NUMBER");
    AddChoice(app, "--tyres", world.hasTyres, kTyres, "rigid",
              "What the machine rolls on: rigid wheels, or dynamic: tyres that give at speed");
    ValveOptions& valve = world.conditions.valve;
    AddNumber(app, "--steering-deadband", valve.deadband, Within(0.0, 5.0),
              "Error that the steering valve does not open for, degrees", Radians(1.0));
    AddNumber(app, "--steering-rate-left", valve.rateLeft, Within(1.0, 60.0),
              "How fast the wheels turn to the left at most, degrees per second", Radians(1.0));
    AddNumber(app, "--steering-rate-right", valve.rateRight, Within(1.0, 60.0),
              "The same to the right", Radians(1.0));
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
              "The least fix of fed positions: any, gps, dgps, rtk-float or rtk-fixed");
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
    AddHarderWorldOptions(app, world);
    AddNumber(app, "--backlash", world.backlash, Within(0.0, 5.0),
              "Play between the steering actuator and the wheels, degrees", Radians(1.0));
    AddImplementOptions(app, world);
}

/// The command that repeats a run: its options as they were given, and the seed in any case.
std::string DescriptionOf(int argumentCount, const char* const* arguments, const CLI::App& app,
                          const ProgramOptions& options)
{
    std::string command = "navigation-simulator";
    for (int index = 1; index < argumentCount; ++index) {
        command += " " + ShellWord(arguments[index]);
    }
    if (app.count("--seed") == 0) {
        command += " --seed " + std::to_string(options.simulation.seed);
    }
    return std::string("version ") + ProgramVersion() + ": " + command;
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
    AddNmeaOptions(app, options.nmea);
    AddWorldOptions(app, options.simulation, start);
    try {
        app.parse(argumentCount, arguments);
        if (options.clock == EClock::Stepped && app.count("--speed-factor") != 0) {
            throw CLI::ValidationError("--speed-factor", "means nothing with --clock stepped");
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error, output, errors) == 0 ? kExitSuccess : kExitWrongOptions;
    }
    if (!start.empty()) {
        options.simulation.startPose = {{start[0], start[1]}, NormaliseHeading(Radians(start[2]))};
    }
    options.description = DescriptionOf(argumentCount, arguments, app, options);
    options.driveCommand = DriveCommandOf(app, options.simulation.seed);
    return std::nullopt;
}
