#ifndef KESTROVE_SIMULATOR_GUIDANCE_TUNING_H
#define KESTROVE_SIMULATOR_GUIDANCE_TUNING_H

#include <array>

#include "simulator/base/Outcome.h"

/// The tunable parameters of the steering controller, by their numbers on the link.
enum class ETuning : int
{
    Sensitivity = 0,    ///< scales the reaction to cross-track error
    Aggressiveness = 1, ///< scales the line-acquisition angle and the steering rate
    Overshoot = 2,      ///< scales the damping of the approach: more is calmer
    SpeedAdjust = 3,    ///< how much the gains fall with speed: 0 not at all
};

inline constexpr int kTuningParameters = 4;

/// The range of a tuning parameter.
struct TuningLimits
{
    double lowest = 0.0;
    double start = 0.0;
    double highest = 0.0;

    /// The three in rising order.
    std::array<double, 3> Values() const { return {lowest, start, highest}; }
};

/// The four tuning parameters with their limits. A value always lies in its limits.
class CTuning
{
public:
    /// Every parameter at its start value, in the limits that docs/simulator.md gives.
    CTuning();

    double Get(ETuning parameter) const;

    /// Sets a value, clamped to the limits. Refused, with the value unchanged, when it is not a
    /// finite number.
    COutcome Set(ETuning parameter, double value);

    TuningLimits Limits(ETuning parameter) const;

    /// Sets the limits and clamps the present value to them. Refused unless all three are finite,
    /// not negative and in ascending order.
    COutcome SetLimits(ETuning parameter, const TuningLimits& limits);

private:
    std::array<TuningLimits, kTuningParameters> m_limits;
    std::array<double, kTuningParameters> m_values;
};

/// Whether a number from the link is that of a tuning parameter.
constexpr bool IsTuning(int number)
{
    return number >= 0 && number < kTuningParameters;
}

#endif
