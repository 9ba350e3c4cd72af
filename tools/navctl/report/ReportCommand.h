#ifndef KESTROVE_TOOLS_NAVCTL_REPORT_REPORTCOMMAND_H
#define KESTROVE_TOOLS_NAVCTL_REPORT_REPORTCOMMAND_H

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// Adds "report", which says how accurately a recorded drive was steered.
void AddReportCommand(CLI::App& app, CContext& context);

#endif
