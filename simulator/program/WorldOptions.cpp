#include "simulator/program/ImplementOption.h"

#include <charconv>
#include <string_view>

namespace {

constexpr std::string_view kCarried = "carried:";
constexpr std::string_view kTrailed = "trailed:";

/// Reads a number that is all of a text and within limits; "nan" is within none.
bool ReadWithin(std::string_view text, double lowest, double highest, double& value)
{
    const char* end = text.data() + text.size();
    const auto [rest, problem] = std::from_chars(text.data(), end, value);
    return problem == std::errc() && rest == end && value >= lowest && value <= highest;
}

} // namespace

bool ReadImplement(const std::string& words, ImplementGeometry& implement)
{
    const std::string_view text = words;
    ImplementGeometry read{0.0, 0.0};
    if (text.substr(0, kCarried.size()) == kCarried) {
        if (!ReadWithin(text.substr(kCarried.size()), 0.0, 10.0, read.behind)) {
            return false;
        }
    } else if (text.substr(0, kTrailed.size()) == kTrailed) {
        const std::string_view lengths = text.substr(kTrailed.size());
        const std::size_t comma = lengths.find(',');
        if (comma == std::string_view::npos ||
            !ReadWithin(lengths.substr(0, comma), 0.0, 5.0, read.behind) ||
            !ReadWithin(lengths.substr(comma + 1), 0.5, 12.0, read.drawbar)) {
            return false;
        }
    } else {
        return false;
    }
    implement = read;
    return true;
}
