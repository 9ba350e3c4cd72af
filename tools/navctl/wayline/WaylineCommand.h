#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINECOMMAND_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINECOMMAND_H

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// Adds the command "wayline" with its commands: show, convert and plot, which work on files alone,
/// and get, set, start and clear, which work with the service.
///
/// @param app the whole command line.
/// @param context what the commands work with; must outlive `app`.
void AddWaylineCommand(CLI::App& app, CContext& context);

#endif
