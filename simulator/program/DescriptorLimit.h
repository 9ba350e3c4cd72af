#ifndef KESTROVE_SIMULATOR_PROGRAM_DESCRIPTORLIMIT_H
#define KESTROVE_SIMULATOR_PROGRAM_DESCRIPTORLIMIT_H

#include <cstddef>
#include <string>

/// How many descriptors the process may have, and what becomes of them.
namespace DescriptorLimit {

/// What the program keeps for itself, where there are plenty: files that it saves, listeners,
/// timers, threads.
inline constexpr std::size_t kOwn = 64;
/// How many must be free at the start; and how many with the live page.
inline constexpr std::size_t kFewest = 26;
inline constexpr std::size_t kFewestWithPage = 58;

/// How many connections there may be at once.
struct Shares
{
    std::size_t clients; ///< of the service
    std::size_t page;
};

/// Lets the process have as many descriptors as it may at most.
void Raise();
/// Why the program cannot do with the descriptors that it may still have; empty when it can.
std::string Problem(bool withPage);
/// Into how many connections the descriptors go that are left, so that neither kind ever takes one
/// from the other, or from the program.
///
/// @param mostOfPage how many the page has at most; 0 without one.
Shares Divide(std::size_t mostOfPage);
/// The same of so many that are left.
Shares Divide(std::size_t left, std::size_t mostOfPage);

} // namespace DescriptorLimit

#endif
