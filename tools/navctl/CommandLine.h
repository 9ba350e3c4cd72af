#ifndef KESTROVE_TOOLS_NAVCTL_COMMANDLINE_H
#define KESTROVE_TOOLS_NAVCTL_COMMANDLINE_H

#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/navctl/Context.h"

/// The command line: the options that stand before a command, and every command. Parsing it runs
/// the command that is named.
///
/// @param context receives the options and is what the commands work with; must outlive the result.
/// @param words what will be parsed. Where their command is an operation's, there is no other:
///        making all of them takes longer than everything else that is done for an operation.
std::unique_ptr<CLI::App> MakeCommandLine(CContext& context, const std::vector<std::string>& words);

/// The words of a command line with a digit in front of the point of each negative number, without
/// which the reader takes "-.5" for an option.
std::vector<std::string> WithWholeNumbers(std::vector<std::string> words);

/// The words of a command line with "help COMMAND" turned into "COMMAND --help"; others as they
/// are.
///
/// @param app the command line.
std::vector<std::string> WithHelpAsOption(const CLI::App& app, std::vector<std::string> words);

#endif
