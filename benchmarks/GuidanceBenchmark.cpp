// Measures what long lines take to calculate, beside the sorting of as many points: what grows like
// sorting does keeps its ratio, however many there are.
//
// usage: guidance-benchmark [--quick] RESULTS

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "benchmarks/support/Measurement.h"
#include "benchmarks/support/Results.h"
#include "simulator/world/Simulation.h"

namespace {

using Benchmarks::CResults;
using Benchmarks::Keep;
using Benchmarks::Target;
using Points = std::vector<Point>;

/// Anywhere in a square kilometre.
Points Scattered(int count)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> across(0.0, 1000.0);
    Points points;
    for (int i = 0; i < count; ++i) {
        points.push_back({across(random), across(random)});
    }
    return points;
}

/// Half a metre apart, in gentle bends.
Points Field(int count)
{
    Points points;
    for (int i = 0; i < count; ++i) {
        points.push_back({30.0 * std::sin(i / 200.0), 0.5 * i});
    }
    return points;
}

double MillisecondsOf(const std::function<void()>& work)
{
    const double start = Benchmarks::ThreadTime();
    work();
    return 1e3 * (Benchmarks::ThreadTime() - start);
}

/// Sorting as many points as the longest line is held as.
double Sort()
{
    Points points = Scattered(200000);
    return MillisecondsOf([&] {
        std::sort(points.begin(), points.end(),
                  [](const Point& a, const Point& b) { return a.x < b.x; });
        Keep(points.front().x);
    });
}

double StartBesideScattered(int count)
{
    SimulationOptions options;
    options.startPose = {{-300.0, 500.0}, 0.0};
    CSimulation world(options);
    world.SetLine(SplineLine(Scattered(count)));
    return MillisecondsOf([&] { world.StartNavigation(EFollow::NearestPass); });
}

double Headings()
{
    const CSimulation world{SimulationOptions()};
    const LineDefinition line = CurveLine(Field(20000));
    return MillisecondsOf([&] {
        for (int i = 0; i < 20; ++i) {
            Keep(world.HeadingNearest(line));
        }
    });
}

double SetCurve(int count)
{
    CSimulation world{SimulationOptions()};
    const LineDefinition line = CurveLine(Field(count));
    return MillisecondsOf([&] { world.SetLine(line); });
}

/// Does something to a long curve that is followed.
double OnLongCurve(const std::function<void(CSimulation&)>& work)
{
    CSimulation world{SimulationOptions()};
    world.SetLine(CurveLine(Field(100000)));
    world.StartNavigation(EFollow::NearestPass);
    return MillisecondsOf([&] { work(world); });
}

struct Row
{
    std::string what;
    std::function<double()> measure;
    double most; ///< times the cost of sorting
};

std::vector<Row> Rows()
{
    std::vector<Row> rows;
    for (const int count : {2000, 20000, 100000}) {
        rows.push_back({"StartNavigation 300 m beside a spline of " + std::to_string(count) +
                            " scattered points",
                        [count] { return StartBesideScattered(count); }, 20.0});
    }
    rows.push_back({"headings of 20 curves of 20 000 points", Headings, 40.0});
    rows.push_back({"an A-B curve of 20 000 points", [] { return SetCurve(20000); }, 10.0});
    rows.push_back({"an A-B curve of 100 000 points", [] { return SetCurve(100000); }, 20.0});
    rows.push_back({"a nudge of that",
                    [] { return OnLongCurve([](CSimulation& world) { world.SetNudge(0.5); }); },
                    10.0});
    rows.push_back(
        {"another filter size of that",
         [] { return OnLongCurve([](CSimulation& world) { world.SetCurveFilterSize(31); }); },
         20.0});
    rows.push_back({"a step of guidance on that",
                    [] {
                        return OnLongCurve([](CSimulation& world) {
                            for (int i = 0; i < CSimulation::kStepsPerControl; ++i) {
                                world.Step();
                            }
                        });
                    },
                    0.25});
    return rows;
}

void Measure(CResults& results)
{
    for (const Row& row : Rows()) {
        const auto figures =
            Benchmarks::Interleave(results.Rounds(), {{row.what, row.measure}, {"sorting", Sort}});
        results.Add({row.what, "ms", {Target::ESense::AtMost, row.most}}, figures[0],
                    "sorting 200 000 points", figures[1]);
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    return Benchmarks::Run(argumentCount, arguments, Measure);
}
