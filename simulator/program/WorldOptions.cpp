#include "simulator/program/WorldOptions.h"

#include <string_view>

#include "platform/Utilities.h"

namespace {

constexpr std::string_view kCarried = "carried:";
constexpr std::string_view kTrailed = "trailed:";
constexpr std::string_view kSlope = "slope:";
constexpr double kSteepest = 30.0; // degrees

/// Reads a number that is all of a text and within limits; "nan" is within none.
bool ReadWithin(std::string_view text, double lowest, double highest, double& value)
{
    return Core::Utilities::ParseDouble(std::string(text), value) != 0 && value >= lowest &&
           value <= highest;
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

std::optional<TerrainOptions> ReadTerrain(const std::string& words)
{
    if (words == "flat") {
        return TerrainOptions{ETerrain::Flat, 0.0};
    }
    if (words == "rolling") {
        return TerrainOptions{ETerrain::Rolling, 0.0};
    }
    const std::string_view text = words;
    double degrees = 0.0;
    const bool isSlope = text.substr(0, kSlope.size()) == kSlope &&
                         ReadWithin(text.substr(kSlope.size()), -kSteepest, kSteepest, degrees);
    return isSlope ? std::optional(TerrainOptions{ETerrain::Slope, Radians(degrees)})
                   : std::nullopt;
}
