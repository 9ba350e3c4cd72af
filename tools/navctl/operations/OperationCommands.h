#ifndef KESTROVE_TOOLS_NAVCTL_OPERATIONS_OPERATIONCOMMANDS_H
#define KESTROVE_TOOLS_NAVCTL_OPERATIONS_OPERATIONCOMMANDS_H

#include <string>

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// The help group that the operations stand under.
extern const char* const kOperationGroup;

/// Adds a command an operation of the service.
///
/// An operation that gives a value prints it, for a script to take; another prints "done", "sent"
/// or "answered". With `--json` it is {"operation", "outcome", "value", "unit"}, the latter two
/// where there are any.
void AddOperationCommands(CLI::App& app, CContext& context);

/// Adds the command of one operation.
///
/// @param name the word that may be its name.
/// @return false, with nothing added, when no operation has that name.
bool AddOperationCommand(CLI::App& app, CContext& context, const std::string& name);

/// Adds the command that lists the operations.
void AddOperationsCommand(CLI::App& app, CContext& context);

#endif
