#ifndef KESTROVE_TOOLS_NAVCTL_RECORDING_RECORDINGCOMMAND_H
#define KESTROVE_TOOLS_NAVCTL_RECORDING_RECORDINGCOMMAND_H

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// Adds "recording", whose commands look at recordings of the link, copy parts of them, and play
/// them.
void AddRecordingCommand(CLI::App& app, CContext& context);

// The commands of a source file each.

void AddLookCommands(CLI::App& group, CContext& context);
void AddCopyCommands(CLI::App& group, CContext& context);
void AddReplayCommands(CLI::App& group, CContext& context);

#endif
