#include "tools/navctl/Names.h"

#include <algorithm>

const NameTable& WaylineKindNames()
{
    static const NameTable kNames{
        {"empty", Kestrove::EWaylineTypeEmpty},        {"ab", Kestrove::EWaylineTypeAB},
        {"a-heading", Kestrove::EWaylineTypeAHeading}, {"circle", Kestrove::EWaylineTypeCircle},
        {"spline", Kestrove::EWaylineTypeSpline},      {"ab-curve", Kestrove::EWaylineTypeABCurve},
        {"path", Kestrove::EWaylineTypePath},          {"replay", Kestrove::EWaylineTypeReplay}};
    return kNames;
}

const NameTable& TuningParameterNames()
{
    static const NameTable kNames{{"sensitivity", Kestrove::Sensitivity},
                                  {"aggressiveness", Kestrove::Aggressiveness},
                                  {"overshoot", Kestrove::Overshoot},
                                  {"speed-adjust", Kestrove::SpeedAdjust}};
    return kNames;
}

std::string NameOf(const NameTable& names, int code)
{
    const auto found = std::find_if(names.begin(), names.end(),
                                    [code](const auto& entry) { return entry.second == code; });
    return found == names.end() ? std::to_string(code) : found->first;
}

std::string KindName(Kestrove::EWaylineType type)
{
    return NameOf(WaylineKindNames(), type);
}

std::string ParameterName(Kestrove::ETuningParameter parameter)
{
    return NameOf(TuningParameterNames(), parameter);
}
