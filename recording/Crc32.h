#ifndef KESTROVE_RECORDING_CRC32_H
#define KESTROVE_RECORDING_CRC32_H

#include <cstdint>
#include <string_view>

/// The CRC-32 that MCAP and zlib use, over bytes that come in portions.
class CCrc32
{
public:
    void Add(std::string_view bytes);
    std::uint32_t Value() const { return ~m_state; }

private:
    std::uint32_t m_state = 0xFFFFFFFFU;
};

/// The CRC-32 of bytes that are all there.
std::uint32_t Crc32Of(std::string_view bytes);

#endif
