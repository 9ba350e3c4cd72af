#ifndef KESTROVE_SIMULATOR_SETTINGS_KEPTVALUES_H
#define KESTROVE_SIMULATOR_SETTINGS_KEPTVALUES_H

#include <map>
#include <string>
#include <variant>

/// A setting that outlives a restart: a switch or a number.
using KeptValue = std::variant<bool, double>;
/// Such settings by name.
using KeptValues = std::map<std::string, KeptValue>;

/// Reads the settings from their text, JSON with an object "settings".
///
/// @param values takes the settings; stays as it is when the text is refused.
/// @return empty on success; otherwise why the text is refused, in words that follow a file's name.
std::string ParseKeptValues(const std::string& text, KeptValues& values);
/// The text of the settings.
std::string KeptValuesText(const KeptValues& values);

#endif
