#include "tools/navctl/operations/Outcome.h"

#include <array>
#include <charconv>
#include <cmath>

Json NumberValue(float value)
{
    if (!std::isfinite(value)) {
        return static_cast<double>(value);
    }
    std::array<char, 64> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value);
    double digits = 0.0;
    std::from_chars(text.data(), written.ptr, digits);
    return digits;
}

std::optional<COutcome> StatusOutcome(std::optional<int> status)
{
    if (status != 0 && status != 1) {
        return std::nullopt;
    }
    return COutcome{status == 1 ? EOutcome::Done : EOutcome::Refused};
}
