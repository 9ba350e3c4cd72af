#ifndef KESTROVE_SIMULATOR_OUTPUT_SERVICELOG_H
#define KESTROVE_SIMULATOR_OUTPUT_SERVICELOG_H

#include <functional>
#include <map>
#include <string>

#include "simulator/base/Outcome.h"

/// How much a log line matters, the most important first.
enum class ELogLevel
{
    Error,   ///< something failed that was asked for on the command line
    Warning, ///< a message was refused, a client or steering dropped, a connection has to wait
    Info,    ///< what the service does: navigation started, a position feed began
    Debug,   ///< who comes and goes
};

/// Takes the service's log lines. What becomes of them is the program's affair: it writes those of
/// its --log-level to standard error, a test keeps them.
using LogSink = std::function<void(ELogLevel, const std::string&)>;

/// Writes the service's log lines.
/// Thread safety: as that of the sink.
class CServiceLog
{
public:
    /// @param sink may be empty, then nothing is logged.
    explicit CServiceLog(LogSink sink);

    /// Logs a line.
    void Write(ELogLevel level, const std::string& text) const;

    /// Logs why an operation was refused, and remembers it; nothing when it was carried out.
    ///
    /// @param operation its name on the link.
    /// @return whether it was carried out.
    bool Carried(const char* operation, const COutcome& outcome) const;

    /// @param operation its name on the link.
    /// @return why it was refused the last time; empty when it was carried out then, or has never
    ///         been asked for.
    std::string RefusalOf(const std::string& operation) const;

private:
    LogSink m_sink;
    /// Why the operations were refused whose last try was. Logging changes nothing else.
    mutable std::map<std::string, std::string> m_refusals;
};

/// A text from the link as it can stand in a log line or an error text: at most 80 characters, and
/// a question mark for each that cannot be printed.
std::string Printable(const std::string& text);

#endif
