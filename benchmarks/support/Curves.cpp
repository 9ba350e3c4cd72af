#include "benchmarks/support/Curves.h"

#include <algorithm>
#include <limits>
#include <random>

#include <malloc.h>

#include "benchmarks/support/Measurement.h"

namespace Benchmarks {

namespace {

constexpr std::size_t kPointsAMeasurement = 100000;
constexpr double kNanoseconds = 1e9;

} // namespace

Points DrivenPoints(std::size_t count, double height)
{
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> deviation(-0.05, 0.05);
    Points points;
    points.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double east = 0.6 * static_cast<double>(i) + deviation(random);
        const double north = 0.8 * static_cast<double>(i) + deviation(random);
        points.emplace_back(east, north, height + deviation(random));
    }
    return points;
}

std::vector<std::size_t> PointCounts(bool isQuick)
{
    return isQuick ? std::vector<std::size_t>{1000}
                   : std::vector<std::size_t>{1000, 10000, 100000, 1000000};
}

double NanosecondsAPoint(std::size_t count, const std::function<void()>& work)
{
    const std::size_t repetitions = std::max<std::size_t>(1, kPointsAMeasurement / count);
    const double start = ThreadTime();
    for (std::size_t i = 0; i < repetitions; ++i) {
        work();
    }
    return kNanoseconds * (ThreadTime() - start) / static_cast<double>(repetitions * count);
}

void KeepFreedMemory()
{
    mallopt(M_MMAP_THRESHOLD, std::numeric_limits<int>::max());
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
}

} // namespace Benchmarks
