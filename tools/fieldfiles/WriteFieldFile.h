#ifndef KESTROVE_TOOLS_FIELDFILES_WRITEFIELDFILE_H
#define KESTROVE_TOOLS_FIELDFILES_WRITEFIELDFILE_H

#include <string>
#include <utility>
#include <vector>

#include "tools/fieldfiles/FieldFile.h"
#include "tools/fieldfiles/FieldFormat.h"
#include "tools/fieldfiles/Shapefile.h"

/// Files to be written: their paths and what they are to hold.
using FilesToWrite = std::vector<std::pair<std::string, std::string>>;

/// Makes the files of a format.
///
/// @param file what is written; gets a note for what the format cannot hold.
/// @param path the target. An ISOXML is written as a zip where it ends with ".zip", into a folder
///        TASKDATA where it is a folder or ends with a slash, and otherwise as its main file.
/// @param shapes what a Shapefile holds.
/// @throws CFieldFileProblem for a line that the format cannot hold, by its name and kind.
FilesToWrite FieldFilesToWrite(CFieldFile& file, EFieldFormat format, const std::string& path,
                               EShapes shapes);

#endif
