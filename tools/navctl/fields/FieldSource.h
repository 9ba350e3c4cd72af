#ifndef KESTROVE_TOOLS_NAVCTL_FIELDS_FIELDSOURCE_H
#define KESTROVE_TOOLS_NAVCTL_FIELDS_FIELDSOURCE_H

#include <optional>
#include <string>

#include "tools/fieldfiles/FieldFile.h"
#include "tools/navctl/Context.h"
#include "tools/navctl/fields/SourceFile.h"
#include "tools/navctl/wayline/WaylineList.h"

/// What is wanted of a file of fields.
struct FieldChoice
{
    std::string field; ///< the name of a field; empty for all of them
    std::string line;  ///< the name of a line or boundary, or its number in the file, which is the
                       ///< same whichever field is wanted
    std::optional<Kestrove::EWaylineType> kind; ///< what lines are that have no kind
};

/// Reads a file of fields and reports, on the standard error, what was left out of it.
///
/// @return nothing when it cannot be read; that has been reported then and the exit code is set.
std::optional<CFieldFile> ReadFields(CContext& context, CSourceFile& source,
                                     const FieldChoice& choice);

/// Reports, on the standard error, which of the lines that are wanted cannot be used.
void TellRefused(const CFieldFile& file, const std::string& path, const FieldChoice& choice);

/// Leaves in a file what is wanted of its lines, without their boundaries where one line is wanted.
///
/// @return why there is no such field or line; a line that was refused is named with the reason.
std::string ChooseLines(CFieldFile& file, const FieldChoice& choice);
/// Leaves in a file what is wanted of its boundaries, and no lines.
///
/// @return why there is no such field or boundary.
std::string ChooseBoundaries(CFieldFile& file, const FieldChoice& choice);

/// The lines of a file as waylines, with their numbers in it.
///
/// @param origin of the local frame; without one it is the first place in the file, at its height
/// or
///        on the ellipsoid.
WaylineList WaylinesOf(const CFieldFile& file, const std::optional<GeodeticPlace>& origin);

/// Waylines as the lines of a file with one field.
///
/// @throws CFieldFileProblem for one without points, by its kind.
CFieldFile FieldsOf(const WaylineList& list, const GeodeticPlace& origin);

#endif
