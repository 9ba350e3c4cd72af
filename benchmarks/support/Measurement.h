#ifndef KESTROVE_BENCHMARKS_SUPPORT_MEASUREMENT_H
#define KESTROVE_BENCHMARKS_SUPPORT_MEASUREMENT_H

#include <functional>
#include <string>
#include <vector>

namespace Benchmarks {

/// The figures of several rounds: the one in the middle, and the extremes.
struct Spread
{
    double median = 0.0;
    double lowest = 0.0;
    double highest = 0.0;
};

/// @param figures a figure a round; at least one.
Spread SpreadOf(const std::vector<double>& figures);

/// The figure below which `part` of the values lie.
///
/// @param values at least one.
/// @param part from 0 to 1.
double Quantile(std::vector<double> values, double part);

/// Monotonic time, in seconds.
double Now();
/// Processor time of the calling thread, in seconds.
double ThreadTime();
/// Processor time of the whole process, in seconds.
double ProcessTime();

/// One of those that are measured in turn.
struct Contender
{
    std::string name;
    std::function<double()> measure; ///< does the work and gives what it cost
};

/// Lets all contenders run once a round, in turn, so that what disturbs the machine disturbs all of
/// them, after a round that does not count.
///
/// @return an element a contender: its figures, one a round.
std::vector<std::vector<double>> Interleave(int rounds, const std::vector<Contender>& contenders);

/// What is computed only to be measured goes here, so that it is not optimised away.
void Keep(double value);

} // namespace Benchmarks

#endif
