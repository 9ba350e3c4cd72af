#include "simulator/settings/StateFile.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "simulator/output/ServiceLog.h"

namespace {

// What the names of the files beside it add to the file's own fits in 255 bytes then.
constexpr std::size_t kLongestNameShown = 200;
// Of names for a new file, none of which can be foreseen.
constexpr int kAttempts = 20;

/// Where a file is once all symbolic links have been followed.
///
/// @return empty when there is none, with errno.
std::string RealPath(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real ? real.get() : std::string();
}

/// What a file is that should be a regular one; empty when it is one.
std::string NoRegularFile(const struct stat& file)
{
    if (S_ISREG(file.st_mode)) {
        return {};
    }
    return S_ISDIR(file.st_mode) ? "it is a directory" : "it is no regular file";
}

/// A number for a name, the same at every run (Fowler, Noll and Vo).
std::string NumberOf(const std::string& name)
{
    std::uint64_t number = 14695981039346656037u;
    for (const char character : name) {
        number = (number ^ static_cast<unsigned char>(character)) * 1099511628211u;
    }
    std::array<char, 20> text{};
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(number));
    return text.data();
}

/// @return an error number; 0 on success.
int ReadWhole(const CDescriptor& file, std::string& text)
{
    std::array<char, 65536> part;
    while (text.size() <= CStateFile::kMostBytes) {
        const ssize_t count = ::read(file.Get(), part.data(), part.size());
        if (count == 0) {
            return 0;
        }
        if (count > 0) {
            text.append(part.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return EFBIG;
}

bool WriteWhole(const CDescriptor& file, const std::string& text)
{
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = ::write(file.Get(), text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        if (count > 0) {
            written += static_cast<std::size_t>(count);
        }
    }
    return true;
}

} // namespace

std::string CStateFile::Open()
{
    std::string problem = OpenFolder();
    if (problem.empty()) {
        problem = m_nameLock.Take(m_folder, SideFileStem());
    }
    if (problem.empty()) {
        problem = LockFile();
    }
    return problem.empty() ? problem : "cannot use the state file " + m_path + ": " + problem;
}

/// Finds where the file itself is, so that a rename replaces the file and not a link to it.
std::string CStateFile::OpenFolder()
{
    std::string real = RealPath(m_path);
    if (real.empty() && errno != ENOENT) {
        return SystemReason(errno);
    }
    if (real.empty()) {
        struct stat link = {};
        if (::lstat(m_path.c_str(), &link) == 0) {
            return "it is a symbolic link to a file that is not there";
        }
        real = m_path;
    }
    const std::size_t slash = real.rfind('/');
    m_name = slash == std::string::npos ? real : real.substr(slash + 1);
    const std::string folder = slash == std::string::npos ? "."
                               : slash == 0               ? "/"
                                                          : real.substr(0, slash);
    m_folder = CDescriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::string cannotMake = "files cannot be made in " + folder + ": ";
    if (!m_folder.IsOpen()) {
        return cannotMake + SystemReason(errno);
    }
    std::string problem = CheckFile();
    if (problem.empty() && ::faccessat(m_folder.Get(), ".", W_OK | X_OK, 0) != 0) {
        problem = cannotMake + SystemReason(errno);
    }
    return problem;
}

/// What the file is that should be a regular one, or none yet.
std::string CStateFile::CheckFile()
{
    if (m_name.empty() || m_name == "." || m_name == "..") {
        return "it is a directory";
    }
    struct stat file = {};
    if (::fstatat(m_folder.Get(), m_name.c_str(), &file, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT ? std::string() : SystemReason(errno);
    }
    m_owner = file;
    return NoRegularFile(file);
}

/// Opens the file, if there is one, and locks it.
std::string CStateFile::LockFile()
{
    m_file = CDescriptor(::openat(m_folder.Get(), m_name.c_str(), O_RDONLY | kStrangersFile));
    if (!m_file.IsOpen()) {
        return errno == ENOENT ? std::string() : SystemReason(errno);
    }
    // Some file systems lock nothing that is only read; the lock of the name is left then.
    if (::flock(m_file.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        return "another program uses it, perhaps under another name";
    }
    return {};
}

std::string CStateFile::Refusal(const CDescriptor& file, bool isMade) const
{
    for (const std::string& name : {m_name, m_nameLock.File()}) {
        if (HasName(file, m_folder, name)) {
            if (isMade) {
                ::unlinkat(m_folder.Get(), name.c_str(), 0);
            }
            return name == m_name ? "it is the state file" : "the state file needs it for itself";
        }
    }
    return {};
}

/// With what the names of the files beside the state file begin.
std::string CStateFile::SideFileStem() const
{
    return "." + (m_name.size() > kLongestNameShown ? NumberOf(m_name) : m_name);
}

bool CStateFile::LookAfterLock()
{
    return m_nameLock.Renew();
}

bool CStateFile::IsThere() const
{
    struct stat file = {};
    return ::fstatat(m_folder.Get(), m_name.c_str(), &file, AT_SYMLINK_NOFOLLOW) == 0 ||
           errno != ENOENT;
}

std::string CStateFile::Load(KeptValues& values)
{
    if (!m_file.IsOpen()) {
        return {};
    }
    struct stat file = {};
    const bool isKnown = ::fstat(m_file.Get(), &file) == 0;
    std::string text;
    int error = isKnown ? 0 : errno;
    if (error == 0) {
        const bool isTooLong = file.st_size > static_cast<off_t>(kMostBytes);
        error = isTooLong ? EFBIG : ReadWhole(m_file, text);
    }
    const std::string problem = error == EFBIG
                                    ? "it has more than " + std::to_string(kMostBytes) + " bytes"
                                : error != 0 ? SystemReason(error)
                                             : ParseKeptValues(text, values);
    return problem.empty() ? problem : "cannot read the state file " + m_path + ": " + problem;
}

/// Writing into a file in place would let a crash tear it, so that it is replaced under one name.
std::string CStateFile::Warning() const
{
    if (!m_owner || m_owner->st_nlink < 2) {
        return {};
    }
    return "the state file " + m_path + " has " + std::to_string(m_owner->st_nlink) +
           " names (hard links): settings are saved under this one alone, and the others keep "
           "what it holds now";
}

std::string CStateFile::Save(const KeptValues& values)
{
    const bool isOurs = LookAfterLock();
    if (isOurs && Replace(KeptValuesText(values))) {
        return {};
    }
    return "cannot write the state file " + m_path + ": " +
           (isOurs ? SystemReason(errno) : CStateLock::kInUse);
}

/// @return false on failure, with errno.
bool CStateFile::Replace(const std::string& document)
{
    struct stat old = {};
    if (::fstatat(m_folder.Get(), m_name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISREG(old.st_mode)) {
        m_owner = old;
    }
    std::string name;
    CDescriptor file = MakeNewFile(name);
    if (!file.IsOpen()) {
        return false;
    }
    // Locked before it has the name, so that there is no moment in which another program could.
    const bool isDone =
        WriteWhole(file, document) && TakeOver(file) && ::fsync(file.Get()) == 0 &&
        (::flock(file.Get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) &&
        ::renameat(m_folder.Get(), name.c_str(), m_folder.Get(), m_name.c_str()) == 0;
    if (!isDone) {
        const int error = errno;
        ::unlinkat(m_folder.Get(), name.c_str(), 0);
        errno = error;
        return false;
    }
    m_file = std::move(file);
    // The new name must reach the disk too, or a power cut brings the old file back. Some file
    // systems have no such thing.
    return ::fsync(m_folder.Get()) == 0 || errno == EINVAL;
}

/// Makes the file that is to take the place of the old one.
///
/// @param name receives its name.
/// @return none on failure, with errno.
CDescriptor CStateFile::MakeNewFile(std::string& name) const
{
    const int flags = O_WRONLY | O_CREAT | O_EXCL | kStrangersFile;
    const mode_t mode = m_owner ? 0600 : 0644;
    name = m_nameLock.NewFile();
    CDescriptor file(::openat(m_folder.Get(), name.c_str(), flags, mode));
    // What somebody has put there stays.
    for (int attempt = 0; attempt < kAttempts && !file.IsOpen() && errno == EEXIST; ++attempt) {
        name = m_nameLock.OtherNewFile();
        file = CDescriptor(::openat(m_folder.Get(), name.c_str(), flags, mode));
    }
    return file;
}

/// Gives a new file the owner and the mode of the old one.
///
/// @return false when it cannot have the mode, with errno.
bool CStateFile::TakeOver(const CDescriptor& file) const
{
    struct stat made = {};
    if (!m_owner) {
        return true;
    }
    if (::fstat(file.Get(), &made) != 0) {
        return false;
    }
    const bool isForeign = made.st_uid != m_owner->st_uid || made.st_gid != m_owner->st_gid;
    // Only some may give files away; what they may not belongs to this process then.
    if (isForeign && ::fchown(file.Get(), m_owner->st_uid, m_owner->st_gid) != 0) {
        [[maybe_unused]] const int ignored =
            ::fchown(file.Get(), static_cast<uid_t>(-1), m_owner->st_gid);
    }
    return ::fchmod(file.Get(), m_owner->st_mode & 07777) == 0;
}
