#ifndef KESTROVE_SIMULATOR_BASE_VERSION_H
#define KESTROVE_SIMULATOR_BASE_VERSION_H

/// The version of the program, as the build knows it.
const char* ProgramVersion();

#endif
