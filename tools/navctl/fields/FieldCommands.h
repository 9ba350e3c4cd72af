#ifndef KESTROVE_TOOLS_NAVCTL_FIELDS_FIELDCOMMANDS_H
#define KESTROVE_TOOLS_NAVCTL_FIELDS_FIELDCOMMANDS_H

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// Adds the command "list" for the lines and boundaries of a file.
///
/// @param group the command "wayline".
/// @param context what the commands work with; must outlive `group`.
void AddWaylineListCommand(CLI::App& group, CContext& context);

/// Adds the command "boundary" with its commands: list and convert.
///
/// @param app the whole command line.
/// @param context what the commands work with; must outlive `app`.
void AddBoundaryCommand(CLI::App& app, CContext& context);

#endif
