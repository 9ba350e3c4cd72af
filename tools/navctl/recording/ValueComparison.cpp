#include "tools/navctl/recording/ValueComparison.h"

#include <cmath>
#include <cstdio>

using Json = nlohmann::ordered_json;

namespace {

std::string NumberText(double number)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.9g", number);
    return text;
}

std::string DifferenceOfNumbers(const Json& expected, const Json& found, double tolerance)
{
    if (expected == found) {
        return {};
    }
    const auto first = expected.get<double>();
    const auto second = found.get<double>();
    if (std::isnan(first) && std::isnan(second)) {
        return {};
    }
    const double more = second - first;
    if (std::abs(more) <= tolerance) {
        return {};
    }
    std::string text = ShortText(found) + " in place of " + ShortText(expected);
    if (std::isfinite(more)) {
        text += ", " + NumberText(std::abs(more)) + (more < 0 ? " less" : " more");
    }
    return text;
}

void Append(const Json& value, std::string& text, std::size_t most)
{
    if (text.size() > most) {
        return;
    }
    if (value.is_number_float()) {
        const auto number = value.get<double>();
        text += std::isfinite(number) ? value.dump()
                : std::isnan(number)  ? "nan"
                : number < 0          ? "-inf"
                                      : "inf";
    } else if (value.is_structured()) {
        const char* between = "";
        text += value.is_array() ? "[" : "{";
        for (auto entry = value.begin(); entry != value.end() && text.size() <= most; ++entry) {
            text += between;
            text += value.is_object() ? "\"" + entry.key() + "\": " : "";
            Append(*entry, text, most);
            between = ", ";
        }
        text += value.is_array() ? "]" : "}";
    } else {
        text += value.dump(-1, ' ', false, Json::error_handler_t::replace);
    }
}

} // namespace

std::string ShortText(const Json& value, std::size_t most)
{
    std::string text;
    Append(value, text, most);
    if (text.size() > most) {
        text.resize(most);
        text += "...";
    }
    return text;
}

std::string DifferenceOf(const Json& expected, const Json& found, double tolerance)
{
    if (expected.is_number() && found.is_number()) {
        return DifferenceOfNumbers(expected, found, tolerance);
    }
    if (expected.is_array() && found.is_array()) {
        for (std::size_t index = 0; index < expected.size() && index < found.size(); ++index) {
            const std::string difference = DifferenceOf(expected[index], found[index], tolerance);
            if (!difference.empty()) {
                return "[" + std::to_string(index) + "]" + (difference[0] == '[' ? "" : ": ") +
                       difference;
            }
        }
        return expected.size() == found.size()
                   ? std::string()
                   : std::to_string(found.size()) + " elements in place of " +
                         std::to_string(expected.size());
    }
    return expected == found ? std::string()
                             : ShortText(found) + " in place of " + ShortText(expected);
}
