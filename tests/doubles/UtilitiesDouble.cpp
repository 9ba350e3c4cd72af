#include "platform/Utilities.h"

#include <charconv>
#include <sstream>

#include "tests/doubles/Recording.h"

namespace Core::Utilities {

namespace {

/// Reads the whole text or nothing, with an optional sign.
template <typename Number>
int ParseWhole(const std::string& text, Number& value)
{
    const char* begin = text.data();
    const char* end = begin + text.size();
    if (text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+') {
        ++begin;
    }
    Number number{};
    const std::from_chars_result result = std::from_chars(begin, end, number);
    if (result.ec != std::errc() || result.ptr != end) {
        return 0;
    }
    value = number;
    return 1;
}

} // namespace

int SplitString(const std::string& text, char separator, std::vector<std::string>& parts,
                int options)
{
    if (options != 0) {
        Doubles::Recording().Note("SplitString options " + std::to_string(options));
    }
    parts.clear();
    std::istringstream stream(text);
    for (std::string word; std::getline(stream, word, separator);) {
        if (!word.empty()) {
            parts.push_back(word);
        }
    }
    return parts.empty() ? 0 : 1;
}

int SplitString(const std::string& text, char separator, std::string& first, std::string& rest)
{
    if (text.empty()) {
        return 0;
    }
    const std::size_t end = text.find(separator);
    const std::string leading = text.substr(0, end);
    rest = end == std::string::npos ? std::string() : text.substr(end + 1);
    first = leading;
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
