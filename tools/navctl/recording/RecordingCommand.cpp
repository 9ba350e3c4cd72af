#include "tools/navctl/recording/RecordingCommand.h"

void AddRecordingCommand(CLI::App& app, CContext& context)
{
    CLI::App* const group =
        app.add_subcommand("recording", "Shows, copies and plays recordings of the link");
    group->require_subcommand(1);
    group->footer("How recordings are made, and what is in them, is told in recording.md.");
    AddLookCommands(*group, context);
    AddCopyCommands(*group, context);
    AddReplayCommands(*group, context);
}
