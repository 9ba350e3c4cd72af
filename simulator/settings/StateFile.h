#ifndef KESTROVE_SIMULATOR_SETTINGS_STATEFILE_H
#define KESTROVE_SIMULATOR_SETTINGS_STATEFILE_H

#include <cstddef>
#include <optional>
#include <string>

#include <sys/stat.h>

#include "simulator/base/Descriptor.h"
#include "simulator/settings/KeptValues.h"
#include "simulator/settings/StateLock.h"

/// The file in which the service keeps settings: JSON, one number or switch a name.
///
/// Writing replaces the file as a whole: a new file is written beside it, brought to the disk and
/// renamed. So whenever the program or the machine stops, the file is the old or the new one, and
/// never half of one. Mode and owner go over to the new file, the owner where the system allows it.
///
/// One file is used by one program at a time. Two locks see to that: that of a file of its own in
/// the same folder, which stands for the name whatever file comes to have it, and that of the file
/// itself, which may have other names. Both end with the process, however it ends.
///
/// Beside "state.json" lie ".state.json.lock", until the end, and ".state.json.new-" with 16 digits
/// that nobody can foresee, while the file is written; a name too long for that is replaced by a
/// number made of it. Links in their place are never followed, and what somebody else has put there
/// is neither written nor removed.
/// Thread safety: none.
class CStateFile
{
public:
    /// A longer file is not read.
    static constexpr std::size_t kMostBytes = 1024 * 1024;

    /// @param path where the file is or is to be; a symbolic link to a file is followed.
    explicit CStateFile(std::string path) : m_path(std::move(path)) {}
    ~CStateFile() = default;
    CStateFile(const CStateFile&) = delete;
    CStateFile& operator=(const CStateFile&) = delete;

    /// Takes the file for this program alone. Comes before everything else.
    ///
    /// @return an empty text when Load() and Save() can be expected to work, otherwise what stands
    ///         in the way.
    std::string Open();

    /// Reads the file. None there is the same as an empty one.
    ///
    /// @param values receives what the file holds; untouched on failure.
    /// @return an empty text on success, otherwise why the file cannot be read.
    std::string Load(KeptValues& values);

    /// What whoever runs the program should know about the file that has been opened; empty when
    /// there is nothing.
    std::string Warning() const;

    /// Replaces the file, unless another program has taken its name's lock meanwhile.
    ///
    /// @return an empty text on success, otherwise why it could not be written; the old file then
    ///         stands as it was, unless it is only its place that may not have reached the disk.
    std::string Save(const KeptValues& values);

    /// Makes the lock of the name anew where somebody has removed it.
    ///
    /// @return false when another program has it.
    bool LookAfterLock();
    /// Whether there is anything that has the file's name.
    bool IsThere() const;

    /// Whether another use may be made of a file that is open: not of this one, by whatever path it
    /// was opened, nor of those that lie beside it.
    ///
    /// @param isMade true when the file was made by opening it; what is refused is removed then.
    /// @return an empty text when it may be used, otherwise why not.
    std::string Refusal(const CDescriptor& file, bool isMade) const;

    /// The path as it was given.
    const std::string& Path() const { return m_path; }

private:
    std::string OpenFolder();
    std::string CheckFile();
    std::string LockFile();
    std::string SideFileStem() const;
    CDescriptor MakeNewFile(std::string& name) const;
    bool TakeOver(const CDescriptor& file) const;
    bool Replace(const std::string& document);

    std::string m_path;
    std::string m_name; ///< in its folder
    CDescriptor m_folder;
    CStateLock m_nameLock;              ///< goes before its folder
    CDescriptor m_file;                 ///< holds the lock of the file itself
    std::optional<struct stat> m_owner; ///< of the file there was last, and its mode
};

#endif
