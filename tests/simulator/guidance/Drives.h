#ifndef KESTROVE_TESTS_SIMULATOR_GUIDANCE_DRIVES_H
#define KESTROVE_TESTS_SIMULATOR_GUIDANCE_DRIVES_H

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "simulator/world/Simulation.h"

/// The drives that the guidance is judged by. Each runs on the simulation's clock alone.
/// The tests hold their figures against the limits, and the figures program prints them.

/// A moment of a drive, taken each time that guidance ran while steering was engaged.
struct DriveSample
{
    double way = 0.0;          ///< metres driven since steering was engaged
    double crossTrack = 0.0;   ///< metres, true
    double headingError = 0.0; ///< radians, true
    double implement = 0.0;    ///< the cross-track error of the implement, metres, true
    double drift = 0.0;        ///< what the receiver's drift has of both
};

/// What came of a drive.
class CDrive
{
public:
    std::vector<DriveSample> samples;
    bool engagedToTheEnd = false;
    double steeringRate =
        0.0; ///< root mean square of how fast the steering moved, radians a second

    /// The cross-track error that 95 % of the samples from `fromWay` on do not exceed, metres.
    double Error95(double fromWay = 0.0) const;
    /// The same of the implement.
    double ImplementError95(double fromWay = 0.0) const;
    /// The mean of the cross-track error without sign, metres.
    double MeanError(double fromWay = 0.0) const;
    /// The mean of the cross-track error with its sign, metres.
    double StandingError(double fromWay) const;
    /// The way after which the cross-track error never again exceeds `band`, metres.
    double WayToSettle(double band) const;
    /// How far the machine came past the line, seen from where it started, metres.
    double Overshoot() const;
    /// The greatest heading error without sign, radians.
    double GreatestHeadingError() const;
    /// How often the machine went from one side of the line to the other, more than `band` off.
    int Crossings(double band) const;
};

/// What a drive is like. Lines run north from the origin unless the drive is given one.
struct DrivePlan
{
    SimulationOptions options;
    LineDefinition line = StraightLine({0.0, 0.0}, {0.0, 1000.0});
    double implementWidth = 3.0;
    double leadSeconds = 3.0;                  ///< driven by hand before steering is engaged
    double seconds = 60.0;                     ///< steered
    std::function<void(CSimulation&)> prepare; ///< before navigation starts; may be empty
};

/// Drives by hand, engages, and steers to the end of the time. Without samples when engaging is
/// refused; ends early when steering is dropped.
CDrive Driven(const DrivePlan& plan);
/// The same for a simulation that is engaged already.
CDrive DrivenOn(CSimulation& simulation, double seconds);

/// A simulation that is steered along the plan's line after the lead; refused engaging shows in
/// CSimulation::Engaged().
std::unique_ptr<CSimulation> Engaged(const DrivePlan& plan);

/// On the line for ten minutes.
DrivePlan StraightDrive(std::uint64_t seed, double speed, EGround ground);
/// From `offset` metres right of the line and `degreesOff` clockwise off its heading, engaged there
/// at once.
DrivePlan AcquisitionDrive(std::uint64_t seed, double speed, double offset, double degreesOff);
/// Five times round a circle of 20 m radius at 2.5 m/s.
DrivePlan CircleDrive(std::uint64_t seed, bool clockwise);
/// Along bends of 40 m, 25 m and 15 m radius at 2 m/s; `kind` is Spline or Curve.
DrivePlan BendsDrive(std::uint64_t seed, ELineKind kind);
/// On the line with the steering centre 1 degree wrong, ten minutes at 2.5 m/s.
DrivePlan BiasedDrive(std::uint64_t seed, EReceiver receiver);
/// What follows a nudge of 0.5 m, settled on the line before, at 2.5 m/s.
CDrive NudgedDrive(std::uint64_t seed);

/// The points of a field boundary with bends of 40 m, 25 m and 15 m radius, starting northward at
/// the origin, `spacing` metres apart.
std::vector<Point> BendsPoints(double spacing);

/// Lets a simulation run on for `seconds` of its clock.
void Advance(CSimulation& simulation, double seconds);

#endif
