#include "platform/Utilities.h"

#include <charconv>
#include <string_view>

namespace {

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
    std::size_t begin = text.find_first_not_of(separator);
    while (begin != std::string::npos) {
        const std::size_t end = text.find(separator, begin);
        parts.push_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(separator, end);
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
    return ParseWhole(text, value);
}

} // namespace Core::Utilities
