#ifndef KESTROVE_SIMULATOR_BASE_NUMBERTEXT_H
#define KESTROVE_SIMULATOR_BASE_NUMBERTEXT_H

#include <charconv>
#include <string>

/// A number with as many digits as distinguish it from its neighbours, and no more: -1000.00001 is
/// not shown as the limit that it has passed.
template <typename TNumber>
std::string NumberText(TNumber value)
{
    char text[64];
    return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

#endif
