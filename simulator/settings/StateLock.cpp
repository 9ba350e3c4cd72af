#include "simulator/settings/StateLock.h"

#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <random>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Of a file that comes and goes meanwhile.
constexpr int kTries = 20;
constexpr std::size_t kRandomDigits = 16;
constexpr const char* kNewFile = ".new-";

} // namespace

bool HasName(const CDescriptor& file, const CDescriptor& folder, const std::string& name)
{
    struct stat mine = {};
    struct stat named = {};
    return ::fstat(file.Get(), &mine) == 0 &&
           ::fstatat(folder.Get(), name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           mine.st_dev == named.st_dev && mine.st_ino == named.st_ino;
}

CStateLock::~CStateLock()
{
    // While it is locked, so that nobody else can have taken the lock over; what somebody has put
    // in its place stays.
    if (m_lock.IsOpen() && m_isOurs && HasName(m_lock, *m_folder, File())) {
        ::unlinkat(m_folder->Get(), File().c_str(), 0);
    }
}

std::string CStateLock::Take(const CDescriptor& folder, const std::string& stem)
{
    m_folder = &folder;
    m_stem = stem;
    return Attempt();
}

bool CStateLock::Renew()
{
    return HasName(m_lock, *m_folder, File()) || Attempt() != kInUse;
}

std::string CStateLock::Attempt()
{
    for (int attempt = 0; attempt < kTries; ++attempt) {
        std::string problem;
        bool isMade = false;
        CDescriptor lock = OpenFile(isMade, problem);
        if (!problem.empty()) {
            return problem;
        }
        if (!lock.IsOpen()) {
            continue;
        }
        if (::flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) {
            return errno == EWOULDBLOCK ? kInUse : "it cannot be locked: " + SystemReason(errno);
        }
        // Whoever ends removes the file, which may be this one.
        if (HasName(lock, *m_folder, File())) {
            const std::string recorded = NewFileIn(lock);
            if (!recorded.empty() && !isMade) {
                ::unlinkat(m_folder->Get(), recorded.c_str(), 0);
            }
            m_isOurs = isMade || !recorded.empty();
            m_newFile = recorded.empty() ? OtherNewFile() : recorded;
            m_lock = std::move(lock);
            return {};
        }
    }
    return "it cannot be locked: others lock it all the time";
}

/// Opens the lock's file, or makes it.
///
/// @param isMade receives whether it was made.
/// @param problem receives what stands in the way.
/// @return none when the file came or went meanwhile.
CDescriptor CStateLock::OpenFile(bool& isMade, std::string& problem) const
{
    const std::string name = File();
    CDescriptor lock(::openat(m_folder->Get(), name.c_str(), O_RDONLY | kStrangersFile));
    if (!lock.IsOpen() && errno == ENOENT) {
        lock = CDescriptor(::openat(m_folder->Get(), name.c_str(),
                                    O_RDWR | O_CREAT | O_EXCL | kStrangersFile, 0644));
        isMade = lock.IsOpen();
    }
    struct stat file = {};
    if (!lock.IsOpen() && errno != EEXIST) {
        problem = name + ", which it needs for itself: " + SystemReason(errno);
    } else if (lock.IsOpen() && (::fstat(lock.Get(), &file) != 0 || !S_ISREG(file.st_mode))) {
        problem = name + ", which it needs for itself, is no regular file";
    }
    if (isMade) {
        const std::string line = OtherNewFile() + "\n";
        // On a full disk a crash leaves behind what the next run leaves alone.
        [[maybe_unused]] const ssize_t written = ::write(lock.Get(), line.data(), line.size());
    }
    return lock;
}

std::string CStateLock::OtherNewFile() const
{
    std::random_device random;
    std::array<char, kRandomDigits + 1> digits{};
    std::snprintf(digits.data(), digits.size(), "%08x%08x", random(), random());
    return m_stem + kNewFile + digits.data();
}

/// The name that a lock's file holds.
///
/// @return empty when the file is not one of ours.
std::string CStateLock::NewFileIn(const CDescriptor& lock) const
{
    const std::string begin = m_stem + kNewFile;
    const std::size_t length = begin.size() + kRandomDigits;
    std::string text(length + 2, '\0');
    const ssize_t count = ::pread(lock.Get(), text.data(), text.size(), 0);
    if (count != static_cast<ssize_t>(length + 1) || text[length] != '\n' ||
        text.compare(0, begin.size(), begin) != 0) {
        return {};
    }
    text.resize(length);
    for (const char digit : text.substr(begin.size())) {
        if (std::isxdigit(static_cast<unsigned char>(digit)) == 0) {
            return {};
        }
    }
    return text;
}
