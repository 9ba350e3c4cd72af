#ifndef KESTROVE_SIMULATOR_PROGRAM_WORLDOPTIONS_H
#define KESTROVE_SIMULATOR_PROGRAM_WORLDOPTIONS_H

#include <optional>
#include <string>

#include "simulator/machine/Implement.h"
#include "simulator/machine/Terrain.h"

/// What the words for an implement have to be like.
inline constexpr const char* kImplementForms =
    "carried:BEHIND of 0 to 10 m or trailed:HITCH,DRAWBAR of 0 to 5 m and 0.5 to 12 m";

/// Reads how an implement hangs on the machine.
///
/// @param words "carried:2.0" or "trailed:1.0,4.0", metres.
/// @param implement takes the value; stays as it is when the words do not describe one.
/// @return whether they are as kImplementForms says.
bool ReadImplement(const std::string& words, ImplementGeometry& implement);

/// Reads how the ground lies.
///
/// @param words "flat", "rolling" or "slope:-8.5", degrees up to 30 either way.
/// @return nothing when they do not describe a ground.
std::optional<TerrainOptions> ReadTerrain(const std::string& words);

#endif
