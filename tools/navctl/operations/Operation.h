#ifndef KESTROVE_TOOLS_NAVCTL_OPERATIONS_OPERATION_H
#define KESTROVE_TOOLS_NAVCTL_OPERATIONS_OPERATION_H

#include <string>
#include <vector>

#include "tools/navctl/operations/Argument.h"
#include "tools/navctl/operations/Outcome.h"
#include "tools/navctl/operations/Reply.h"

/// Whether an operation waits for a reply.
enum class EOperationKind
{
    Request,
    Notification,
};

/// An operation of the navigation service as a command.
struct COperation
{
    std::string name;        ///< the command
    std::string serviceName; ///< how it is called on the link
    EOperationKind kind;
    std::string summary; ///< what it does, as a sentence without its end
    std::vector<CArgument> arguments;
    CExchange exchange; ///< of a request
    Invocation send;    ///< of a notification
    std::string unit{}; ///< of the value that it gives; empty for what has none

    /// Whether it can ask the service to keep a value over a restart: its last argument, then.
    bool MayPersist() const { return !arguments.empty() && arguments.back().isFlag; }
};

// Operations by their kind, for the tables.

inline COperation Request(std::string name, std::string serviceName, std::string summary,
                          std::vector<CArgument> arguments, std::vector<int> leading,
                          ReplyReader read, std::string unit = "")
{
    return {std::move(name),
            std::move(serviceName),
            EOperationKind::Request,
            std::move(summary),
            std::move(arguments),
            {std::move(leading), std::move(read)},
            {},
            std::move(unit)};
}
inline COperation Notification(std::string name, std::string serviceName, std::string summary,
                               std::vector<CArgument> arguments, Invocation send)
{
    return {std::move(name),    std::move(serviceName), EOperationKind::Notification,
            std::move(summary), std::move(arguments),   {},
            std::move(send)};
}

/// All operations, in the order of api/NavigationAPI.h.
const std::vector<COperation>& Operations();
/// The operation of a command's name.
///
/// @throws std::out_of_range when there is none.
const COperation& FindOperation(const std::string& name);

/// The name that an operation has in C++: "engage-steering" is "EngageSteering".
std::string MemberName(const std::string& command);

/// The entries of Operations(), which are made from operations/operations.json.
std::vector<COperation> OperationEntries();

#endif
