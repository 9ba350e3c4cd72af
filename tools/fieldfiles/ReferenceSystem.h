#ifndef KESTROVE_TOOLS_FIELDFILES_REFERENCESYSTEM_H
#define KESTROVE_TOOLS_FIELDFILES_REFERENCESYSTEM_H

#include <string>

/// Checks that a reference system, in the words of well-known text (WKT), is WGS 84 in degrees.
///
/// @throws CFieldFileProblem when it is another one, by its name.
void CheckReferenceSystem(const std::string& wellKnownText);

#endif
