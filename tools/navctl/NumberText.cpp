#include "tools/navctl/NumberText.h"

#include <cstdio>

namespace {

// The largest double has 309 digits before its point.
constexpr std::size_t kLongestNumber = 400;

} // namespace

std::string Fixed(double value, int decimals)
{
    char text[kLongestNumber];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string Signed(double value, int decimals)
{
    char text[kLongestNumber];
    std::snprintf(text, sizeof text, "%+.*f", decimals, value);
    return text;
}
