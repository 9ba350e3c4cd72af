#ifndef KESTROVE_EXAMPLES_DRIVE_PICTURE_H
#define KESTROVE_EXAMPLES_DRIVE_PICTURE_H

#include <iosfwd>

#include "examples/drive_record.h"

/// Draws a drive as SVG: seen from above, and beside that the cross-track error over time, once
/// whole and once near the line, with a band of 2.5 cm to both sides of it.
void DrawPicture(std::ostream& stream, const CDriveRecord& record);

#endif
