#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINESERVICECOMMANDS_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINESERVICECOMMANDS_H

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// Adds the commands that work with the service's wayline: get, set, start and clear.
///
/// @param group the command "wayline".
/// @param context what the commands work with; must outlive `group`.
void AddWaylineServiceCommands(CLI::App& group, CContext& context);

#endif
