#ifndef KESTROVE_SIMULATOR_DESCRIPTORLIMIT_H
#define KESTROVE_SIMULATOR_DESCRIPTORLIMIT_H

#include <cstddef>

/// How many descriptors the process may have, and what becomes of them.
namespace DescriptorLimit {

/// What the program needs for itself: files that it saves, listeners, timers, threads.
inline constexpr std::size_t kOwn = 64;

/// Lets the process have as many descriptors as it may at the most.
void Raise();
/// Into how many connections of the service's clients the descriptors go that are left.
///
/// @param others how many connections of others there may be.
/// @return what `others` and kOwn leave; where that is less than half, half.
std::size_t ConnectionsBeside(std::size_t others);

} // namespace DescriptorLimit

#endif
