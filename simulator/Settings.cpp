#include "simulator/Settings.h"

#include <algorithm>
#include <cstdio>

namespace {

std::string ApplySwitch(bool& setting, const std::string& name, double value)
{
    if (value != 0.0 && value != 1.0)
        return "\"" + name + "\" is " + std::to_string(value) + ", allowed is true or false";
    setting = value != 0.0;
    return {};
}

std::string ApplyNumber(double& setting, const std::string& name, const NumberRange& range,
                        double value)
{
    std::string problem = OutOfRange(range, value);
    if (!problem.empty())
        return "\"" + name + "\": " + problem;
    setting = value;
    return {};
}

} // namespace

std::string OutOfRange(const NumberRange& range, double value)
{
    if (value >= range.lowest && value <= range.highest)
        return {};
    char text[200];
    std::snprintf(text, sizeof text, "%g is no %s, allowed is %g to %g %s", value, range.what,
                  range.lowest, range.highest, range.unit);
    return text;
}

std::string ApplyKept(Settings& settings, const std::string& name, double value)
{
    if (name == kKeptReverseEngageEnabled)
        return ApplySwitch(settings.reverseEngageEnabled, name, value);
    if (name == kKeptReverseEngageAllowed)
        return ApplySwitch(settings.reverseEngageAllowed, name, value);
    if (name == kKeptLowSpeedEngageAllowed)
        return ApplySwitch(settings.lowSpeedEngageAllowed, name, value);
    if (name == kKeptLowSpeedEngageTimeout)
        return ApplyNumber(settings.lowSpeedEngageTimeout, name, kLowSpeedTimeoutRange, value);
    if (name == kKeptLookAheadTime)
        return ApplyNumber(settings.lookAheadTime, name, kLookAheadTimeRange, value);
    for (std::size_t code = 0; code < kTuningCount; ++code) {
        TuningSetting& tuning = settings.tuning[code];
        if (name == kKeptTuning[code]) {
            tuning.value = std::clamp(value, tuning.lowest, tuning.highest);
            return {};
        }
    }
    return "\"" + name + "\" is no setting that is kept";
}
