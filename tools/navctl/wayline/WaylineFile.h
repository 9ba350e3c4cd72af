#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINEFILE_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINEFILE_H

#include <optional>
#include <string>

#include "tools/navctl/files/LineReader.h"
#include "tools/navctl/files/TextSink.h"
#include "tools/navctl/wayline/WaylineList.h"

/// The formats of files of waylines.
enum class EWaylineFormat
{
    Text,    ///< a text form a line
    GeoJson, ///< see WaylineGeoJson.h
    Csv,     ///< see WaylineCsv.h
};

/// The format of a file by its name: ".geojson" or ".json", ".csv"; anything else is the text form.
EWaylineFormat WaylineFormatOf(const std::string& path);
/// Why a file of this name cannot be written without naming the format; empty when its ending says
/// the format, or it has none and is text.
std::string TargetProblem(const std::string& path);
/// What stands behind the last point of a file's name, with the point, in small letters; empty for
/// a name without one.
std::string EndingOf(const std::string& path);

/// Reads the lines of a file of waylines, of the text form or CSV. Lines of the text form that are
/// empty are passed over.
///
/// @param path the file's name, for problems.
/// @return the waylines; with problems when there is a line that cannot be read, or when there is
///         no wayline at all.
WaylineList ReadWaylineLines(CLineReader& lines, const std::string& path, EWaylineFormat format,
                             const WaylineReading& reading);
/// Reads a file of GeoJSON; the same.
///
/// @param text the whole file.
WaylineList ReadWaylineJson(const std::string& text, const std::string& path,
                            const WaylineReading& reading);

/// Writes waylines in a format.
///
/// @param origin where their local frame is; GeoJSON needs it.
/// @param isOneLine whether GeoJSON stands on one line.
/// @param sink takes the file's content; not called when they cannot be written.
/// @return why they cannot be written so; empty on success.
std::string WriteWaylines(const WaylineList& list, EWaylineFormat format,
                          const std::optional<GeodeticPlace>& origin, bool isOneLine,
                          const TextSink& sink);

#endif
