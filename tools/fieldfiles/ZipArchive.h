#ifndef KESTROVE_TOOLS_FIELDFILES_ZIPARCHIVE_H
#define KESTROVE_TOOLS_FIELDFILES_ZIPARCHIVE_H

#include <functional>
#include <string>
#include <vector>

struct zip;

/// A zip that is read from memory. Nothing of it is ever written to a disk. Thread safety: none.
class CZipArchive
{
public:
    /// @param bytes the zip; must outlive this.
    /// @throws CFieldFileProblem when it is not one, has too many files, or has one whose path
    ///         leads out of the zip.
    explicit CZipArchive(const std::string& bytes);
    ~CZipArchive();
    CZipArchive(const CZipArchive&) = delete;
    CZipArchive& operator=(const CZipArchive&) = delete;

    /// The paths of the files in it, in its order; without those that begin with "._" or lie in
    /// "__MACOSX", which belong to a desktop.
    const std::vector<std::string>& Paths() const { return m_paths; }

    /// Unpacks a file of it.
    ///
    /// @throws CFieldFileProblem when it is broken or encrypted, or when all that was unpacked so
    ///         far is more than FileLimits::kBytes, whatever the zip announces.
    std::string Unpack(const std::string& path);

private:
    void TakePaths();

    zip* m_zip = nullptr;
    std::vector<std::string> m_paths;
    std::size_t m_unpacked = 0;
};

/// Makes a zip.
///
/// @param files the paths in it and what they hold.
std::string MakeZip(const std::vector<std::pair<std::string, std::string>>& files);

/// What stands behind the last slash of a path in a zip.
std::string NameInFolder(const std::string& path);
/// What stands up to the last slash of a path in a zip, that included.
std::string FolderOf(const std::string& path);

#endif
