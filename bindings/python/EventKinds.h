#ifndef KESTROVE_BINDINGS_PYTHON_EVENTKINDS_H
#define KESTROVE_BINDINGS_PYTHON_EVENTKINDS_H

#include <array>
#include <bitset>
#include <cstddef>

class CNavigationAPI;

namespace Kestrove::Python {

class CClient;

/// A kind of event.
struct EventKind
{
    const char* operation; ///< the operation that takes the callable
    const char* type;      ///< the named tuple of the package
    const char* arguments; ///< what the callable is called with, for people
    /// Has the library's client deliver the events to a client of Python, or, for null, to nobody.
    void (*listen)(CNavigationAPI& api, CClient* client);
};

inline constexpr std::size_t kEventKindCount = 8;

/// All kinds; a kind's place is its number.
extern const std::array<EventKind, kEventKindCount> kEventKinds;

using EventKindSet = std::bitset<kEventKindCount>;

} // namespace Kestrove::Python

#endif
