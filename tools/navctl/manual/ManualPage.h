#ifndef KESTROVE_TOOLS_NAVCTL_MANUAL_MANUALPAGE_H
#define KESTROVE_TOOLS_NAVCTL_MANUAL_MANUALPAGE_H

#include <string>

#include <CLI/CLI.hpp>

/// The manual page of a program with its commands, in the macros of man(7).
///
/// @param app the command line, whole.
std::string ManualPage(CLI::App& app);

#endif
