#ifndef KESTROVE_SIMULATOR_PROGRAM_COMMANDLINE_H
#define KESTROVE_SIMULATOR_PROGRAM_COMMANDLINE_H

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

#include "simulator/nmea/NmeaOptions.h"
#include "simulator/output/ServiceLog.h"
#include "simulator/world/Simulation.h"

/// What moves the simulated world on.
enum class EClock
{
    Real,    ///< the passing of real time
    Stepped, ///< clients that ask for it
};

/// How the program was asked to run.
struct ProgramOptions
{
    std::uint16_t port = 5010;
    std::optional<std::uint16_t> httpPort; ///< without one there is no live page
    std::string viewFile;   ///< a recording to look at, in place of a service; empty: none
    std::string stateFile;  ///< empty: nothing is kept
    std::string trackFile;  ///< empty: the drive is not written down
    std::string recordFile; ///< empty: the link is not recorded
    ELogLevel logLevel = ELogLevel::Warning;
    EClock clock = EClock::Real;
    double speedFactor = 1.0; ///< simulated seconds a real second
    std::string scenarioFile; ///< empty: nothing is planned
    NmeaOptions nmea;
    SimulationOptions simulation;
    std::string description;  ///< the program's version and the command that repeats the run
    std::string driveCommand; ///< the same without what the drive does not depend on
};

/// The program's exit codes.
enum EExitCode : int
{
    kExitSuccess = 0,
    kExitFailed = 1,       ///< the system refuses something that the program cannot do without
    kExitWrongOptions = 2, ///< wrong options, or a file named by one cannot be used
    kExitCannotListen = 3, ///< the port is taken
};

/// Reads the command line.
///
/// @param options receives the options.
/// @param output, errors receive help and version, and what is wrong.
/// @return nothing when the program is to run; otherwise the code to exit with, after help, version
///         or what is wrong has been written.
std::optional<EExitCode> ReadCommandLine(int argumentCount, const char* const* arguments,
                                         ProgramOptions& options, std::ostream& output,
                                         std::ostream& errors);

#endif
