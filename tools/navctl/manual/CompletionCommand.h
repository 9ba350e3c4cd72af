#ifndef KESTROVE_TOOLS_NAVCTL_MANUAL_COMPLETIONCOMMAND_H
#define KESTROVE_TOOLS_NAVCTL_MANUAL_COMPLETIONCOMMAND_H

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// Adds `completion bash`: writes the script with which bash completes navctl's command line, made
/// from the command line itself and the table of operations.
void AddCompletionCommand(CLI::App& app, CContext& context);

#endif
