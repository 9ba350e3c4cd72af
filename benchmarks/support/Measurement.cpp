#include "benchmarks/support/Measurement.h"

#include <algorithm>
#include <cstddef>
#include <ctime>

namespace Benchmarks {

namespace {

double Read(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

volatile double g_kept = 0.0;

} // namespace

double Quantile(std::vector<double> values, double part)
{
    const auto place =
        values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

Spread SpreadOf(const std::vector<double>& figures)
{
    return {Quantile(figures, 0.5), Quantile(figures, 0.0), Quantile(figures, 1.0)};
}

double Now()
{
    return Read(CLOCK_MONOTONIC);
}

double ThreadTime()
{
    return Read(CLOCK_THREAD_CPUTIME_ID);
}

double ProcessTime()
{
    return Read(CLOCK_PROCESS_CPUTIME_ID);
}

std::vector<std::vector<double>> Interleave(int rounds, const std::vector<Contender>& contenders)
{
    std::vector<std::vector<double>> figures(contenders.size());
    for (int round = 0; round <= rounds; ++round) {
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            const double figure = contenders[i].measure();
            if (round > 0) {
                figures[i].push_back(figure);
            }
        }
    }
    return figures;
}

void Keep(double value)
{
    g_kept = value;
}

} // namespace Benchmarks
