#ifndef KESTROVE_SIMULATOR_HTTP_PEERSWINDOW_H
#define KESTROVE_SIMULATOR_HTTP_PEERSWINDOW_H

#include <cstddef>

/// How many bytes the system at the other end of a TCP connection would take now; 0 where that is
/// not told.
std::size_t PeersWindow(int socket);

#endif
