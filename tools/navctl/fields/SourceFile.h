#ifndef KESTROVE_TOOLS_NAVCTL_FIELDS_SOURCEFILE_H
#define KESTROVE_TOOLS_NAVCTL_FIELDS_SOURCEFILE_H

#include <optional>
#include <string>

#include "tools/navctl/files/LineReader.h"
#include "tools/navctl/files/OpenFile.h"

/// What a file is by its beginning.
enum class EFileContent
{
    Fields,  ///< a file of fields, or a folder
    GeoJson, ///< JSON
    Unknown, ///< no text, and none of the formats that are read
    Other,   ///< any other text, or nothing that can be read
};

/// A file that a command line names, or the standard input. It is read once, line by line or whole,
/// after a look at its beginning. Thread safety: none.
class CSourceFile
{
public:
    /// @param path the file's or the folder's name; "-" for the standard input.
    explicit CSourceFile(const std::string& path);

    const std::string& Path() const { return m_path; }
    bool IsFolder() const { return !m_file.has_value(); }
    /// Why it cannot be read, with its name; empty when it can, and for a folder.
    std::string Problem() const { return m_file ? m_file->Problem() : std::string(); }
    /// What it is; waits for the first bytes of a standard input.
    EFileContent Content();
    /// All of it. Not for a folder, nor after lines have been read.
    ///
    /// @throws CFieldFileProblem when it cannot be read or is too long.
    const std::string& Bytes();
    /// The same, to be kept: nothing can be read here any more.
    std::string TakeBytes();
    /// Its lines. Not for a folder, nor after Bytes().
    CLineReader& Lines() { return *m_lines; }

private:
    std::string m_path;
    std::optional<COpenFile> m_file;
    std::optional<CLineReader> m_lines;
    std::optional<EFileContent> m_content;
    std::optional<std::string> m_bytes;
};

#endif
