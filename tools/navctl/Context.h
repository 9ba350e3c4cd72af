#ifndef KESTROVE_TOOLS_NAVCTL_CONTEXT_H
#define KESTROVE_TOOLS_NAVCTL_CONTEXT_H

#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "api/NavigationAPI.h"
#include "tools/navctl/ExitCode.h"
#include "tools/navctl/Output.h"

/// What is written as JSON: the entries in the order in which they were set.
using Json = nlohmann::ordered_json;

/// Seconds as a time-out of the link is set: at least 1.
int Milliseconds(double seconds);

/// The exit code and the words for a failure of the link.
struct CLinkFailure
{
    EExitCode code;
    std::string reason;
};

/// What every command works with: the options that stand before it, the standard output, and the
/// connection to the service.
///
/// A command is run from its CLI11 callback and leaves its exit code with Finish(), Fail() or
/// FailByLink(). Thread safety: none.
class CContext
{
public:
    /// Connects to nothing yet.
    explicit CContext(COutput& output) : m_output(output) {}

    /// The options that stand before the command.
    struct Options
    {
        double timeoutSeconds = 2.0; ///< longest wait for a reply
        bool json = false;           ///< one JSON value in place of text
        bool trace = false;          ///< the library's trace lines on the standard error
        std::string recording;       ///< the file to record the link into; empty for none
    };
    Options options;

    /// The standard output.
    COutput& Output() { return m_output; }
    /// Whether the result is written as JSON.
    bool WritesJson() const { return options.json; }
    /// Gives the result: the JSON value in one line, or the text, broken between words where a
    /// terminal is narrow, whichever is asked for. Once a command.
    void Print(const Json& value, const std::string& text);

    /// The connection to the service; made at the first call, with `--timeout` applied. It may be
    /// down.
    CNavigationAPI& Navigation();
    /// Waits longer than `--timeout` for the replies over the present connection.
    ///
    /// @param moreSeconds by how much.
    void WaitLonger(double moreSeconds);
    /// Makes sure that the link is up. To be called before the first operation, so that "cannot
    /// connect" can be distinguished from "no reply".
    ///
    /// @return whether it is; if not, the failure has been reported and the exit code is set.
    bool Reach();
    /// Ends the connection; Navigation() makes a new one.
    void Disconnect() { m_navigation.reset(); }
    /// Looks for another program on the service's port, after a call has failed for a reason that
    /// such a program may be. Ends the connection, since some programs serve one after the other.
    ///
    /// @param error why the call has failed.
    /// @return who listens, in words; empty when it may be a navigation service.
    std::string OtherProgram(const LinkErrorC& error);
    /// Whether the last operation failed at the link, by LastError(); a failure value alone does
    /// not show it. A reply of nil, which GetWayline() gives for "none", counts as a failure.
    bool HasLinkFailed();

    /// Ends the command without a failure.
    void Finish(EExitCode code = kExitDone) { m_exitCode = code; }
    /// Ends the command with a failure: the reason in words on the standard error; with `--json`,
    /// also {"outcome": "failed", "exit_code", "reason"} and the entries of `more` on the standard
    /// output.
    void Fail(EExitCode code, const std::string& reason, const Json& more = Json::object());
    /// Gives all failures from now on entries of their own, such as counts that are 0 yet.
    void AddToFailures(const Json& more) { m_moreOfFailures = more; }
    /// Ends the command with kExitRefused: the reason on the standard error; with `--json`, `value`
    /// on the standard output.
    void Refuse(const Json& value, const std::string& reason);
    /// Fail() for the reason that LastError() gives; it names another program that listens in the
    /// service's place.
    void FailByLink();
    /// The same for an error from before.
    ///
    /// @param late what to add when the service has given no reply in time, since it may still
    ///        carry out what it was asked for; with `--json`, "pending" is true then. Empty where
    ///        nothing is to be added.
    void FailByLink(const LinkErrorC& error, const std::string& late = "");
    /// What the program exits with.
    EExitCode ExitCode() const { return m_exitCode; }

private:
    void Record();
    void FailBy(const CLinkFailure& failure, const LinkErrorC& error, const std::string& late);

    COutput& m_output;
    std::unique_ptr<CNavigationAPI> m_navigation;
    unsigned m_connections = 0; ///< that have been recorded
    EExitCode m_exitCode = kExitDone;
    Json m_moreOfFailures = Json::object();
};

/// What a failure of a call over a connection that was up means.
CLinkFailure CallFailure(const LinkErrorC& error);
/// What it means that no usable connection could be made.
CLinkFailure ConnectFailure(const LinkErrorC& error);

#endif
