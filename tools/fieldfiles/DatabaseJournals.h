#ifndef KESTROVE_TOOLS_FIELDFILES_DATABASEJOURNALS_H
#define KESTROVE_TOOLS_FIELDFILES_DATABASEJOURNALS_H

#include <string>

/// Checks that what was read of a database of SQLite is a state that its writer has completed: what
/// is not complete, or not in it yet, stands in a journal beside the file.
///
/// @param path the file's; a symbolic link is followed; "-" for the standard input, which may be a
///        file, too.
/// @param bytes what was read of it.
/// @throws CFieldFileProblem when another program is writing it or has written it meanwhile.
void CheckNobodyWrites(const std::string& path, const std::string& bytes);

#endif
