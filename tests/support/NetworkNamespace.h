#ifndef KESTROVE_TESTS_SUPPORT_NETWORKNAMESPACE_H
#define KESTROVE_TESTS_SUPPORT_NETWORKNAMESPACE_H

#include <functional>
#include <string>

/// What became of something that was done in a network of its own.
struct CIsolatedOutcome
{
    bool isAllowed = false; ///< whether the system lets a process have a network of its own
    std::string problem;    ///< what went wrong; empty when nothing did
};

/// Does something in a child process that has a network of its own, with nothing but the loopback
/// addresses, in which the system picks the local ports of connections from `firstPort` to
/// `lastPort`. The child has the one thread.
///
/// @param action returns what went wrong, or nothing.
CIsolatedOutcome InNetworkOfItsOwn(int firstPort, int lastPort,
                                   const std::function<std::string()>& action);

#endif
