#ifndef KESTROVE_SIMULATOR_SETTINGS_STATELOCK_H
#define KESTROVE_SIMULATOR_SETTINGS_STATELOCK_H

#include <string>

#include "simulator/base/Descriptor.h"

/// The lock of a state file's name: a file beside it that this process has locked, and that
/// outlives whatever becomes of the state file itself. It ends with the process, however that ends.
///
/// The lock's file holds the name of the file that is written before it takes the state file's
/// place, which nobody else can have chosen. So a later run knows what a crash has left behind, and
/// removes that alone: a file of the lock's name that holds anything else is locked like one of
/// ours, and otherwise stays as it is. Thread safety: none.
class CStateLock
{
public:
    /// Why the lock cannot be taken while another process has it.
    static constexpr const char* kInUse = "another simulator uses it";

    CStateLock() = default;
    /// Removes the lock's file, if it is one of ours.
    ~CStateLock();
    CStateLock(const CStateLock&) = delete;
    CStateLock& operator=(const CStateLock&) = delete;

    /// Takes the lock.
    ///
    /// @param folder outlives the lock.
    /// @param stem the beginning of the names of all files beside the state file.
    /// @return an empty text on success, otherwise what stands in the way.
    std::string Take(const CDescriptor& folder, const std::string& stem);
    /// Takes the lock anew where its file has been removed or replaced. Where that is not possible,
    /// the old one is kept.
    ///
    /// @return false when another process has taken it meanwhile.
    bool Renew();

    /// The name of the lock's file.
    std::string File() const { return m_stem + ".lock"; }
    /// The name of the file to write before it takes the state file's place.
    const std::string& NewFile() const { return m_newFile; }
    /// Another such name.
    std::string OtherNewFile() const;

private:
    std::string Attempt();
    CDescriptor OpenFile(bool& isMade, std::string& problem) const;
    std::string NewFileIn(const CDescriptor& lock) const;

    const CDescriptor* m_folder = nullptr;
    std::string m_stem;
    CDescriptor m_lock;
    std::string m_newFile;
    bool m_isOurs = false;
};

/// Whether a file is the one that has a name in a folder now.
bool HasName(const CDescriptor& file, const CDescriptor& folder, const std::string& name);

#endif
