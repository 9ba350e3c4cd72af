#ifndef KESTROVE_SIMULATOR_COMMANDLINE_H
#define KESTROVE_SIMULATOR_COMMANDLINE_H

#include <cstdint>
#include <optional>
#include <string>

#include "simulator/Log.h"

/// How the program was asked to run.
struct ProgramOptions
{
    std::uint16_t port = 5010;
    std::string stateFile; ///< empty: nothing is kept
    ELogLevel logLevel = ELogLevel::Warning;
};

/// The program's exit codes.
enum EExitCode : int
{
    kExitSuccess = 0,
    kExitWrongOptions = 2, ///< wrong options, or a file named by one cannot be used
    kExitCannotListen = 3, ///< the port is taken
};

/// Reads the command line.
///
/// @param options receives the options.
/// @return nothing when the program is to run; otherwise the code to exit with, after help, version
///         or what is wrong has been written.
std::optional<EExitCode> ReadCommandLine(int argumentCount, char** arguments,
                                         ProgramOptions& options);

#endif
