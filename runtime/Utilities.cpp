#include "platform/Utilities.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "runtime/BigEndian.h"

namespace {

constexpr double kTenToDecimals = 1e6;
constexpr std::uint64_t kTenToLast = 10'000'000;
/// The point, the decimals and the digit before them.
constexpr std::size_t kLastBytes = 8;
/// As many digits as a double holds exactly, whatever they are, and the point.
constexpr std::size_t kMostBytes = 15 + 1;

/// Reads the last bytes of a number: a digit, the point and six decimals.
///
/// @param digits receives the seven digits as one whole number.
/// @return false when the bytes have another form.
bool ReadLast(const char* bytes, std::uint64_t& digits)
{
    std::uint64_t text = 0;
    std::memcpy(&text, bytes, sizeof text);
    text = BigEndian::InOrder(text);
    // The digit takes the point's place, and a zero the digit's.
    const bool isPoint = (text >> 48 & 0xff) == '.';
    text = (text & 0x0000ffffffffffff) | (text >> 8 & 0x00ff000000000000) | 0x3000000000000000;
    const std::uint64_t ones = text - 0x3030303030303030;
    const bool areDigits = (((text + 0x4646464646464646) | ones) & 0x8080808080808080) == 0;
    // Eight numbers of one digit become four of two, then two of four, then one.
    digits = (ones & 0x00ff00ff00ff00ff) + (ones >> 8 & 0x00ff00ff00ff00ff) * 10;
    digits = (digits & 0x0000ffff0000ffff) + (digits >> 16 & 0x0000ffff0000ffff) * 100;
    digits = (digits & 0x00000000ffffffff) + (digits >> 32) * 10000;
    return isPoint && areDigits;
}

/// Reads a number as waylines write it, with six decimals and up to nine digits before them, in
/// half the time that std::from_chars() takes. Exact as that is: the digits as an integer and 10^6
/// are both doubles, so that their quotient is rounded once.
///
/// @return false, with `value` untouched, when the text is anything else.
bool ParseUsual(std::string_view text, double& value)
{
    const bool isNegative = !text.empty() && text.front() == '-';
    text.remove_prefix(isNegative ? 1 : 0);
    if (text.size() < kLastBytes || text.size() > kMostBytes) {
        return false;
    }
    std::uint64_t whole = 0;
    bool areDigits = true;
    for (const char character : text.substr(0, text.size() - kLastBytes)) {
        const unsigned digit = static_cast<unsigned char>(character) - unsigned{'0'};
        areDigits = areDigits && digit <= 9;
        whole = whole * 10 + digit;
    }
    std::uint64_t last = 0;
    if (!areDigits || !ReadLast(text.data() + text.size() - kLastBytes, last)) {
        return false;
    }
    const double number = static_cast<double>(whole * kTenToLast + last) / kTenToDecimals;
    value = isNegative ? -number : number;
    return true;
}

/// How many words a text has, with separators between them.
std::size_t CountWords(std::string_view text, char separator)
{
    // Without a branch, and in portions of a known length: the compiler makes a few instructions of
    // each portion then.
    const auto startsBehind = [&text, separator](std::size_t place) {
        const bool isGap = text[place] == separator;
        const bool isGapNext = text[place + 1] == separator;
        return static_cast<unsigned>(isGap) & ~static_cast<unsigned>(isGapNext);
    };
    if (text.empty()) {
        return 0;
    }
    std::size_t count = text.front() != separator ? 1 : 0;
    constexpr std::size_t kCharactersAtOnce = 128;
    for (; text.size() > kCharactersAtOnce; text.remove_prefix(kCharactersAtOnce)) {
        unsigned char inPortion = 0;
        for (std::size_t place = 0; place < kCharactersAtOnce; ++place) {
            inPortion = static_cast<unsigned char>(inPortion + startsBehind(place));
        }
        count += inPortion;
    }
    for (std::size_t place = 0; place + 1 < text.size(); ++place) {
        count += startsBehind(place);
    }
    return count;
}

/// The text behind an explicit plus sign, which from_chars does not take; empty when a second sign
/// follows it.
std::string_view WithoutPlus(const std::string& text)
{
    std::string_view digits(text);
    if (!digits.empty() && digits.front() == '+') {
        digits.remove_prefix(1);
        if (!digits.empty() && digits.front() == '-') {
            return {};
        }
    }
    return digits;
}

/// Reads the whole text as one number; `value` is untouched when it is anything else.
template <typename Number>
int ParseWhole(const std::string& text, Number& value)
{
    const std::string_view digits = WithoutPlus(text);
    const char* const end = digits.data() + digits.size();
    Number parsed{};
    const auto result = std::from_chars(digits.data(), end, parsed);
    if (result.ec != std::errc() || result.ptr != end) {
        return 0;
    }
    value = parsed;
    return 1;
}

} // namespace

namespace Core::Utilities {

int SplitString(const std::string& text, char separator, std::vector<std::string>& parts,
                int /*options*/)
{
    parts.clear();
    parts.reserve(CountWords(text, separator));
    const char* place = text.data();
    const char* const end = place + text.size();
    while (place != end) {
        if (*place == separator) {
            ++place;
            continue;
        }
        const void* const found =
            std::memchr(place, separator, static_cast<std::size_t>(end - place));
        const char* const wordEnd = found == nullptr ? end : static_cast<const char*>(found);
        parts.emplace_back(place, wordEnd);
        place = wordEnd;
    }
    return parts.empty() ? 0 : 1;
}

int SplitString(const std::string& text, char separator, std::string& first, std::string& rest)
{
    if (text.empty()) {
        return 0;
    }
    const std::size_t at = text.find(separator);
    const std::string head = text.substr(0, at);
    rest = at == std::string::npos ? std::string() : text.substr(at + 1);
    first = head;
    return 1;
}

int ParseInt(const std::string& text, int& value)
{
    return ParseWhole(text, value);
}

int ParseDouble(const std::string& text, double& value)
{
    return ParseUsual(text, value) ? 1 : ParseWhole(text, value);
}

} // namespace Core::Utilities
