// Prints the table of a harder world in docs/simulator.md: the mean of the seeds 1 to 20.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>

#include "tests/simulator/guidance/Drives.h"

namespace {

constexpr std::uint64_t kSeeds = 20;

using Change = std::function<void(SimulationOptions&)>;

/// The mean of the 95 % errors at 2.5 m/s on firm ground, centimetres; negative where steering was
/// dropped.
double Error95(const Change& change)
{
    double sum = 0.0;
    for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
        DrivePlan plan = StraightDrive(seed, 2.5, EGround::Firm);
        change(plan.options);
        const CDrive drive = Driven(plan);
        if (!drive.engagedToTheEnd) {
            return -1.0;
        }
        sum += 100.0 * drive.Error95();
    }
    return sum / static_cast<double>(kSeeds);
}

/// The mean and the worst of the greatest errors in so long a time without positions, centimetres.
void PrintOutage(const char* what, double seconds, EGround ground)
{
    double sum = 0.0;
    double worst = 0.0;
    for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
        const auto simulation = Engaged(StraightDrive(seed, 2.5, ground));
        Advance(*simulation, 30.0);
        WorldConditions conditions = simulation->Conditions();
        conditions.reception.isCovered = true;
        simulation->SetConditions(conditions);
        double greatest = 0.0;
        for (double time = 0.0; time < seconds; time += CSimulation::kStepSeconds) {
            simulation->Step();
            greatest = std::max(greatest, 100.0 * std::abs(simulation->TrueCrossTrackError()));
        }
        sum += greatest / static_cast<double>(kSeeds);
        worst = std::max(worst, greatest);
    }
    std::printf("| %s: greatest error | | %.1f cm, worst seed %.1f cm | steered on |\n", what, sum,
                worst);
}

void PrintCompensated(const char* what, const Change& change)
{
    const Change without = [&change](SimulationOptions& options) {
        change(options);
        options.mounting.compensatesLean = false;
    };
    std::printf("| %s: 95 %% | %.1f cm | %.1f cm | 1 cm more than flat |\n", what, Error95(without),
                Error95(change));
}

void Print(const char* what, const Change& change)
{
    std::printf("| %s: 95 %% | %.1f cm | | |\n", what, Error95(change));
}

void PrintReceivers()
{
    for (const int rate : {1, 2, 5}) {
        std::printf("| receiver at %d Hz: 95 %% | | %.1f cm | |\n", rate,
                    Error95([rate](SimulationOptions& o) { o.mounting.rate = rate; }));
    }
    Print("latency of 0.2 s", [](SimulationOptions& o) { o.mounting.latency = 2; });
    Print("latency of 0.5 s", [](SimulationOptions& o) { o.mounting.latency = 5; });
    Print("fix that floats",
          [](SimulationOptions& o) { o.conditions.reception.bestFix = EFix::Float; });
    Print("trees in a row beside the line", [](SimulationOptions& o) { o.treeLine = 5.0; });
}

void PrintValves()
{
    for (const double degrees : {0.25, 0.5, 1.0}) {
        char what[60];
        std::snprintf(what, sizeof what, "deadband of %.2f degrees", degrees);
        Print(what,
              [degrees](SimulationOptions& o) { o.conditions.valve.deadband = Radians(degrees); });
    }
    Print("10 degrees/s to the left, 20 to the right",
          [](SimulationOptions& o) { o.conditions.valve.rateLeft = Radians(10.0); });
}

void PrintTyres()
{
    for (const double speed : {5.0, 8.0, 10.0, 12.0}) {
        const auto rolling = [speed](bool hasTyres) {
            return Error95([speed, hasTyres](SimulationOptions& o) {
                o.speed = speed;
                o.hasTyres = hasTyres;
            });
        };
        std::printf("| dynamic tyres, %.0f m/s: 95 %% | %.1f cm (rigid %.1f cm) | | 6 cm |\n",
                    speed, rolling(true), rolling(false));
    }
}

} // namespace

int main()
{
    std::printf("| effect | without compensation | with it | goal |\n|---|---|---|---|\n");
    std::printf("| none: 95 %% | | %.1f cm | 2.8 cm, worst |\n",
                Error95([](SimulationOptions&) {}));
    for (const double degrees : {1.5, 8.0}) {
        char what[40];
        std::snprintf(what, sizeof what, "slope of %.1f degrees", degrees);
        PrintCompensated(what, [degrees](SimulationOptions& o) {
            o.terrain = {ETerrain::Slope, Radians(degrees)};
        });
    }
    PrintCompensated("rolling ground",
                     [](SimulationOptions& o) { o.terrain.kind = ETerrain::Rolling; });
    PrintReceivers();
    PrintValves();
    PrintTyres();
    PrintOutage("5 s without positions, firm", 5.0, EGround::Firm);
    PrintOutage("5 s without positions, field", 5.0, EGround::Field);
    return 0;
}
