#ifndef KESTROVE_TOOLS_FIELDFILES_FILEBYTES_H
#define KESTROVE_TOOLS_FIELDFILES_FILEBYTES_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/navctl/files/OpenFile.h"

/// Reads what is left of an open file whole.
///
/// @param name what problems call it.
/// @param taken what has been read of it already.
/// @throws CFieldFileProblem when it cannot be read or is longer than FileLimits::kBytes.
std::string ReadBytes(const COpenFile& file, const std::string& name, std::string taken = {});

/// Reads a file whole; the same. Neither a pipe nor a device is one.
std::string ReadFileBytes(const std::string& path);

/// The names of the files and folders in a folder; none for what is not a folder or cannot be read.
std::vector<std::string> NamesIn(const std::string& folder);

/// The text in lower case, for the letters A to Z.
std::string LowerCase(std::string text);

/// What stands behind the last dot of a path's name, in lower case; empty without one.
std::string SuffixOf(const std::string& path);

/// The path without its ending.
std::string WithoutSuffix(const std::string& path);

/// Files that belong together: by their names in lower case, what they hold.
using FileSet = std::map<std::string, std::string>;

/// What one of them holds; nothing when it is missing.
const std::string* FindFile(const FileSet& files, const std::string& name);

#endif
