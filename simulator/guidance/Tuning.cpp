#include "simulator/guidance/Tuning.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <sstream>

namespace {

std::size_t Index(ETuning parameter)
{
    return static_cast<std::size_t>(parameter);
}

} // namespace

CTuning::CTuning() : m_limits{{{0.2, 1.0, 3.0}, {0.2, 1.0, 3.0}, {0.2, 1.0, 3.0}, {0.0, 1.0, 3.0}}}
{
    for (std::size_t i = 0; i < m_values.size(); ++i) {
        m_values[i] = m_limits[i].start;
    }
}

double CTuning::Get(ETuning parameter) const
{
    return m_values[Index(parameter)];
}

COutcome CTuning::Set(ETuning parameter, double value)
{
    if (!std::isfinite(value)) {
        std::ostringstream reason;
        reason << "the tuning value " << value << " is not a finite number";
        return COutcome::Refused(reason.str());
    }
    const TuningLimits& limits = m_limits[Index(parameter)];
    m_values[Index(parameter)] = std::clamp(value, limits.lowest, limits.highest);
    return COutcome::Done();
}

TuningLimits CTuning::Limits(ETuning parameter) const
{
    return m_limits[Index(parameter)];
}

COutcome CTuning::SetLimits(ETuning parameter, const TuningLimits& limits)
{
    const bool ascending = limits.lowest <= limits.start && limits.start <= limits.highest;
    if (!ascending || limits.lowest < 0.0 || !std::isfinite(limits.highest)) {
        std::ostringstream reason;
        reason << "the tuning limits " << limits.lowest << ", " << limits.start << ", "
               << limits.highest << " are not three finite numbers in ascending order from 0";
        return COutcome::Refused(reason.str());
    }
    m_limits[Index(parameter)] = limits;
    return Set(parameter, Get(parameter));
}
