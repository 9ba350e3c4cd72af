#include "simulator/program/DescriptorLimit.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>

#include <sys/resource.h>

namespace {

struct Count
{
    std::size_t allowed;
    std::size_t left;
};

Count CountNow()
{
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    std::error_code error;
    const std::filesystem::directory_iterator open("/proc/self/fd", error);
    // Where there is none for the directory, there is none for anything else.
    const auto taken =
        error ? limit.rlim_cur : static_cast<rlim_t>(std::distance(begin(open), end(open)));
    return {limit.rlim_cur, limit.rlim_cur - std::min(limit.rlim_cur, taken)};
}

} // namespace

void DescriptorLimit::Raise()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit); // where that fails, the lower one holds
    }
}

std::string DescriptorLimit::Problem(bool withPage)
{
    const Count count = CountNow();
    const std::size_t fewest = withPage ? kFewestWithPage : kFewest;
    if (count.left >= fewest) {
        return {};
    }
    return "there are too few file descriptors: the process may have " +
           std::to_string(count.allowed) + " (ulimit -n), " + std::to_string(count.left) +
           " of them are free, and " + std::to_string(fewest) + " are needed" +
           (withPage ? " with the live page" : "");
}

DescriptorLimit::Shares DescriptorLimit::Divide(std::size_t mostOfPage)
{
    return Divide(CountNow().left, mostOfPage);
}

DescriptorLimit::Shares DescriptorLimit::Divide(std::size_t left, std::size_t mostOfPage)
{
    constexpr std::size_t fewestOwn = 16; // all files and listeners, and what saving takes
    const std::size_t own = std::min(kOwn, std::max(left / 4, std::min(left / 2, fewestOwn)));
    const std::size_t page = std::min(mostOfPage, (left - own) / 2);
    return {left - own - page, page};
}
