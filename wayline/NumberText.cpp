#include "wayline/NumberText.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>

namespace Kestrove {

namespace {

constexpr int kDecimals = 6;
// The longest double: sign, all digits of the largest, point and decimals.
constexpr int kLongestDouble = 1 + std::numeric_limits<double>::max_exponent10 + 1 + 1 + kDecimals;
constexpr int kLongestInteger = std::numeric_limits<std::size_t>::digits10 + 1;

// How a double is made of its bits.
constexpr int kFractionBits = 52;
constexpr int kExponentBias = 1023;
constexpr std::uint64_t kFractionMask = (std::uint64_t{1} << kFractionBits) - 1;
// How many bits below the point the fast way takes: fewer than six would leave nothing to round,
// and the product of more with 5^6 does not fit into 64.
constexpr int kFewestBitsBelow = kDecimals + 1;
constexpr int kMostBitsBelow = 50;
constexpr std::uint64_t kFiveToDecimals = 15625;
constexpr std::uint64_t kTenToDecimals = 1000000;

/// Writes a number of usual size, from 4 to 2^46: where most coordinates lie, in less time than
/// std::to_chars() takes. Exact as that is: the bits below the point, times 10^6, are an integer of
/// 64 bits over a power of two, rounded half to even.
///
/// @return behind the last character; null, with nothing written, for a number of another size.
char* WriteUsual(char* place, double number)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    const int exponent = static_cast<int>(bits >> kFractionBits & 0x7ff) - kExponentBias;
    const int bitsBelow = kFractionBits - exponent;
    if (bitsBelow < kFewestBitsBelow || bitsBelow > kMostBitsBelow) {
        return nullptr;
    }
    const std::uint64_t significand = (bits & kFractionMask) | (kFractionMask + 1);
    std::uint64_t whole = significand >> bitsBelow;
    const std::uint64_t below = significand & ((std::uint64_t{1} << bitsBelow) - 1);
    const std::uint64_t product = below * kFiveToDecimals;
    const int cut = bitsBelow - kDecimals;
    std::uint64_t decimals = product >> cut;
    const std::uint64_t rest = product & ((std::uint64_t{1} << cut) - 1);
    const std::uint64_t half = std::uint64_t{1} << (cut - 1);
    decimals += rest > half || (rest == half && decimals % 2 == 1) ? 1 : 0;
    if (decimals == kTenToDecimals) {
        decimals = 0;
        ++whole;
    }
    if (number < 0.0) {
        *place++ = '-';
    }
    place = std::to_chars(place, place + kLongestInteger, whole).ptr;
    *place = '.';
    for (int digit = kDecimals; digit > 0; --digit, decimals /= 10) {
        place[digit] = static_cast<char>('0' + decimals % 10);
    }
    return place + 1 + kDecimals;
}

} // namespace

void AppendInteger(std::string& text, std::size_t number)
{
    char buffer[kLongestInteger];
    const std::to_chars_result written = std::to_chars(buffer, buffer + sizeof buffer, number);
    text.append(buffer, static_cast<std::size_t>(written.ptr - buffer));
}

void AppendBlankAndDouble(std::string& text, double number)
{
    char buffer[1 + kLongestDouble];
    buffer[0] = ' ';
    const char* end = WriteUsual(buffer + 1, number);
    if (end == nullptr) {
        end = std::to_chars(buffer + 1, buffer + sizeof buffer, number, std::chars_format::fixed,
                            kDecimals)
                  .ptr;
    }
    text.append(buffer, static_cast<std::size_t>(end - buffer));
}

} // namespace Kestrove
