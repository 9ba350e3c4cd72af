#ifndef KESTROVE_TOOLS_FIELDFILES_NUMBERWORDS_H
#define KESTROVE_TOOLS_FIELDFILES_NUMBERWORDS_H

#include <array>
#include <charconv>
#include <string>

/// A number in as many digits as bring it back, without an exponent and independent of the locale.
inline std::string ShortestNumber(double value)
{
    std::array<char, 512> text{};
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed).ptr;
    return {text.data(), end};
}

#endif
