#include "simulator/program/MemoryLimit.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <sstream>

#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr std::uint64_t kMiB = std::uint64_t{1024} * 1024;
constexpr std::uint64_t kMostOfClients = 256 * kMiB;
constexpr std::uint64_t kMostOfPage = 32 * kMiB;
constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

std::uint64_t OfMachine()
{
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long bytes = ::sysconf(_SC_PAGESIZE);
    const bool isKnown = pages > 0 && bytes > 0;
    return isKnown ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(bytes)
                   : kNoLimit;
}

std::uint64_t OfResource(decltype(RLIMIT_AS) resource)
{
    rlimit limit = {};
    const bool isSet = ::getrlimit(resource, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
    return isSet ? limit.rlim_cur : kNoLimit;
}

/// @param file holds a number, or the word "max".
std::uint64_t OfFile(const std::string& file)
{
    std::uint64_t bytes = 0;
    return std::ifstream(file) >> bytes ? bytes : kNoLimit;
}

/// The least of a group and those that it is in.
std::uint64_t OfGroup(std::string group, const std::string& mount)
{
    std::uint64_t least = kNoLimit;
    while (!group.empty() && group.front() == '/') {
        least = std::min(least, OfFile(mount + group + "/memory.max"));
        group.erase(group.rfind('/'));
    }
    return std::min(least, OfFile(mount + "/memory.max"));
}

} // namespace

std::uint64_t MemoryLimit::Allowed(const std::string& groups, const std::string& mount)
{
    std::uint64_t least = std::min({OfMachine(), OfResource(RLIMIT_AS), OfResource(RLIMIT_DATA)});
    std::istringstream lines(groups);
    for (std::string line; std::getline(lines, line);) {
        const std::string version2 = "0::";
        if (line.compare(0, version2.size(), version2) == 0) {
            least = std::min(least, OfGroup(line.substr(version2.size()), mount));
        }
    }
    return least;
}

std::uint64_t MemoryLimit::Allowed()
{
    std::ostringstream groups;
    groups << std::ifstream("/proc/self/cgroup").rdbuf();
    return Allowed(groups.str(), "/sys/fs/cgroup");
}

MemoryLimit::Shares MemoryLimit::Divide(std::uint64_t allowed)
{
    const std::uint64_t counted = std::max(allowed, kLeast);
    return {static_cast<std::size_t>(std::min(kMostOfClients, counted / 4)),
            static_cast<std::size_t>(std::min(kMostOfPage, counted / 16))};
}
