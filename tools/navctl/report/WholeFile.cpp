#include "tools/navctl/report/WholeFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/navctl/files/OpenFile.h"

namespace {

constexpr mode_t kUsualMode = 0666;

bool WriteAll(int descriptor, const std::string& content)
{
    for (std::size_t done = 0; done < content.size();) {
        const ssize_t count = ::write(descriptor, content.data() + done, content.size() - done);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        done += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    return true;
}

/// The rights that a new file gets from the user's mask.
mode_t ModeOfNewFiles()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return kUsualMode & ~mask;
}

std::string CannotWrite(const std::string& path)
{
    return "cannot write " + path + ": " + std::strerror(errno);
}

/// Where a path leads to, behind links; the path itself where nothing is there.
std::string PlaceOf(const std::string& path)
{
    char* const real = ::realpath(path.c_str(), nullptr);
    const std::string place = real == nullptr ? path : real;
    std::free(real);
    return place;
}

} // namespace

std::string PutWholeFile(const std::string& path, const std::string& content)
{
    struct stat there = {};
    const bool isThere = ::stat(path.c_str(), &there) == 0;
    if (isThere && !S_ISREG(there.st_mode)) {
        return WriteWholeFile(path, content);
    }
    const std::string place = PlaceOf(path);
    std::string beside = place + ".XXXXXX";
    const int descriptor = ::mkostemp(beside.data(), O_CLOEXEC);
    if (descriptor < 0) {
        return CannotWrite(path);
    }
    bool isDone = ::fchmod(descriptor, isThere ? there.st_mode & 0777 : ModeOfNewFiles()) == 0 &&
                  WriteAll(descriptor, content);
    isDone = ::close(descriptor) == 0 && isDone;
    if (isDone && std::rename(beside.c_str(), place.c_str()) == 0) {
        return {};
    }
    std::string problem = CannotWrite(path);
    ::unlink(beside.c_str());
    return problem;
}
