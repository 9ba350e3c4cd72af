#ifndef KESTROVE_SIMULATOR_PROGRAM_DRIVECOMMAND_H
#define KESTROVE_SIMULATOR_PROGRAM_DRIVECOMMAND_H

#include <cstdint>
#include <string>

#include <CLI/CLI.hpp>

/// A word as a shell takes it.
std::string ShellWord(const std::string& word);

/// The program's version and the command that repeats a drive: the options that were given and that
/// the drive depends on, without ports and files that are written, and the seed in any case. So it
/// is the same wherever the drive is written to.
std::string DriveCommandOf(const CLI::App& app, std::uint64_t seed);

#endif
