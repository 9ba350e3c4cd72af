#ifndef KESTROVE_SIMULATOR_PROGRAM_IMPLEMENTOPTION_H
#define KESTROVE_SIMULATOR_PROGRAM_IMPLEMENTOPTION_H

#include <string>

#include "simulator/machine/Implement.h"

/// What the words for an implement have to be like.
inline constexpr const char* kImplementForms =
    "carried:BEHIND of 0 to 10 m or trailed:HITCH,DRAWBAR of 0 to 5 m and 0.5 to 12 m";

/// Reads how an implement hangs on the machine.
///
/// @param words "carried:2.0" or "trailed:1.0,4.0", metres.
/// @param implement takes the value; stays as it is when the words do not describe one.
/// @return whether they are as kImplementForms says.
bool ReadImplement(const std::string& words, ImplementGeometry& implement);

#endif
