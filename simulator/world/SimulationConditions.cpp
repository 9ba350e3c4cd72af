// What happens to the machine of CSimulation, and how guidance gets along with it.

#include "simulator/world/Simulation.h"

#include <algorithm>
#include <cmath>

#include "simulator/world/SimulationState.h"

namespace {

/// So far from a line of trees signals are thrown back, and how far they move a position, metres.
constexpr double kTreeReach = 10.0;
constexpr double kTreeJumps = 0.3;
/// How fast somebody at the wheel turns to a heading: a degree of the wheels for each of the
/// machine.
constexpr double kManualGain = 1.0;

/// Whether guidance steers by it: a fix by satellites alone is metres aside.
bool IsUsable(EFix fix)
{
    return fix > EFix::Single;
}

} // namespace

void CSimulation::State::MeasureAnew()
{
    estimator.Reset();
    reckoned = 0.0;
    Measure();
}

Attitude CSimulation::State::Lean() const
{
    const Pose& pose = machine.TruePose();
    if (conditions.slope) {
        return CTerrain::Leaning({-std::tan(*conditions.slope), 0.0}, pose.heading);
    }
    return terrain.At(pose);
}

Reception CSimulation::State::ReceptionNow() const
{
    Reception reception = conditions.reception;
    const double east = machine.TruePose().position.x;
    if (options.treeLine && std::abs(east - *options.treeLine) < kTreeReach) {
        reception.multipath = std::max(reception.multipath, kTreeJumps);
    }
    return reception;
}

void CSimulation::State::Measure()
{
    const std::optional<Pose> taken = receiver.Measure(machine.TruePose(), Lean(), ReceptionNow());
    measured = taken.value_or(measured);
    const ReceiverReport& report = receiver.Report();
    const bool isLost = reckoned > kLongestReckoning;
    // Positions by satellites alone are better than none when no other has come for long.
    const bool isTaken = taken && (IsUsable(report.fix) || isLost);
    if (!isTaken) {
        reckoned += kControlSeconds;
        estimator.Coast();
        return;
    }
    // What was reckoned for so long may be far from what is measured now.
    if (isLost && IsUsable(report.fix)) {
        estimator.Reset();
    }
    if (IsUsable(report.fix)) {
        reckoned = 0.0;
    }
    estimator.Expect(report.accuracy);
    estimator.Correct(measured);
}

double CSimulation::State::ManualCommand() const
{
    if (fed.Active()) {
        return 0.0;
    }
    if (conditions.manualHeading) {
        const double turn = NormaliseTurn(*conditions.manualHeading - machine.TruePose().heading);
        // Backwards the wheels turn the machine the other way.
        return std::clamp(kManualGain * (machine.Speed() < 0.0 ? -turn : turn), -kSteeringStop,
                          kSteeringStop);
    }
    return std::atan(kWheelbase * conditions.manualCurvature.value_or(0.0));
}

void CSimulation::SetConditions(const WorldConditions& conditions)
{
    m_state->conditions = conditions;
    m_state->machine.SetValve(conditions.valve);
}

const WorldConditions& CSimulation::Conditions() const
{
    return m_state->conditions;
}

Attitude CSimulation::Lean() const
{
    return m_state->Lean();
}
