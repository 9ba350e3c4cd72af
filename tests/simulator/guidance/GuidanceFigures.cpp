// Prints the figures of docs/simulator.md: of the seeds 1 to 20.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "tests/simulator/guidance/Drives.h"

namespace {

constexpr std::uint64_t kSeeds = 20;

using Figure = std::function<double(const CDrive&)>;

/// A row of the table: a figure of the drives of all seeds.
void Print(const std::string& what, const char* unit, double scale,
           const std::vector<CDrive>& drives, const Figure& figure)
{
    double least = HUGE_VAL;
    double worst = 0.0;
    double sum = 0.0;
    bool dropped = false;
    for (const CDrive& drive : drives) {
        const double value = scale * std::abs(figure(drive));
        least = std::min(least, value);
        worst = std::max(worst, value);
        sum += value;
        dropped = dropped || !drive.engagedToTheEnd;
    }
    std::printf("| %s | %.2f %s | %.2f %s | %.2f %s |%s\n", what.c_str(), least, unit,
                sum / static_cast<double>(drives.size()), unit, worst, unit,
                dropped ? " steering was dropped" : "");
}

std::vector<CDrive> OfAllSeeds(const std::function<CDrive(std::uint64_t)>& drive)
{
    std::vector<CDrive> drives;
    for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
        drives.push_back(drive(seed));
    }
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

void PrintStraight(EGround ground, const std::string& name)
{
    for (const double speed : {1.0, 2.5, 5.0}) {
        const auto drives = OfAllSeeds(
            [&](std::uint64_t seed) { return Driven(StraightDrive(seed, speed, ground)); });
        char metresPerSecond[16];
        std::snprintf(metresPerSecond, sizeof metresPerSecond, "%.1f m/s", speed);
        const std::string what = "straight, " + name + ", " + metresPerSecond;
        Print(what + ": 95 %", "cm", 100.0, drives, Error95);
        Print(what + ": mean", "cm", 100.0, drives, MeanError);
    }
}

double ImplementError95(const CDrive& drive)
{
    return drive.ImplementError95(20.0);
}
double SteeringRate(const CDrive& drive)
{
    return Degrees(drive.steeringRate);
}
/// What guidance has of the implement's error, without the receiver's drift.
double GuidanceError95(const CDrive& drive)
{
    CDrive guidance = drive;
    for (DriveSample& sample : guidance.samples) {
        sample.implement -= sample.drift;
    }
    return guidance.ImplementError95(20.0);
}

/// A drive with the machine guided, then with the implement.
void PrintImplement(const std::string& what, const std::function<DrivePlan(std::uint64_t)>& plan)
{
    for (const EGuide guide : {EGuide::Machine, EGuide::Implement}) {
        const auto drives = OfAllSeeds([&](std::uint64_t seed) {
            DrivePlan guided = plan(seed);
            guided.options.guide = guide;
            return Driven(guided);
        });
        const std::string name =
            what + (guide == EGuide::Machine ? ", machine guided" : ", implement guided");
        Print(name + ": implement, 95 %", "cm", 100.0, drives, ImplementError95);
        Print(name + ": implement, guidance's part, 95 %", "cm", 100.0, drives, GuidanceError95);
    }
}

void PrintImplements()
{
    for (const double speed : {1.0, 2.5, 5.0}) {
        char name[40];
        std::snprintf(name, sizeof name, "straight, field, %.1f m/s", speed);
        PrintImplement(name, [speed](std::uint64_t seed) {
            return StraightDrive(seed, speed, EGround::Field);
        });
    }
    PrintImplement("circle of 20 m", [](std::uint64_t seed) { return CircleDrive(seed, true); });
    PrintImplement("spline",
                   [](std::uint64_t seed) { return BendsDrive(seed, ELineKind::Spline); });
    PrintImplement("circle of 20 m, trailed 1 m and 4 m", [](std::uint64_t seed) {
        DrivePlan plan = CircleDrive(seed, true);
        plan.options.implement = {1.0, 4.0};
        return plan;
    });
    PrintImplement("spline, trailed 1 m and 4 m", [](std::uint64_t seed) {
        DrivePlan plan = BendsDrive(seed, ELineKind::Spline);
        plan.options.implement = {1.0, 4.0};
        return plan;
    });
    for (const double speed : {1.0, 2.5, 5.0}) {
        const auto drives = OfAllSeeds(
            [&](std::uint64_t seed) { return Driven(StraightDrive(seed, speed, EGround::Firm)); });
        char name[64];
        std::snprintf(name, sizeof name, "straight, firm, %.1f m/s: steering, RMS", speed);
        Print(name, "degrees/s", 1.0, drives, SteeringRate);
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
        const std::string what = std::string("3 m beside, 45 degrees ") +
                                 (degrees > 0.0 ? "away from the line" : "towards the line");
        Print(what + ": way until within 5 cm", "m", 1.0, off, Settled);
        Print(what + ": overshoot", "cm", 100.0, off, Overshoot);
        Print(what + ": greatest heading error", "degrees", 1.0, off,
              [](const CDrive& drive) { return Degrees(drive.GreatestHeadingError()); });
    }
    const auto nudged = OfAllSeeds(NudgedDrive);
    Print("nudge of 0.5 m: way until within 5 cm", "m", 1.0, nudged, Settled);
    Print("nudge of 0.5 m: overshoot", "cm", 100.0, nudged, Overshoot);
}

void PrintBends()
{
    for (const bool clockwise : {true, false}) {
        Print(clockwise ? "circle of 20 m, clockwise: 95 %" : "circle of 20 m, the other way: 95 %",
              "cm", 100.0,
              OfAllSeeds([&](std::uint64_t seed) { return Driven(CircleDrive(seed, clockwise)); }),
              Error95);
    }
    for (const ELineKind kind : {ELineKind::Curve, ELineKind::Spline}) {
        Print(kind == ELineKind::Curve ? "A-B curve: 95 %" : "spline: 95 %", "cm", 100.0,
              OfAllSeeds([&](std::uint64_t seed) { return Driven(BendsDrive(seed, kind)); }),
              Error95);
    }
    for (const EReceiver receiver : {EReceiver::Rtk, EReceiver::Ideal}) {
        Print(receiver == EReceiver::Rtk ? "centre bias of 1 degree, rtk: standing error after 60 m"
                                         : "the same, ideal receiver",
              "cm", 100.0,
              OfAllSeeds([&](std::uint64_t seed) { return Driven(BiasedDrive(seed, receiver)); }),
              [](const CDrive& drive) { return drive.StandingError(60.0); });
    }
}

/// What no limit is set for.
void PrintOthers()
{
    for (const EReceiver receiver : {EReceiver::Ideal, EReceiver::Sbas}) {
        Print(receiver == EReceiver::Ideal ? "straight, firm, 2.5 m/s, ideal: 95 %"
                                           : "straight, firm, 2.5 m/s, sbas: 95 %",
              "cm", 100.0, OfAllSeeds([&](std::uint64_t seed) {
                  DrivePlan plan = StraightDrive(seed, 2.5, EGround::Firm);
                  plan.options.receiver = receiver;
                  return Driven(plan);
              }),
              Error95);
    }
    Print("straight, firm, 2.5 m/s, play of 1 degree: 95 %", "cm", 100.0,
          OfAllSeeds([&](std::uint64_t seed) {
              DrivePlan plan = StraightDrive(seed, 2.5, EGround::Firm);
              plan.options.backlash = Radians(1.0);
              return Driven(plan);
          }),
          Error95);
}

/// Rows of the second table: one parameter at its lowest, start and highest value.
void PrintTuning(const char* name, ETuning parameter)
{
    const TuningLimits limits = CTuning().Limits(parameter);
    for (const double value : {limits.lowest, limits.start, limits.highest}) {
        std::printf("| %s | %.1f |", name, value);
        for (const double speed : {2.5, 5.0}) {
            DrivePlan plan = AcquisitionDrive(1, speed, 3.0, 0.0);
            plan.prepare = [&](CSimulation& simulation) {
                simulation.Tuning().Set(parameter, value);
            };
            const CDrive drive = Driven(plan);
            const double way = drive.WayToSettle(0.05);
            // A drive is 100 m long.
            if (way > 99.0) {
                std::printf(" never |");
            } else {
                std::printf(" %.1f m |", way);
            }
            std::printf(" %.1f cm | %d |", 100.0 * drive.Overshoot(), drive.Crossings(0.05));
        }
        std::printf("\n");
    }
}

} // namespace

int main()
{
    std::printf("| case | best seed | mean of the seeds | worst seed |\n|---|---|---|---|\n");
    PrintStraight(EGround::Firm, "firm");
    PrintStraight(EGround::Field, "field");
    PrintAcquisition();
    PrintBends();
    PrintOthers();
    PrintImplements();
    std::printf("\n| parameter | value | within 5 cm after, 2.5 m/s | overshoot | crossings "
                "| within 5 cm after, 5 m/s | overshoot | crossings |\n"
                "|---|---|---|---|---|---|---|---|\n");
    PrintTuning("sensitivity", ETuning::Sensitivity);
    PrintTuning("aggressiveness", ETuning::Aggressiveness);
    PrintTuning("overshoot", ETuning::Overshoot);
    PrintTuning("speed adjustment", ETuning::SpeedAdjust);
    return 0;
}
