#include "simulator/world/DriveFigures.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

double Error95(std::vector<double> errors)
{
    if (errors.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    for (double& error : errors) {
        error = std::abs(error);
    }
    const auto rank = static_cast<std::ptrdiff_t>(0.95 * static_cast<double>(errors.size() - 1));
    std::nth_element(errors.begin(), errors.begin() + rank, errors.end());
    return errors[static_cast<std::size_t>(rank)];
}

double MeanError(const std::vector<double>& errors)
{
    double sum = 0.0;
    for (const double error : errors) {
        sum += std::abs(error);
    }
    return errors.empty() ? std::numeric_limits<double>::quiet_NaN()
                          : sum / static_cast<double>(errors.size());
}

double WayToSettle(const std::vector<double>& ways, const std::vector<double>& errors, double band)
{
    double way = 0.0;
    for (std::size_t i = 0; i < errors.size(); ++i) {
        if (std::abs(errors[i]) > band) {
            way = ways[i];
        }
    }
    return way;
}

double Overshoot(const std::vector<double>& errors)
{
    double past = 0.0;
    for (const double error : errors) {
        past = std::max(past, errors.front() > 0.0 ? -error : error);
    }
    return past;
}
