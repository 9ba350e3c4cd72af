#ifndef KESTROVE_TOOLS_NAVCTL_FEED_FEEDCOMMAND_H
#define KESTROVE_TOOLS_NAVCTL_FEED_FEEDCOMMAND_H

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// Adds the command "feed", which sends position samples from a file or from standard input.
///
/// @param app the whole command line.
/// @param context what the command works with; must outlive `app`.
void AddFeedCommand(CLI::App& app, CContext& context);

#endif
