#include "tools/navctl/files/OpenFile.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

COpenFile::COpenFile(const std::string& path) : m_isStandardInput(path == "-")
{
    m_descriptor = m_isStandardInput ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    if (m_descriptor < 0 || fstat(m_descriptor, &status) != 0) {
        m_problem = "cannot read " + path + ": " + std::strerror(errno);
    } else if (S_ISDIR(status.st_mode)) {
        m_problem = "cannot read " + path + ": it is a directory";
    } else if (S_ISREG(status.st_mode)) {
        m_length = static_cast<std::uint64_t>(status.st_size);
        m_isRegular = true;
    }
}

COpenFile::~COpenFile()
{
    if (m_descriptor >= 0 && !m_isStandardInput) {
        close(m_descriptor);
    }
}

std::string WriteWholeFile(const std::string& path, const std::string& content)
{
    CTargetFile file(path);
    file.Write(content);
    return file.End();
}

CTargetFile::CTargetFile(const std::string& path)
    : m_path(path), m_file(path, std::ios::binary | std::ios::trunc)
{
}

std::string CTargetFile::End()
{
    m_file.close();
    return m_file ? std::string() : "cannot write " + m_path + ": " + std::strerror(errno);
}
