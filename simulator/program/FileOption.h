#ifndef KESTROVE_SIMULATOR_PROGRAM_FILEOPTION_H
#define KESTROVE_SIMULATOR_PROGRAM_FILEOPTION_H

#include <string>

namespace CLI {
class App;
}

/// Adds an option that takes the name of a file, which must not be empty.
void AddFileOption(CLI::App& app, const char* name, std::string& file, const char* help);
/// Adds "--view", a recording to look at in place of a service. The port of the page has to go with
/// it, and nothing else may.
void AddViewOption(CLI::App& app, std::string& file);

#endif
