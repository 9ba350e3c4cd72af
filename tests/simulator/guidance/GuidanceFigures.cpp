// Prints the figures of docs/simulator.md: the worst (and the mean) of the seeds 1 to 20.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <vector>

#include "tests/simulator/guidance/Drives.h"

namespace {

constexpr std::uint64_t kSeeds = 20;

using Figure = std::function<double(const CDrive&)>;

/// A figure of the drives of all seeds.
void Print(const char* what, const char* unit, double scale, const std::vector<CDrive>& drives,
           const Figure& figure)
{
    double worst = 0.0;
    double sum = 0.0;
    bool dropped = false;
    for (const CDrive& drive : drives) {
        const double value = scale * std::abs(figure(drive));
        worst = std::max(worst, value);
        sum += value;
        dropped = dropped || !drive.engagedToTheEnd;
    }
    std::printf("| %s | %.2f %s | %.2f %s |%s\n", what, worst, unit,
                sum / static_cast<double>(drives.size()), unit, dropped ? " (dropped)" : "");
}

std::vector<CDrive> OfAllSeeds(const std::function<CDrive(std::uint64_t)>& drive)
{
    std::vector<CDrive> drives;
    for (std::uint64_t seed = 1; seed <= kSeeds; ++seed)
        drives.push_back(drive(seed));
    return drives;
}

double Error95(const CDrive& drive)
{
    return drive.Error95();
}
double MeanError(const CDrive& drive)
{
    return drive.MeanError();
}
double Settled(const CDrive& drive)
{
    return drive.WayToSettle(0.05);
}
double Overshoot(const CDrive& drive)
{
    return drive.Overshoot();
}

void PrintStraight(EGround ground, const char* name)
{
    for (const double speed : {1.0, 2.5, 5.0}) {
        const auto drives = OfAllSeeds(
            [&](std::uint64_t seed) { return Driven(StraightDrive(seed, speed, ground)); });
        char what[80];
        std::snprintf(what, sizeof what, "straight, %s, %.1f m/s: 95 %%", name, speed);
        Print(what, "cm", 100.0, drives, Error95);
        std::snprintf(what, sizeof what, "straight, %s, %.1f m/s: mean", name, speed);
        Print(what, "cm", 100.0, drives, MeanError);
    }
}

void PrintAcquisition()
{
    const auto beside = OfAllSeeds(
        [](std::uint64_t seed) { return Driven(AcquisitionDrive(seed, 2.5, 1.0, 0.0)); });
    Print("1 m beside: way until within 5 cm", "m", 1.0, beside, Settled);
    Print("1 m beside: overshoot", "cm", 100.0, beside, Overshoot);
    for (const double degrees : {45.0, -45.0}) {
        const auto off = OfAllSeeds(
            [&](std::uint64_t seed) { return Driven(AcquisitionDrive(seed, 2.5, 3.0, degrees)); });
        std::printf("3 m beside, %.0f degrees off:\n", degrees);
        Print("way until within 5 cm", "m", 1.0, off, Settled);
        Print("overshoot", "cm", 100.0, off, Overshoot);
        Print("greatest heading", "degrees", 1.0, off,
              [](const CDrive& drive) { return Degrees(drive.GreatestHeadingError()); });
    }
    const auto nudged = OfAllSeeds(NudgedDrive);
    Print("nudge of 0.5 m: way until within 5 cm", "m", 1.0, nudged, Settled);
    Print("nudge of 0.5 m: overshoot", "cm", 100.0, nudged, Overshoot);
}

void PrintBends()
{
    for (const bool clockwise : {true, false})
        Print(clockwise ? "circle of 20 m, clockwise: 95 %" : "circle of 20 m, the other way: 95 %",
              "cm", 100.0,
              OfAllSeeds([&](std::uint64_t seed) { return Driven(CircleDrive(seed, clockwise)); }),
              Error95);
    for (const ELineKind kind : {ELineKind::Curve, ELineKind::Spline})
        Print(kind == ELineKind::Curve ? "A-B curve: 95 %" : "spline: 95 %", "cm", 100.0,
              OfAllSeeds([&](std::uint64_t seed) { return Driven(BendsDrive(seed, kind)); }),
              Error95);
    for (const EReceiver receiver : {EReceiver::Rtk, EReceiver::Ideal})
        Print(receiver == EReceiver::Rtk ? "centre bias of 1 degree, rtk: standing error after 60 m"
                                         : "the same, ideal receiver",
              "cm", 100.0,
              OfAllSeeds([&](std::uint64_t seed) { return Driven(BiasedDrive(seed, receiver)); }),
              [](const CDrive& drive) { return drive.StandingError(60.0); });
}

void PrintTuning(const char* name, ETuning parameter)
{
    const TuningLimits limits = CTuning().Limits(parameter);
    for (const double value : {limits.lowest, limits.start, limits.highest}) {
        std::printf("%s %.1f:", name, value);
        for (const double speed : {2.5, 5.0}) {
            DrivePlan plan = AcquisitionDrive(1, speed, 3.0, 0.0);
            plan.prepare = [&](CSimulation& simulation) {
                simulation.Tuning().Set(parameter, value);
            };
            const CDrive drive = Driven(plan);
            std::printf("  at %.1f m/s settled after %.1f m, overshoot %.1f cm;", speed,
                        drive.WayToSettle(0.05), 100.0 * drive.Overshoot());
        }
        std::printf("\n");
    }
}

} // namespace

int main()
{
    std::printf("| case | worst seed | mean of the seeds |\n|---|---|---|\n");
    PrintStraight(EGround::Firm, "firm");
    PrintStraight(EGround::Field, "field");
    PrintAcquisition();
    PrintBends();
    PrintTuning("sensitivity", ETuning::Sensitivity);
    PrintTuning("aggressiveness", ETuning::Aggressiveness);
    PrintTuning("overshoot", ETuning::Overshoot);
    PrintTuning("speed adjustment", ETuning::SpeedAdjust);
    return 0;
}
