#ifndef KESTROVE_TOOLS_NAVCTL_SIMULATOR_SIMULATORCOMMAND_H
#define KESTROVE_TOOLS_NAVCTL_SIMULATOR_SIMULATORCOMMAND_H

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// Adds the commands for what only the simulator does: "simulator advance", "simulator time" and
/// "simulator describe".
void AddSimulatorCommand(CLI::App& app, CContext& context);

#endif
