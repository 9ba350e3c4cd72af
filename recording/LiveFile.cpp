#include "recording/LiveFile.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

/// What is shorter is put into one piece, which the system takes faster than two.
constexpr std::size_t kShort = 4096;

} // namespace

bool CLiveFile::Fail(std::string problem)
{
    m_problem = m_path + ": " + std::move(problem);
    return false;
}

/// Leaves the reason in errno as well.
bool CLiveFile::Create(const std::string& path)
{
    Close();
    m_path = path;
    m_size = 0;
    // Each record goes to the end that there is, so that the size differs for good from what was
    // written when another program has cut the file.
    m_descriptor =
        ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    struct stat status = {};
    if (m_descriptor < 0 || ::fstat(m_descriptor, &status) != 0) {
        const int error = errno;
        Close();
        Fail(std::strerror(error));
        errno = error;
        return false;
    }
    m_device = status.st_dev;
    m_node = status.st_ino;
    return true;
}

void CLiveFile::Close()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

bool CLiveFile::MayGrow(std::uint64_t size)
{
    if (m_asksForLimit) {
        rlimit limit{};
        m_limit = ::getrlimit(RLIMIT_FSIZE, &limit) == 0 ? limit.rlim_cur : RLIM_INFINITY;
    }
    return m_limit == RLIM_INFINITY || size <= m_limit;
}

bool CLiveFile::Write(std::string_view head, std::string_view data)
{
    const std::uint64_t size = m_size + head.size() + data.size();
    if (m_descriptor < 0) {
        return Fail("the file is closed");
    }
    if (!MayGrow(size)) {
        return Fail("the file would exceed the limit of a file's size");
    }
    if (!WriteWhole(head, data)) {
        const int error = errno;
        // What is there of it would hide where the file ends.
        [[maybe_unused]] const int cut = ::ftruncate(m_descriptor, static_cast<off_t>(m_size));
        return Fail(std::strerror(error));
    }
    m_size = size;
    return true;
}

bool CLiveFile::WriteWhole(std::string_view head, std::string_view data)
{
    std::array<char, kShort> whole;
    if (head.size() + data.size() <= whole.size() && !data.empty()) {
        std::memcpy(whole.data(), head.data(), head.size());
        std::memcpy(whole.data() + head.size(), data.data(), data.size());
        head = {whole.data(), head.size() + data.size()};
        data = {};
    }
    while (!head.empty() || !data.empty()) {
        std::array<iovec, 2> parts{iovec{const_cast<char*>(head.data()), head.size()},
                                   iovec{const_cast<char*>(data.data()), data.size()}};
        const ssize_t gone = data.empty() ? ::write(m_descriptor, head.data(), head.size())
                                          : ::writev(m_descriptor, parts.data(), 2);
        if (gone == 0 || (gone < 0 && errno != EINTR)) {
            errno = gone == 0 ? ENOSPC : errno;
            return false;
        }
        const std::size_t count = gone > 0 ? static_cast<std::size_t>(gone) : 0;
        const std::size_t ofHead = count < head.size() ? count : head.size();
        head.remove_prefix(ofHead);
        data.remove_prefix(count - ofHead);
    }
    return true;
}

bool CLiveFile::IsStillThere()
{
    struct stat status = {};
    if (m_descriptor < 0 || ::fstat(m_descriptor, &status) != 0) {
        return Fail("the file is closed");
    }
    if (status.st_nlink == 0) {
        return Fail("the file has been removed");
    }
    return static_cast<std::uint64_t>(status.st_size) == m_size ||
           Fail("another program has changed the file");
}

void CLiveFile::Remove()
{
    struct stat status = {};
    if (::lstat(m_path.c_str(), &status) == 0 && status.st_dev == m_device &&
        status.st_ino == m_node) {
        ::unlink(m_path.c_str());
    }
}
