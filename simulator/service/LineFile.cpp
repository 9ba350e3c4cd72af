#include "simulator/service/LineFile.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Not blocking, or opening a pipe would wait for its reader.
constexpr int kLineFileFlags = O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

/// Takes a file for this program alone, and everything out of it; pipes and devices stay as they
/// are.
///
/// @return an empty text on success, otherwise what stands in the way.
std::string EmptyFile(const CDescriptor& file)
{
    struct stat kind
    {
    };
    if (::fstat(file.Get(), &kind) != 0 || !S_ISREG(kind.st_mode)) {
        return {};
    }
    // Some file systems lock nothing.
    if (::flock(file.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        return "another program uses it";
    }
    return ::ftruncate(file.Get(), 0) == 0 ? std::string() : SystemReason(errno);
}

} // namespace

std::string OpenLineFile(const std::string& path, const CStateFile* settings, CDescriptor& file)
{
    CDescriptor opened(::open(path.c_str(), kLineFileFlags));
    const bool isMade = !opened.IsOpen() && errno == ENOENT;
    if (isMade) {
        opened = CDescriptor(::open(path.c_str(), kLineFileFlags | O_CREAT, 0666));
    }
    if (!opened.IsOpen()) {
        return errno == ENXIO ? "it is a pipe that nobody reads" : SystemReason(errno);
    }
    // Before anything of it is lost.
    std::string problem = settings != nullptr ? settings->Refusal(opened, isMade) : "";
    if (problem.empty()) {
        problem = EmptyFile(opened);
    }
    if (problem.empty()) {
        file = std::move(opened);
    }
    return problem;
}
