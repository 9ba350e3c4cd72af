#ifndef KESTROVE_TOOLS_NAVCTL_DOCTOR_DOCTORCOMMAND_H
#define KESTROVE_TOOLS_NAVCTL_DOCTOR_DOCTORCOMMAND_H

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// Adds `doctor`: shows what stands between the user and an engaged machine, in the order in which
/// to put it right, each with the next step. It changes nothing at the service.
///
/// Exits with kExitDone when nothing stands in the way, with kExitRefused when something of the
/// machine or the line does, and with the code of the link when the service cannot be asked.
void AddDoctorCommand(CLI::App& app, CContext& context);

#endif
