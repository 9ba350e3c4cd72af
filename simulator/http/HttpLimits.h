#ifndef KESTROVE_SIMULATOR_HTTP_HTTPLIMITS_H
#define KESTROVE_SIMULATOR_HTTP_HTTPLIMITS_H

#include <cstddef>

/// What connections may take at once, all together.
struct HttpLimits
{
    /// A process may have 1024 descriptors as a rule, and the service's own clients need some.
    std::size_t connections = 256;
    /// Memory that is held for them, bytes.
    std::size_t held = std::size_t{32} * 1024 * 1024;
};

#endif
