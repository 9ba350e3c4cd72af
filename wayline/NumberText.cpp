#include "wayline/NumberText.h"

#include <charconv>
#include <limits>

namespace Kestrove {

namespace {

constexpr int kDecimals = 6;
// The longest double: sign, all digits of the largest, point and decimals.
constexpr int kLongestDouble = 1 + std::numeric_limits<double>::max_exponent10 + 1 + 1 + kDecimals;
constexpr int kLongestInteger = std::numeric_limits<std::size_t>::digits10 + 1;

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
    const std::to_chars_result written = std::to_chars(buffer + 1, buffer + sizeof buffer, number,
                                                       std::chars_format::fixed, kDecimals);
    text.append(buffer, static_cast<std::size_t>(written.ptr - buffer));
}

} // namespace Kestrove
