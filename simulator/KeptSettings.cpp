#include "simulator/KeptSettings.h"

#include <utility>

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
    {{KeptSettingsC::kReverseEngageEnabled, &CSimulation::SetReverseEngageEnabled},
     {KeptSettingsC::kReverseEngageAllowed, &CSimulation::SetReverseEngageAllowed},
     {KeptSettingsC::kLowSpeedEngageAllowed, &CSimulation::SetLowSpeedEngageAllowed}}};

constexpr std::array<KeptNumber, 2> kNumbers{
    {{KeptSettingsC::kLowSpeedEngageTimeout, &CSimulation::SetLowSpeedTimeout},
     {KeptSettingsC::kLookAheadTime, &CSimulation::SetLookAheadTime}}};

COutcome Apply(CSimulation& simulation, const std::string& name, double value)
{
    for (const KeptSwitch& entry : kSwitches) {
        if (name != entry.name)
            continue;
        if (value != 0.0 && value != 1.0) {
            return COutcome::Refused(std::to_string(value) +
                                     " is no switch, allowed is true or false");
        }
        (simulation.*entry.set)(value != 0.0);
        return COutcome::Done();
    }
    for (const KeptNumber& entry : kNumbers) {
        if (name == entry.name)
            return (simulation.*entry.set)(value);
    }
    for (int number = 0; number < kTuningParameters; ++number) {
        if (name == KeptSettingsC::kTuning[static_cast<std::size_t>(number)])
            return simulation.Tuning().Set(static_cast<ETuning>(number), value);
    }
    return COutcome::Refused("there is no such setting");
}

} // namespace

KeptSettingsC::KeptSettingsC(KeptValues values, KeepSink sink)
    : m_values(std::move(values)), m_sink(std::move(sink))
{
}

void KeptSettingsC::Keep(const char* name, double value, bool asked)
{
    if (!asked)
        return;
    m_values[name] = value;
    if (m_sink)
        m_sink(m_values);
}

COutcome KeptSettingsC::ApplyTo(CSimulation& simulation) const
{
    for (const auto& [name, value] : m_values) {
        const COutcome outcome = Apply(simulation, name, value);
        if (!outcome)
            return COutcome::Refused("\"" + name + "\": " + outcome.Reason());
    }
    return COutcome::Done();
}
