#include "simulator/DescriptorLimit.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>

#include <sys/resource.h>

void DescriptorLimit::Raise()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit); // where that fails, the lower one holds
    }
}

std::size_t DescriptorLimit::ConnectionsBeside(std::size_t others)
{
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    std::error_code error; // where there is nothing to count, few are taken
    const std::filesystem::directory_iterator open("/proc/self/fd", error);
    const auto taken = static_cast<std::size_t>(std::distance(begin(open), end(open)));
    const std::size_t left = limit.rlim_cur - std::min<std::size_t>(limit.rlim_cur, taken);
    return left - std::min(others + kOwn, left / 2);
}
