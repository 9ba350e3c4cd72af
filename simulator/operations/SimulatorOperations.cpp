#include "simulator/operations/SimulatorOperations.h"

#include <cmath>
#include <cstdio>
#include <string>

namespace {

// 0.06 s are three steps, whatever 0.06 rounds to.
constexpr double kWholeTolerance = 1e-6;

std::string SecondsText(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.15g s", seconds);
    return text;
}

} // namespace

std::optional<int> CSimulatorOperations::WholeSteps(double seconds, std::string& problem)
{
    const double steps = seconds / CSimulation::kStepSeconds;
    if (!std::isfinite(seconds) || seconds < 0.0) {
        problem = SecondsText(seconds) + " is not a time to advance by";
    } else if (steps > kLongestAdvanceSeconds / CSimulation::kStepSeconds + kWholeTolerance) {
        problem = SecondsText(seconds) + " is too long, at most " +
                  SecondsText(kLongestAdvanceSeconds) + " at once";
    } else if (std::abs(steps - std::round(steps)) > kWholeTolerance) {
        problem = SecondsText(seconds) + " is not a whole number of steps of " +
                  SecondsText(CSimulation::kStepSeconds);
    } else {
        return static_cast<int>(std::round(steps));
    }
    return std::nullopt;
}

void CSimulatorOperations::Register(COperationTable& table)
{
    using Self = CSimulatorOperations;
    table.Add(kAdvance, *this, &Self::Advance);
    table.Add("simulator_time", *this, &Self::Time);
    table.Add("simulator_describe", *this, &Self::Describe);
    table.Add("simulator_keeps", *this, &Self::Keeps);
}

double CSimulatorOperations::Advance(double seconds)
{
    if (!m_step) {
        throw UnusableArgument("time passes by itself here; the simulator's option --clock stepped "
                               "has it wait");
    }
    std::string problem;
    const std::optional<int> steps = WholeSteps(seconds, problem);
    if (!steps) {
        throw UnusableArgument(problem);
    }
    if (m_work != nullptr && !m_work->OnTheSpot()) {
        throw CStepsPending(*steps);
    }
    for (int step = 0; step < *steps; ++step) {
        m_step();
    }
    return Time();
}

double CSimulatorOperations::Time()
{
    return m_simulation.Time();
}

std::string CSimulatorOperations::Describe()
{
    char time[32];
    std::snprintf(time, sizeof time, "%.2f s", Time());
    return m_description + "; time " + time;
}

int CSimulatorOperations::Keeps()
{
    return static_cast<int>(m_kept.Keeping());
}
