#include "recording/Crc32.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace {

// Eight bytes at a time: a table for each place that a byte has among them.
using Tables = std::array<std::array<std::uint32_t, 256>, 8>;

constexpr Tables MakeTables()
{
    Tables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 1U) != 0 ? (value >> 1U) ^ 0xEDB88320U : value >> 1U;
        }
        tables[0][byte] = value;
    }
    for (std::size_t place = 1; place < tables.size(); ++place) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = tables[place - 1][byte];
            tables[place][byte] = (before >> 8U) ^ tables[0][before & 0xFFU];
        }
    }
    return tables;
}

constexpr Tables kTables = MakeTables();

std::uint32_t LittleEndian(const unsigned char* bytes)
{
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8U |
           static_cast<std::uint32_t>(bytes[2]) << 16U |
           static_cast<std::uint32_t>(bytes[3]) << 24U;
}

} // namespace

void CCrc32::Add(std::string_view bytes)
{
    const auto* next = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t left = bytes.size();
    std::uint32_t state = m_state;
    for (; left >= 8; left -= 8, next += 8) {
        const std::uint32_t low = state ^ LittleEndian(next);
        const std::uint32_t high = LittleEndian(next + 4);
        state = kTables[7][low & 0xFFU] ^ kTables[6][(low >> 8U) & 0xFFU] ^
                kTables[5][(low >> 16U) & 0xFFU] ^ kTables[4][low >> 24U] ^
                kTables[3][high & 0xFFU] ^ kTables[2][(high >> 8U) & 0xFFU] ^
                kTables[1][(high >> 16U) & 0xFFU] ^ kTables[0][high >> 24U];
    }
    for (; left > 0; --left, ++next) {
        state = (state >> 8U) ^ kTables[0][(state ^ *next) & 0xFFU];
    }
    m_state = state;
}

std::uint32_t Crc32Of(std::string_view bytes)
{
    CCrc32 sum;
    sum.Add(bytes);
    return sum.Value();
}
