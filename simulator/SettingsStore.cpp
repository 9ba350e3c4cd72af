#include "simulator/SettingsStore.h"

#include <algorithm>
#include <cmath>
#include <utility>

SettingsStoreC::SettingsStoreC(KeptValues kept, KeepSink keep, LogSink log)
    : m_kept(std::move(kept)), m_keep(std::move(keep)), m_log(std::move(log))
{
    for (const auto& [name, value] : m_kept)
        Accept("kept setting", ApplyKept(m_settings, name, value));
}

void SettingsStoreC::Set(bool Settings::*setting, const char* name, bool value, bool keep)
{
    m_settings.*setting = value;
    if (keep)
        Keep(name, value ? 1.0 : 0.0);
}

void SettingsStoreC::Set(double Settings::*setting, const char* name, const NumberRange& range,
                         double value, bool keep)
{
    if (Set(setting, name, range, value) && keep)
        Keep(name, value);
}

bool SettingsStoreC::Set(double Settings::*setting, const char* operation, const NumberRange& range,
                         double value)
{
    if (!Accept(operation, OutOfRange(range, value)))
        return false;
    m_settings.*setting = value;
    return true;
}

bool SettingsStoreC::SetCurveFilterSize(int size)
{
    if (!Accept("SetCurveFilterSize", OutOfRange(kCurveFilterRange, size)))
        return false;
    m_settings.curveFilterSize = size;
    return true;
}

void SettingsStoreC::SetTuning(int code, double value, bool keep)
{
    if (!IsTuning("set_tuning_parameter", code))
        return;
    const auto index = static_cast<std::size_t>(code);
    if (std::isnan(value)) {
        Accept("set_tuning_parameter", std::string("nan is no ") + kKeptTuning[index]);
        return;
    }
    TuningSetting& tuning = m_settings.tuning[index];
    tuning.value = std::clamp(value, tuning.lowest, tuning.highest);
    if (tuning.value != value)
        m_log(ELogLevel::Info, std::string(kKeptTuning[index]) + " " + std::to_string(value) +
                                   " lies outside its limits and becomes " +
                                   std::to_string(tuning.value));
    if (keep)
        Keep(kKeptTuning[index], tuning.value);
}

void SettingsStoreC::SetTuningLimits(int code, double lowest, double start, double highest)
{
    if (!IsTuning("SetTuningLimits", code))
        return;
    if (!std::isfinite(lowest) || !std::isfinite(highest) || !(lowest <= start) ||
        !(start <= highest) || lowest < 0.0) {
        Accept("SetTuningLimits",
               std::to_string(lowest) + ", " + std::to_string(start) + ", " +
                   std::to_string(highest) +
                   " are no limits, allowed are three numbers that rise from "
                   "the lowest, at least 0, over the start value to the highest");
        return;
    }
    TuningSetting& tuning = m_settings.tuning[static_cast<std::size_t>(code)];
    tuning = {std::clamp(tuning.value, lowest, highest), lowest, start, highest};
}

bool SettingsStoreC::Accept(const char* operation, const std::string& problem) const
{
    if (!problem.empty())
        m_log(ELogLevel::Warning, std::string(operation) + ": " + problem);
    return problem.empty();
}

bool SettingsStoreC::IsTuning(const char* operation, int code) const
{
    if (code >= 0 && code < static_cast<int>(kTuningCount))
        return true;
    return Accept(operation, std::to_string(code) + " is no tuning parameter, allowed is 0 to 3");
}

void SettingsStoreC::Keep(const char* name, double value)
{
    m_kept[name] = value;
    if (m_keep)
        m_keep(m_kept);
}
