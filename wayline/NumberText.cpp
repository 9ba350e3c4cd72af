#include "wayline/NumberText.h"

#include <algorithm>
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
constexpr std::uint64_t kFiveToDecimals = 15625;
constexpr std::uint64_t kTenToDecimals = 1000000;
// How many bits of the significand are multiplied for themselves, since the product does not fit
// into 64.
constexpr int kLowBits = 16;
// How many bits below the point the fast way takes: fewer would leave nothing to round, and with
// more than the most the number is written as zero, whatever it is.
constexpr int kFewestBitsBelow = kDecimals + kLowBits + 1;
constexpr int kMostBitsBelow = 80;

/// A number below 2^30 in millionths, rounded half to even: the integer of its significand times
/// 5^6, over a power of two.
std::uint64_t Millionths(std::uint64_t significand, int bitsBelow)
{
    const std::uint64_t low = (significand & ((1U << kLowBits) - 1)) * kFiveToDecimals;
    const std::uint64_t product = (significand >> kLowBits) * kFiveToDecimals + (low >> kLowBits);
    // Of the bits that go, only whether any is set matters.
    const std::uint64_t isMore = (low & ((1U << kLowBits) - 1)) != 0 ? 1 : 0;
    const std::uint64_t exact = product << 1 | isMore;
    const int cut = bitsBelow - kDecimals - kLowBits + 1;
    const std::uint64_t isOdd = exact >> cut & 1;
    return (exact + (std::uint64_t{1} << (cut - 1)) - 1 + isOdd) >> cut;
}

/// Writes two digits.
void WritePair(char* place, std::uint64_t number)
{
    place[0] = static_cast<char>('0' + number / 10);
    place[1] = static_cast<char>('0' + number % 10);
}

/// Writes a number of usual size, below 2^30: where all coordinates lie, in less time than
/// std::to_chars() takes, and exact as that is.
///
/// @return behind the last character; null, with nothing written, for a number of another size.
char* WriteUsual(char* place, double number)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    const int exponent = static_cast<int>(bits >> kFractionBits & 0x7ff) - kExponentBias;
    const int bitsBelow = std::min(kFractionBits - exponent, kMostBitsBelow);
    if (bitsBelow < kFewestBitsBelow) {
        return nullptr;
    }
    const std::uint64_t millionths =
        Millionths((bits & kFractionMask) | (kFractionMask + 1), bitsBelow);
    *place = '-';
    place += bits >> 63;
    place = std::to_chars(place, place + kLongestInteger, millionths / kTenToDecimals).ptr;
    const std::uint64_t decimals = millionths % kTenToDecimals;
    *place = '.';
    WritePair(place + 1, decimals / 10000);
    WritePair(place + 3, decimals / 100 % 100);
    WritePair(place + 5, decimals % 100);
    return place + 1 + kDecimals;
}

char* WriteBlankAndDouble(char* place, double number)
{
    *place++ = ' ';
    char* const end = WriteUsual(place, number);
    return end != nullptr ? end
                          : std::to_chars(place, place + kLongestDouble, number,
                                          std::chars_format::fixed, kDecimals)
                                .ptr;
}

} // namespace

void AppendInteger(std::string& text, std::size_t number)
{
    char buffer[kLongestInteger];
    const std::to_chars_result written = std::to_chars(buffer, buffer + sizeof buffer, number);
    text.append(buffer, static_cast<std::size_t>(written.ptr - buffer));
}

void AppendBlanksAndDoubles(std::string& text, std::initializer_list<double> numbers)
{
    constexpr std::ptrdiff_t kLongest = 1 + kLongestDouble;
    char buffer[3 * kLongest];
    char* place = buffer;
    for (const double number : numbers) {
        if (buffer + sizeof buffer - place < kLongest) {
            text.append(buffer, place);
            place = buffer;
        }
        place = WriteBlankAndDouble(place, number);
    }
    text.append(buffer, place);
}

} // namespace Kestrove
