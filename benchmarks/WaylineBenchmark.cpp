// Measures both encodings of a wayline with many points against the bare loops that they could be,
// and the memory that encoding takes.
//
// usage: wayline-benchmark [RESULTS [ROUNDS [LARGEST]]]
//
// RESULTS is the file that the table is written to (wayline-benchmark.txt unless given): the
// readers print to standard output, which goes to /dev/null. An operation and its baselines run in
// turn within every round, so that what disturbs the machine disturbs all of them; the table has
// the medians over ROUNDS rounds. LARGEST ends the series of point counts that are timed.
//
// Ends with 1 when the list form takes more memory than it may, for any of the point counts.

#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "core/Vector3.h"
#include "platform/BElement.h"
#include "wayline/Wayline.h"

namespace {

using Core::Maths::Vector3;
using Kestrove::CABCurveWayline;
using Points = std::vector<Vector3<double>>;

constexpr int kDefaultRounds = 15;
constexpr std::size_t kPointCounts[] = {10, 1000, 100000, 1000000};
constexpr std::size_t kPointsPerMeasurement = 100000;
constexpr double kHighestBytesPerElement = 48.0;

// The bytes that `operator new` has handed out and not got back, and the most of them at a time.
std::size_t liveBytes = 0;
std::size_t peakBytes = 0;

// What the measured loops compute, so that they are not optimised away.
volatile double sink = 0.0;

/// A curve of `count` points, a metre apart and a little off the line.
Points DrivenPoints(std::size_t count)
{
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> deviation(-0.05, 0.05);
    Points points;
    points.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double east = 0.6 * static_cast<double>(i) + deviation(random);
        const double north = 0.8 * static_cast<double>(i) + deviation(random);
        points.emplace_back(east, north, 100.0 + deviation(random));
    }
    return points;
}

double ProcessorNanoseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return 1e9 * static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec);
}

/// Nanoseconds a point of `work`, which handles `count` points, repeated for a steady figure.
double NanosecondsPerPoint(std::size_t count, const std::function<void()>& work)
{
    const std::size_t repetitions = std::max<std::size_t>(1, kPointsPerMeasurement / count);
    const double start = ProcessorNanoseconds();
    for (std::size_t i = 0; i < repetitions; ++i) {
        work();
    }
    return (ProcessorNanoseconds() - start) / static_cast<double>(repetitions * count);
}

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

struct Baseline
{
    const char* name;
    std::function<void()> work;
};

class CBenchmark
{
public:
    CBenchmark(std::FILE* results, int rounds) : m_results(results), m_rounds(rounds)
    {
        std::fprintf(m_results, "%-10s %-18s %9s %10s %12s %8s\n", "operation", "baseline",
                     "points", "ns/point", "baseline ns", "ratio");
    }

    /// Writes a line a baseline: the medians of both and of their ratio.
    void Compare(const char* operation, std::size_t count, const std::function<void()>& work,
                 const std::vector<Baseline>& baselines)
    {
        std::vector<double> own;
        std::vector<std::vector<double>> theirs(baselines.size());
        std::vector<std::vector<double>> ratios(baselines.size());
        work();
        for (int round = 0; round < m_rounds; ++round) {
            own.push_back(NanosecondsPerPoint(count, work));
            for (std::size_t i = 0; i < baselines.size(); ++i) {
                theirs[i].push_back(NanosecondsPerPoint(count, baselines[i].work));
                ratios[i].push_back(own.back() / theirs[i].back());
            }
        }
        for (std::size_t i = 0; i < baselines.size(); ++i) {
            std::fprintf(m_results, "%-10s %-18s %9zu %10.2f %12.2f %8.3f\n", operation,
                         baselines[i].name, count, Median(own), Median(theirs[i]),
                         Median(ratios[i]));
        }
        std::fflush(m_results);
    }

private:
    std::FILE* m_results;
    int m_rounds;
};

void CopyPoints(const Points& points)
{
    const std::unique_ptr<unsigned char[]> copy(
        new unsigned char[points.size() * sizeof(Vector3<double>)]);
    std::memcpy(copy.get(), points.data(), points.size() * sizeof(Vector3<double>));
    sink = copy[points.size() / 2];
}

void PushBackNumbers(const Points& points)
{
    std::vector<double> numbers;
    for (const Vector3<double>& point : points) {
        numbers.push_back(point.x);
        numbers.push_back(point.y);
        numbers.push_back(point.z);
    }
    sink = numbers.back();
}

void PushBackPoints(const Points& points)
{
    Points copy;
    for (const Vector3<double>& point : points) {
        copy.push_back(point);
    }
    sink = copy.back().x;
}

/// Formats every point and keeps nothing.
void PrintPoints(const Points& points)
{
    char buffer[1024];
    int length = 0;
    for (const Vector3<double>& point : points) {
        length += std::snprintf(buffer, sizeof buffer, " %lf %lf %lf", point.x, point.y, point.z);
    }
    sink = length;
}

/// Reads every number of a text and keeps nothing.
void ScanNumbers(const std::string& text)
{
    double sum = 0.0;
    const char* place = text.c_str();
    for (char* end = nullptr;; place = end) {
        const double number = std::strtod(place, &end);
        if (end == place) {
            break;
        }
        sum += number;
    }
    sink = sum;
}

void CompareListForm(CBenchmark& benchmark, const CABCurveWayline& curve)
{
    const Points& points = curve.points;
    const std::vector<Baseline> writing = {{"memcpy", [&] { CopyPoints(points); }},
                                           {"push_back numbers", [&] { PushBackNumbers(points); }}};
    benchmark.Compare(
        "ToBList", points.size(), [&] { sink = std::unique_ptr<BListC>(curve.ToBList())->Size(); },
        writing);

    const std::unique_ptr<BListC> list(curve.ToBList());
    const std::vector<Baseline> reading = {{"memcpy", [&] { CopyPoints(points); }},
                                           {"push_back points", [&] { PushBackPoints(points); }}};
    benchmark.Compare(
        "LoadBList", points.size(),
        [&] {
            CABCurveWayline read;
            sink = read.LoadBList(list.get()) ? read.points.back().x : 0.0;
        },
        reading);
}

void CompareTextForm(CBenchmark& benchmark, const CABCurveWayline& curve)
{
    const std::size_t count = curve.points.size();
    benchmark.Compare("ToString", count,
                      [&] { sink = static_cast<double>(curve.ToString().size()); },
                      {{"snprintf", [&] { PrintPoints(curve.points); }}});

    const std::string text = curve.ToString();
    benchmark.Compare("LoadString", count,
                      [&] {
                          CABCurveWayline read;
                          sink = read.LoadString(text) ? read.points.back().x : 0.0;
                      },
                      {{"strtod", [&] { ScanNumbers(text); }}});
}

/// Writes the most memory that writing the list form takes at a time, the list itself included.
///
/// @return whether it stays within what a list element may take.
bool MeasureMemory(std::FILE* results, const CABCurveWayline& curve)
{
    const std::size_t before = liveBytes;
    peakBytes = before;
    const std::unique_ptr<BListC> list(curve.ToBList());
    const std::size_t taken = peakBytes - before;
    const double perElement = static_cast<double>(taken) / static_cast<double>(list->Size());
    std::fprintf(results, "ToBList of %zu points: peak %zu bytes, %.1f a list element\n",
                 curve.points.size(), taken, perElement);
    return perElement <= kHighestBytesPerElement;
}

} // namespace

void* operator new(std::size_t size)
{
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    liveBytes += malloc_usable_size(block);
    peakBytes = std::max(peakBytes, liveBytes);
    return block;
}

void operator delete(void* block) noexcept
{
    liveBytes -= malloc_usable_size(block);
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}

int main(int argc, char** argv)
{
    const char* path = argc > 1 ? argv[1] : "wayline-benchmark.txt";
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : kDefaultRounds;
    const std::size_t largest = argc > 3 ? std::strtoul(argv[3], nullptr, 10) : kPointCounts[3];
    std::FILE* results = std::fopen(path, "w");
    if (results == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr) {
        std::perror(path);
        return 1;
    }
    mallopt(M_MMAP_THRESHOLD, std::numeric_limits<int>::max());
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    CBenchmark benchmark(results, rounds);
    bool isFrugal = true;
    for (const std::size_t count : kPointCounts) {
        const CABCurveWayline curve(DrivenPoints(count));
        if (count <= largest) {
            CompareListForm(benchmark, curve);
            CompareTextForm(benchmark, curve);
        }
        isFrugal = MeasureMemory(results, curve) && isFrugal;
    }
    if (!isFrugal) {
        std::fprintf(stderr, "the list form takes more than %.0f bytes an element: see %s\n",
                     kHighestBytesPerElement, path);
    }
    return std::fclose(results) == 0 && isFrugal ? 0 : 1;
}
