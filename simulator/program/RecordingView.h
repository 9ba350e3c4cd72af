#ifndef KESTROVE_SIMULATOR_PROGRAM_RECORDINGVIEW_H
#define KESTROVE_SIMULATOR_PROGRAM_RECORDINGVIEW_H

#include "simulator/output/ProgramOutput.h"
#include "simulator/program/CommandLine.h"

/// Shows the recording of the options in the page, until SIGINT or SIGTERM ends that.
EExitCode ViewRecording(const ProgramOptions& options, CProgramOutput& output);

#endif
