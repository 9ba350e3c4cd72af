#ifndef KESTROVE_TESTS_WAYLINE_OWNERS_H
#define KESTROVE_TESTS_WAYLINE_OWNERS_H

#include <cstdint>
#include <cstring>

#include "wayline/Wayline.h"

/// The number of owners of a wayline, as it stands in memory. The pointer must not be null.
inline std::uint32_t OwnersOf(const Kestrove::WaylinePtr& pointer)
{
    const std::uint32_t* counter = nullptr;
    std::memcpy(&counter, static_cast<const void*>(&pointer), sizeof counter);
    return *counter;
}

#endif
