#ifndef KESTROVE_RUNTIME_BIGENDIAN_H
#define KESTROVE_RUNTIME_BIGENDIAN_H

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Numbers as they stand on the wire, the highest byte first. Written out for eight bytes, since
/// compilers make one instruction of that, and eight of a loop.
namespace BigEndian {

template <std::size_t Size>
std::uint64_t Load(const char* bytes)
{
    std::uint64_t value = 0;
    for (std::size_t place = 0; place < Size; ++place) {
        value = value << 8 | static_cast<unsigned char>(bytes[place]);
    }
    return value;
}

inline std::uint64_t Reversed(std::uint64_t value)
{
    return value >> 56 | (value >> 40 & 0xff00) | (value >> 24 & 0xff0000) |
           (value >> 8 & 0xff000000) | (value & 0xff000000) << 8 | (value & 0xff0000) << 24 |
           (value & 0xff00) << 40 | value << 56;
}

/// The order of this machine, which is little endian wherever it is not big endian.
inline std::uint64_t InOrder(std::uint64_t value)
{
    const std::uint16_t probe = 1;
    unsigned char first = 0;
    std::memcpy(&first, &probe, 1);
    return first == 1 ? Reversed(value) : value;
}

inline double LoadDouble(const char* bytes)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, bytes, sizeof(bits));
    bits = InOrder(bits);
    double value = 0.0;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

inline void StoreDouble(char* bytes, double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    bits = InOrder(bits);
    std::memcpy(bytes, &bits, sizeof(bits));
}

} // namespace BigEndian

#endif
