#ifndef KESTROVE_SIMULATOR_WORLD_DRIVEFIGURES_H
#define KESTROVE_SIMULATOR_WORLD_DRIVEFIGURES_H

#include <vector>

// The figures that a drive is judged by, the same for the guidance's own tests and for those who
// drive the simulation from Python; docs/simulator.md says what they mean. The values are those of
// the moments at which guidance ran while steering was engaged, in their order; errors are
// cross-track errors, metres.

/// Within this distance a machine is on its line, metres.
inline constexpr double kOnLine = 0.05;

/// The error without sign that 95 % of the values do not exceed; NaN without values.
double Error95(std::vector<double> errors);

/// The mean of the errors without sign; NaN without values.
double MeanError(const std::vector<double>& errors);

/// The way after which the error never again exceeds `band`, metres: the way of the last moment at
/// which it did, 0 when it never did. Of a drive that ends outside it is the whole way.
///
/// @param ways metres driven at each of the moments.
double WayToSettle(const std::vector<double>& ways, const std::vector<double>& errors, double band);

/// How far the machine came past the line, seen from the side on which it was at first, metres; 0
/// when it did not.
double Overshoot(const std::vector<double>& errors);

#endif
