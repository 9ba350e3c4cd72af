#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINESOURCE_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINESOURCE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/fieldfiles/FieldFormat.h"
#include "tools/navctl/Context.h"
#include "tools/navctl/fields/FieldSource.h"
#include "tools/navctl/wayline/WaylineFile.h"

/// The file of waylines that a command line names, and how it is to be read.
struct WaylineSource
{
    std::string file;
    std::optional<EWaylineFormat> format; ///< otherwise by the file's beginning and name
    WaylineReading reading;
    std::optional<std::uint64_t> number; ///< of the only wayline that is wanted
    std::string line;                    ///< the name or number of the only wayline that is wanted
    std::string field;                   ///< the name of the only field that is wanted
    bool hasKind = false;                ///< whether the kind in `reading` was asked for
};

/// What the file of a source is: by the format that was named, otherwise by its beginning.
EFileContent ContentOf(const WaylineSource& source, CSourceFile& file);

/// What is wanted of a file of fields.
FieldChoice ChoiceOf(const WaylineSource& source);

/// Reads a file of fields and leaves in it what is wanted.
///
/// @return nothing when something is wrong with it; that has been reported then and the exit code
/// is set.
std::optional<CFieldFile> ReadFieldSource(CContext& context, const WaylineSource& source,
                                          CSourceFile& file);

/// The words for the formats.
const std::map<std::string, EWaylineFormat>& WaylineFormatNames();

/// Whether a wayline of the kind can be made of points alone, by --kind.
bool IsKindOfPoints(Kestrove::EWaylineType kind);

/// Adds the file and the options to a command.
void AddWaylineSource(CLI::App& command, WaylineSource& source);

/// Adds an option that names a format.
void AddFormatOption(CLI::App& command, const char* name, const char* help,
                     std::optional<EWaylineFormat>& format);

/// The words for the formats that are written: those of files of fields, and all.
std::vector<std::string> FieldTargetWords();
std::vector<std::string> TargetWords();

/// Adds the option "--to" for formats of files of fields.
void AddFieldFormatOption(CLI::App& command, std::optional<EFieldFormat>& format);

/// Adds the option "--to" for all formats; one of the two receives what it names.
void AddTargetFormatOption(CLI::App& command, std::optional<EWaylineFormat>& format,
                           std::optional<EFieldFormat>& fieldFormat);

/// Adds the option "--origin".
void AddOriginOption(CLI::App& command, std::optional<GeodeticPlace>& origin);

/// Adds a kind of wayline, by name or code, as an argument or an option.
CLI::Option* AddKindOption(CLI::App& command, const char* name, const char* help,
                           Kestrove::EWaylineType& kind);

/// Reads the file.
///
/// @return nothing when something is wrong with it; that has been reported then, a line each, and
///         the exit code is set.
std::optional<WaylineList> ReadSource(CContext& context, const WaylineSource& source);
std::optional<WaylineList> ReadSource(CContext& context, const WaylineSource& source,
                                      CSourceFile& file);

#endif
