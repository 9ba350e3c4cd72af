#ifndef KESTROVE_TOOLS_FIELDFILES_DATELINE_H
#define KESTROVE_TOOLS_FIELDFILES_DATELINE_H

#include <vector>

#include "tools/fieldfiles/FieldFile.h"

/// The lines of parts. Lines that cross the 180th meridian are cut there into parts: those are put
/// together again, without the place of the cut.
std::vector<std::vector<FieldPlace>>
Joined(std::vector<std::vector<std::vector<FieldPlace>>> parts);

/// The areas of a feature, each an exterior ring and its holes, not closed. Areas that cross the
/// 180th meridian are cut there into several: those are put together again, without the edges along
/// the cut. An area whose pieces do not meet along it stays as it is.
std::vector<std::vector<std::vector<FieldPlace>>>
JoinedAreas(std::vector<std::vector<std::vector<FieldPlace>>> areas);

#endif
