#include "recording/FileSource.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

CFileSource::CFileSource(const std::string& path)
{
    // Without waiting for somebody who opens a pipe for writing.
    m_descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    struct stat status = {};
    if (m_descriptor < 0 || ::fstat(m_descriptor, &status) != 0) {
        m_problem = std::strerror(errno);
    } else if (!S_ISREG(status.st_mode)) {
        m_problem = "this is no ordinary file";
    } else {
        m_size = static_cast<std::uint64_t>(status.st_size);
    }
}

CFileSource::~CFileSource()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
}

std::size_t CFileSource::Read(char* into, std::size_t room)
{
    ssize_t count = -1;
    do {
        if (!m_problem.empty()) {
            return 0;
        }
        count = ::read(m_descriptor, into, room);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        m_problem = std::strerror(errno);
    }
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}
