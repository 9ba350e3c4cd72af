#ifndef KESTROVE_TOOLS_NAVCTL_SIMULATOR_FAULTCOMMAND_H
#define KESTROVE_TOOLS_NAVCTL_SIMULATOR_FAULTCOMMAND_H

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// Adds "simulator fault", which makes something happen to the simulator's machine, and "simulator
/// faults", which lists what can happen, to the group "simulator"; makes the group where it is
/// missing.
void AddFaultCommands(CLI::App& app, CContext& context);

#endif
