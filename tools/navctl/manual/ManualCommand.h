#ifndef KESTROVE_TOOLS_NAVCTL_MANUAL_MANUALCOMMAND_H
#define KESTROVE_TOOLS_NAVCTL_MANUAL_MANUALCOMMAND_H

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// Adds `manual`: writes the manual page navctl(1), made from the command line itself, so that it
/// has every command and every option.
void AddManualCommand(CLI::App& app, CContext& context);

#endif
