#ifndef KESTROVE_SIMULATOR_SETTINGS_JSONLINES_H
#define KESTROVE_SIMULATOR_SETTINGS_JSONLINES_H

#include <cstddef>
#include <map>
#include <string>

/// On which lines of a text of JSON what stands, counted from 1.
struct JsonLines
{
    /// Of every name, object and list: by its place, as "/events/3/at". The whole is "".
    std::map<std::string, std::size_t> places;
    std::size_t twice = 0; ///< the first name that an object has twice; 0 where there is none
    std::size_t fault = 0; ///< where the text stops being JSON; 0 where it never does

    /// The line of a place, or else of what it would stand in.
    std::size_t LineOf(std::string place) const;
};

/// Finds the lines; reads the text once more, to be called for the words of an error alone.
JsonLines FindJsonLines(const std::string& text);

#endif
