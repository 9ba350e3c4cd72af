#ifndef KESTROVE_SIMULATOR_HTTP_PAGECOMMANDS_H
#define KESTROVE_SIMULATOR_HTTP_PAGECOMMANDS_H

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "simulator/ServiceCore.h"
#include "simulator/http/LogTap.h"

/// An answer to a request of the page.
struct PageAnswer
{
    int status = 200;
    std::string json;
};

/// A request of the page, made ready to be carried out.
struct PageCommand
{
    PageAnswer refusal; ///< when there is anything wrong with it; its text is empty otherwise
    std::string operation;
    std::unique_ptr<BListC> arguments;
    bool isWayline = false;

    bool IsRefused() const { return !refusal.json.empty(); }
};

/// What became of it.
struct PageOutcome
{
    Answer answer;
    std::vector<std::string> reasons; ///< that the service logged
};

/// Carries out what the page asks for, in three steps, of which just the middle one is for the
/// thread that the service core belongs to: what is long is read and written elsewhere.
class PageCommandsC
{
public:
    /// All must outlive this object.
    PageCommandsC(ServiceCoreC& core, LogTapC& log);

    /// Reads the request to carry out an operation. Thread safety: any thread.
    ///
    /// @param body {"operation": name, "arguments": [...]}
    PageCommand ReadCommand(const std::string& body) const;
    /// Reads the request to make a wayline the service's. Thread safety: any thread.
    ///
    /// @param body {"text": its text form}
    static PageCommand ReadWayline(const std::string& body);
    /// Carries a command out; on the service's thread.
    PageOutcome CarryOut(const PageCommand& command);
    /// Writes the answer. Thread safety: any thread.
    static PageAnswer Write(const PageCommand& command, const PageOutcome& outcome);

private:
    ServiceCoreC& m_core;
    LogTapC& m_log;
    std::set<std::string> m_operations;
};

/// The text form of the service's wayline, empty for none. To be asked for on the service's thread;
/// what writes a long one may be called on any.
std::function<std::string()> TextOf(const Kestrove::CWayline* wayline);

#endif
