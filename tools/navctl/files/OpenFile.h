#ifndef KESTROVE_TOOLS_NAVCTL_FILES_OPENFILE_H
#define KESTROVE_TOOLS_NAVCTL_FILES_OPENFILE_H

#include <cstdint>
#include <fstream>
#include <string>

/// A file that is open for reading, or standard input for the name "-". Closes the file, but not
/// standard input.
class COpenFile
{
public:
    /// Opens the file. A directory is not a file.
    ///
    /// @param path the file's name; "-" for standard input.
    explicit COpenFile(const std::string& path);
    ~COpenFile();
    COpenFile(const COpenFile&) = delete;
    COpenFile& operator=(const COpenFile&) = delete;

    /// Why the file cannot be read, with its name; empty when it can.
    const std::string& Problem() const { return m_problem; }
    int Descriptor() const { return m_descriptor; }
    /// Its length in bytes; 0 for what has none, such as a pipe.
    std::uint64_t Length() const { return m_length; }
    bool IsStandardInput() const { return m_isStandardInput; }
    /// Whether it is a file on a disk, that is all there already, and not a pipe or a device.
    bool IsRegular() const { return m_isRegular; }

private:
    int m_descriptor = -1;
    bool m_isStandardInput = false;
    bool m_isRegular = false;
    std::uint64_t m_length = 0;
    std::string m_problem;
};

/// A file that is written piece by piece in place of what is there.
class CTargetFile
{
public:
    explicit CTargetFile(const std::string& path);

    void Write(const std::string& text) { m_file << text; }
    /// Ends the writing.
    ///
    /// @return why the file could not be written, with its name; empty on success.
    std::string End();

private:
    std::string m_path;
    std::ofstream m_file;
};

/// Writes a file in place of what is there.
///
/// @return why it could not be written, with its name; empty on success.
std::string WriteWholeFile(const std::string& path, const std::string& content);

#endif
