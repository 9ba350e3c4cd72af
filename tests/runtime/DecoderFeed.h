#ifndef KESTROVE_TESTS_RUNTIME_DECODERFEED_H
#define KESTROVE_TESTS_RUNTIME_DECODERFEED_H

#include <algorithm>
#include <cstring>
#include <string>

#include "runtime/MessageDecoder.h"

/// Hands bytes to a decoder as a connection would.
inline void Feed(MessageDecoderC& decoder, const std::string& bytes)
{
    std::size_t fed = 0;
    while (fed < bytes.size()) {
        std::size_t room = 0;
        char* const space = decoder.Space(room);
        const std::size_t count = std::min(room, bytes.size() - fed);
        std::memcpy(space, bytes.data() + fed, count);
        decoder.Arrived(count);
        fed += count;
    }
}

#endif
