#include "simulator/SimulatorOperations.h"

#include <cmath>
#include <cstdio>
#include <string>

namespace {

// 0.06 s are three steps, whatever 0.06 rounds to.
constexpr double kStepTolerance = 1e-6;

std::string SecondsText(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.15g s", seconds);
    return text;
}

/// @throws UnusableArgument for what is no time that the world can be moved on by.
int WholeSteps(double seconds)
{
    if (!std::isfinite(seconds) || seconds < 0.0) {
        throw UnusableArgument(SecondsText(seconds) + " is not a time to advance by");
    }
    const double steps = seconds / CSimulation::kStepSeconds;
    const double most = SimulatorOperationsC::kLongestAdvanceSeconds / CSimulation::kStepSeconds;
    if (steps > most + kStepTolerance) {
        throw UnusableArgument(SecondsText(seconds) + " is too long, at most " +
                               SecondsText(SimulatorOperationsC::kLongestAdvanceSeconds) +
                               " at once");
    }
    if (std::abs(steps - std::round(steps)) > kStepTolerance) {
        throw UnusableArgument(SecondsText(seconds) + " is not a whole number of steps of " +
                               SecondsText(CSimulation::kStepSeconds));
    }
    return static_cast<int>(std::round(steps));
}

} // namespace

void SimulatorOperationsC::Register(OperationTableC& table)
{
    using Self = SimulatorOperationsC;
    table.Add(kAdvance, *this, &Self::Advance);
    table.Add("simulator_time", *this, &Self::Time);
    table.Add("simulator_keeps", *this, &Self::Keeps);
}

double SimulatorOperationsC::Advance(double seconds)
{
    if (!m_step) {
        throw UnusableArgument("time passes by itself here; the simulator's option --clock stepped "
                               "has it wait");
    }
    const int steps = WholeSteps(seconds);
    if (m_work != nullptr && !m_work->OnTheSpot()) {
        throw CStepsPending(steps);
    }
    for (int step = 0; step < steps; ++step) {
        m_step();
    }
    return Time();
}

double SimulatorOperationsC::Time()
{
    return m_simulation.Time();
}

int SimulatorOperationsC::Keeps()
{
    return static_cast<int>(m_kept.Keeping());
}
