#ifndef KESTROVE_SIMULATOR_PROGRAM_MEMORYLIMIT_H
#define KESTROVE_SIMULATOR_PROGRAM_MEMORYLIMIT_H

#include <cstddef>
#include <cstdint>
#include <string>

/// How much memory the process may have, and what becomes of it. Beyond it the system refuses
/// memory or ends the process, and with it the steering of everybody.
namespace MemoryLimit {

/// The least that counts: with less nothing could be served.
inline constexpr std::uint64_t kLeast = std::uint64_t{64} * 1024 * 1024;

/// How many bytes may be held of what others send, at once.
struct Shares
{
    std::size_t clients; ///< of the service
    std::size_t page;
};

/// How many bytes the process may have: the least of the machine's memory, the limits of address
/// space and data, and those of the control groups (version 2) that it is in.
///
/// @param groups the control group as /proc/self/cgroup names it, "0::/a/b".
/// @param mount where control groups are mounted.
std::uint64_t Allowed(const std::string& groups, const std::string& mount);
/// The same of this process, where it runs.
std::uint64_t Allowed();
/// A quarter for clients, a sixteenth for the page, up to what suffices for both.
Shares Divide(std::uint64_t allowed);

} // namespace MemoryLimit

#endif
