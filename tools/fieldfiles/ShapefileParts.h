#ifndef KESTROVE_TOOLS_FIELDFILES_SHAPEFILEPARTS_H
#define KESTROVE_TOOLS_FIELDFILES_SHAPEFILEPARTS_H

#include <string>

/// Checks that the parts of a Shapefile are of one state: that a shape's geometry, its place in the
/// index and its row in the table belong together. A line with another one's name would be driven.
/// No place of a shape is made for it.
///
/// @param shapes the .shp: its shapes stand one behind the other, numbered from 1.
/// @param index the .shx: says where each of them stands.
/// @param table the .dbf, with a row for each; null when there is none.
/// @throws CFieldFileProblem when they are cut off or disagree; CFieldFileTooLarge when they have
///         more than is read.
void CheckShapefileParts(const std::string& shapes, const std::string& index,
                         const std::string* table);

#endif
