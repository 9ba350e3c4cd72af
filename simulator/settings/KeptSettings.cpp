#include "simulator/settings/KeptSettings.h"

#include <cstddef>
#include <utility>

#include "simulator/base/NumberText.h"
#include "simulator/output/ServiceLog.h"
#include "simulator/world/Simulation.h"

namespace {

using Switch = void (CSimulation::*)(bool);
using Number = COutcome (CSimulation::*)(double);

struct KeptSwitch
{
    const char* name;
    Switch set;
};

struct KeptNumber
{
    const char* name;
    Number set;
};

constexpr std::array<KeptSwitch, 3> kSwitches{
    {{CKeptSettings::kReverseEngageEnabled, &CSimulation::SetReverseEngageEnabled},
     {CKeptSettings::kReverseEngageAllowed, &CSimulation::SetReverseEngageAllowed},
     {CKeptSettings::kLowSpeedEngageAllowed, &CSimulation::SetLowSpeedEngageAllowed}}};

constexpr std::array<KeptNumber, 2> kNumbers{
    {{CKeptSettings::kLowSpeedEngageTimeout, &CSimulation::SetLowSpeedTimeout},
     {CKeptSettings::kLookAheadTime, &CSimulation::SetLookAheadTime}}};

COutcome SetTuning(CTuning& tuning, ETuning parameter, double value)
{
    const TuningLimits limits = tuning.Limits(parameter);
    if (value < limits.lowest || value > limits.highest) {
        return COutcome::Refused(NumberText(value) + " is not within its limits " +
                                 NumberText(limits.lowest) + " and " + NumberText(limits.highest));
    }
    return tuning.Set(parameter, value);
}

/// Whether a name is that of a tuning parameter's limit.
bool IsLimit(const std::string& name)
{
    for (const std::string parameter : CKeptSettings::kTuning) {
        for (const char* limit : CKeptSettings::kLimits) {
            if (name == parameter + limit) {
                return true;
            }
        }
    }
    return false;
}

COutcome ApplyNumber(CSimulation& simulation, const std::string& name, double value)
{
    for (const KeptNumber& entry : kNumbers) {
        if (name == entry.name) {
            return (simulation.*entry.set)(value);
        }
    }
    for (int number = 0; number < kTuningParameters; ++number) {
        if (name == CKeptSettings::kTuning[static_cast<std::size_t>(number)]) {
            return SetTuning(simulation.Tuning(), static_cast<ETuning>(number), value);
        }
    }
    return IsLimit(name) ? COutcome::Done() : COutcome::Refused("there is no such setting");
}

COutcome Apply(CSimulation& simulation, const std::string& name, const KeptValue& value)
{
    const double* number = std::get_if<double>(&value);
    for (const KeptSwitch& entry : kSwitches) {
        if (name != entry.name) {
            continue;
        }
        if (number != nullptr) {
            return COutcome::Refused(NumberText(*number) +
                                     " is no switch, allowed is true or false");
        }
        (simulation.*entry.set)(std::get<bool>(value));
        return COutcome::Done();
    }
    if (number == nullptr) {
        return COutcome::Refused(std::string(std::get<bool>(value) ? "true" : "false") +
                                 " is no number");
    }
    return ApplyNumber(simulation, name, *number);
}

} // namespace

CKeptSettings::CKeptSettings(KeptValues values, KeepSink sink, KeepState state)
    : m_values(std::move(values)), m_sink(std::move(sink)), m_state(std::move(state))
{
}

EKeeping CKeptSettings::Keeping() const
{
    if (!m_sink) {
        return EKeeping::Nothing;
    }
    return m_state ? m_state() : EKeeping::Saved;
}

void CKeptSettings::Keep(const char* name, KeptValue value, bool asked)
{
    if (asked) {
        KeptValues values = m_values;
        values[name] = value;
        Take(std::move(values));
    }
}

void CKeptSettings::KeepTuning(ETuning parameter, const CTuning& tuning, bool asked)
{
    if (!asked) {
        return;
    }
    const std::string name = kTuning[static_cast<std::size_t>(parameter)];
    const std::array<double, 3> limits = tuning.Limits(parameter).Values();
    const bool ofTheStart = limits == CTuning().Limits(parameter).Values();
    KeptValues values = m_values;
    for (std::size_t i = 0; i < limits.size(); ++i) {
        if (ofTheStart) {
            values.erase(name + kLimits[i]);
        } else {
            values[name + kLimits[i]] = limits[i];
        }
    }
    values[name] = tuning.Get(parameter);
    Take(std::move(values));
}

void CKeptSettings::Take(KeptValues values)
{
    if (values == m_values) {
        return;
    }
    m_values = std::move(values);
    if (m_sink) {
        m_sink(m_values);
    }
}

COutcome CKeptSettings::ApplyTo(CSimulation& simulation) const
{
    // The limits first, which the values must lie in.
    COutcome limited = ApplyLimits(simulation);
    if (!limited) {
        return limited;
    }
    for (const auto& [name, value] : m_values) {
        const COutcome outcome = Apply(simulation, name, value);
        if (!outcome) {
            return COutcome::Refused("\"" + Printable(name) + "\": " + outcome.Reason());
        }
    }
    return COutcome::Done();
}

COutcome CKeptSettings::ApplyLimits(CSimulation& simulation) const
{
    CTuning& tuning = simulation.Tuning();
    for (int number = 0; number < kTuningParameters; ++number) {
        const std::string name = kTuning[static_cast<std::size_t>(number)];
        const auto parameter = static_cast<ETuning>(number);
        std::array<double, 3> limits = tuning.Limits(parameter).Values();
        for (std::size_t i = 0; i < limits.size(); ++i) {
            const auto found = m_values.find(name + kLimits[i]);
            if (found != m_values.end() && std::holds_alternative<double>(found->second)) {
                limits[i] = std::get<double>(found->second);
            }
        }
        const COutcome outcome = tuning.SetLimits(parameter, {limits[0], limits[1], limits[2]});
        if (!outcome) {
            return COutcome::Refused("the limits of \"" + name + "\": " + outcome.Reason());
        }
    }
    return COutcome::Done();
}
