#ifndef KESTROVE_SIMULATOR_LOG_H
#define KESTROVE_SIMULATOR_LOG_H

#include <functional>
#include <string>

/// How much a log line matters, the most important first.
enum class ELogLevel
{
    Error,   ///< something failed that was asked for on the command line
    Warning, ///< a client's message was ignored or refused
    Info,    ///< what the service does: navigation started, steering dropped
    Debug,   ///< who comes and goes
};

/// Takes the service's log lines. What becomes of them is the program's affair: it writes those of
/// its --log-level to standard error, a test keeps them.
using LogSink = std::function<void(ELogLevel, const std::string&)>;

#endif
