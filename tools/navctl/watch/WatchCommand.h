#ifndef KESTROVE_TOOLS_NAVCTL_WATCH_WATCHCOMMAND_H
#define KESTROVE_TOOLS_NAVCTL_WATCH_WATCHCOMMAND_H

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// Adds `watch`: the service's events as they come, one line each, or as a lightbar. With `--json`
/// a line is an object with "time" (ISO 8601, UTC), "event" and the event's values; after a failure
/// the last one has the event "error" with "exit_code" and "reason".
///
/// Lives through a lost link. Ends with kExitDone on a signal, at the count and when the time is
/// up; with kExitNoReply when fewer events than the count came in that time; with
/// kExitCannotConnect when there was no service in all of it; with kExitProtocolError as soon as
/// something answers that does not speak the protocol.
void AddWatchCommand(CLI::App& app, CContext& context);

#endif
