#ifndef KESTROVE_TOOLS_NAVCTL_PROGRAM_H
#define KESTROVE_TOOLS_NAVCTL_PROGRAM_H

/// Runs navctl with the arguments of a main function, and returns its exit code.
int RunProgram(int argumentCount, char** arguments);

#endif
