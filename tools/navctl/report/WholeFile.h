#ifndef KESTROVE_TOOLS_NAVCTL_REPORT_WHOLEFILE_H
#define KESTROVE_TOOLS_NAVCTL_REPORT_WHOLEFILE_H

#include <string>

/// Writes a file whole or not at all: beside its place first, and then there. What was there stays
/// until then. What is no ordinary file, such as a pipe, is written to as it is.
///
/// @return why it could not be written, with its name; empty on success.
std::string PutWholeFile(const std::string& path, const std::string& content);

#endif
