#include "recording/RecordingClock.h"

#include <array>
#include <ctime>

namespace {

std::uint64_t Read(clockid_t clock)
{
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000U +
           static_cast<std::uint64_t>(time.tv_nsec);
}

} // namespace

std::uint64_t RecordingTime()
{
    static const std::uint64_t difference = Read(CLOCK_REALTIME) - Read(CLOCK_BOOTTIME);
    return Read(CLOCK_BOOTTIME) + difference;
}

std::string RecordingTimeText(std::uint64_t nanoseconds)
{
    const auto seconds = static_cast<std::time_t>(nanoseconds / 1'000'000'000U);
    std::tm fields{};
    std::array<char, 32> text{};
    ::gmtime_r(&seconds, &fields);
    const std::size_t length =
        std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &fields);
    return {text.data(), length};
}
