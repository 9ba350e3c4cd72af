#include "tools/navctl/wayline/WaylineReport.h"

#include <cmath>
#include <cstdio>

#include "tools/navctl/Names.h"
#include "tools/navctl/NumberText.h"
#include "tools/navctl/Output.h"
#include "tools/navctl/files/Angle.h"
#include "tools/navctl/wayline/WaylineShape.h"

using Json = nlohmann::ordered_json;

namespace {

Json OrNull(const std::optional<double>& value)
{
    return value ? Json(*value) : Json(nullptr);
}

Json BoundsJson(const std::optional<WaylineBounds>& bounds)
{
    if (!bounds)
        return nullptr;
    return {{"x", Json::array({bounds->lowest.x, bounds->highest.x})},
            {"y", Json::array({bounds->lowest.y, bounds->highest.y})},
            {"z", Json::array({bounds->lowest.z, bounds->highest.z})}};
}

std::string Range(const char* axis, double lowest, double highest)
{
    return std::string(axis) + " " + Metres(lowest) + " to " + Metres(highest);
}

std::string LengthWords(const WaylineContent& content)
{
    const std::optional<double> length = WaylineLength(content);
    if (!length)
        return {};
    switch (content.kind) {
    case Kestrove::EWaylineTypeAB:
        return ", " + Metres(*length) + " m from A to B, without ends";
    case Kestrove::EWaylineTypeCircle:
        return ", " + Metres(*length) + " m around, radius " +
               Metres(CircleThrough(content.points)->radius) + " m";
    default:
        return ", " + Metres(*length) + " m long";
    }
}

} // namespace

std::string Metres(double value)
{
    // Far more digits than a metre of any use has; beyond that the exponent is clearer.
    char text[64];
    std::snprintf(text, sizeof text, std::abs(value) < 1e12 ? "%.3f" : "%.6g", value);
    std::string metres = text;
    if (metres.find('.') != std::string::npos && metres.find('e') == std::string::npos) {
        metres.erase(metres.find_last_not_of('0') + 1);
        if (metres.back() == '.')
            metres.pop_back();
    }
    return metres == "-0" ? "0" : metres;
}

Json WaylineJson(const WaylineContent& content)
{
    return {{"kind", KindName(content.kind)},
            {"code", static_cast<int>(content.kind)},
            {"name", content.name.empty() ? Json(nullptr) : Json(content.name)},
            {"points", content.points.size()},
            {"length_m", OrNull(WaylineLength(content))},
            {"heading_rad", OrNull(HeadingOf(content))},
            {"bounds_m", BoundsJson(BoundsOf(content))}};
}

std::string WaylineWords(const WaylineContent& content)
{
    std::string words = KindTitle(content.kind);
    if (!content.name.empty())
        words += " \"" + Printable(content.name) + "\"";
    const std::size_t count = content.points.size();
    if (PointCountOf(content.kind) == 0U)
        return words + ", which the service keeps to itself";
    words += ", " + std::to_string(count) + (count == 1 ? " point" : " points");
    words += LengthWords(content);
    if (const std::optional<double> heading = HeadingOf(content)) {
        words += ", heading " + Fixed(Degrees(*heading), 2) + " degrees";
    }
    if (content.kind == Kestrove::EWaylineTypeAHeading)
        words += ", without ends";
    if (const std::optional<WaylineBounds> bounds = BoundsOf(content)) {
        words += "; " + Range("x", bounds->lowest.x, bounds->highest.x) + ", " +
                 Range("y", bounds->lowest.y, bounds->highest.y) + ", " +
                 Range("z", bounds->lowest.z, bounds->highest.z) + " m";
    }
    return words;
}
