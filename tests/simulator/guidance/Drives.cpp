#include "tests/simulator/guidance/Drives.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "simulator/world/DriveFigures.h"

namespace {

std::vector<double> ErrorsFrom(const std::vector<DriveSample>& samples, double fromWay,
                               double DriveSample::*error = &DriveSample::crossTrack)
{
    std::vector<double> errors;
    for (const DriveSample& sample : samples) {
        if (sample.way >= fromWay) {
            errors.push_back(sample.*error);
        }
    }
    return errors;
}

/// Adds points of an arc, `turn` radians to the right, to a path that ends at `pose`.
void AddArc(std::vector<Point>& points, Pose& pose, double radius, double turn, double spacing)
{
    const double length = radius * std::abs(turn);
    const int pieces = std::max(1, static_cast<int>(std::lround(length / spacing)));
    const double half = turn / pieces / 2.0;
    const double chord = 2.0 * radius * std::sin(std::abs(half));
    for (int i = 0; i < pieces; ++i) {
        pose.position = Moved(pose.position, pose.heading + half, chord, 0.0);
        pose.heading += 2.0 * half;
        points.push_back(pose.position);
    }
}

void AddStraight(std::vector<Point>& points, Pose& pose, double length, double spacing)
{
    for (int i = 0; i < static_cast<int>(length / spacing); ++i) {
        pose.position = Moved(pose.position, pose.heading, spacing, 0.0);
        points.push_back(pose.position);
    }
}

} // namespace

double CDrive::Error95(double fromWay) const
{
    return ::Error95(ErrorsFrom(samples, fromWay));
}

double CDrive::ImplementError95(double fromWay) const
{
    return ::Error95(ErrorsFrom(samples, fromWay, &DriveSample::implement));
}

double CDrive::MeanError(double fromWay) const
{
    return ::MeanError(ErrorsFrom(samples, fromWay));
}

double CDrive::StandingError(double fromWay) const
{
    const std::vector<double> errors = ErrorsFrom(samples, fromWay);
    return errors.empty() ? NAN
                          : std::accumulate(errors.begin(), errors.end(), 0.0) /
                                static_cast<double>(errors.size());
}

double CDrive::WayToSettle(double band) const
{
    std::vector<double> ways;
    for (const DriveSample& sample : samples) {
        ways.push_back(sample.way);
    }
    return ::WayToSettle(ways, ErrorsFrom(samples, 0.0), band);
}

double CDrive::Overshoot() const
{
    return ::Overshoot(ErrorsFrom(samples, 0.0));
}

double CDrive::GreatestHeadingError() const
{
    double greatest = 0.0;
    for (const DriveSample& sample : samples) {
        greatest = std::max(greatest, std::abs(sample.headingError));
    }
    return greatest;
}

int CDrive::Crossings(double band) const
{
    int crossings = 0;
    double side = 0.0;
    for (const DriveSample& sample : samples) {
        if (std::abs(sample.crossTrack) <= band) {
            continue;
        }
        crossings += side * sample.crossTrack < 0.0 ? 1 : 0;
        side = sample.crossTrack;
    }
    return crossings;
}

CDrive DrivenOn(CSimulation& simulation, double seconds)
{
    CDrive drive;
    const double end = simulation.Time() + seconds;
    double way = 0.0;
    double squares = 0.0;
    double steps = 0.0;
    while (simulation.Time() < end && simulation.Engaged()) {
        const double angle = simulation.SteeringAngle();
        simulation.Step();
        const double rate = (simulation.SteeringAngle() - angle) / CSimulation::kStepSeconds;
        squares += rate * rate;
        steps += 1.0;
        way += std::abs(simulation.Speed()) * CSimulation::kStepSeconds;
        if (!simulation.ControlRan() || !simulation.Engaged()) {
            continue;
        }
        const double noise =
            NormaliseTurn(simulation.EstimatedPose().heading - simulation.TruePose().heading);
        drive.samples.push_back(
            {way, simulation.TrueCrossTrackError(), simulation.Status().headingError - noise,
             simulation.TrueImplementCrossTrackError(), simulation.ReceiverDriftError()});
    }
    drive.engagedToTheEnd = simulation.Engaged();
    drive.steeringRate = std::sqrt(squares / std::max(steps, 1.0));
    return drive;
}

std::unique_ptr<CSimulation> Engaged(const DrivePlan& plan)
{
    auto simulation = std::make_unique<CSimulation>(plan.options);
    simulation->SetImplementWidth(plan.implementWidth);
    if (plan.prepare) {
        plan.prepare(*simulation);
    }
    while (simulation->Time() < plan.leadSeconds) {
        simulation->Step();
    }
    simulation->SetLine(plan.line);
    simulation->StartNavigation(EFollow::LineItself);
    simulation->Engage();
    return simulation;
}

CDrive Driven(const DrivePlan& plan)
{
    const std::unique_ptr<CSimulation> simulation = Engaged(plan);
    return DrivenOn(*simulation, plan.seconds);
}

DrivePlan StraightDrive(std::uint64_t seed, double speed, EGround ground)
{
    DrivePlan plan;
    plan.options.seed = seed;
    plan.options.speed = speed;
    plan.options.ground = ground;
    plan.seconds = 600.0;
    return plan;
}

DrivePlan AcquisitionDrive(std::uint64_t seed, double speed, double offset, double degreesOff)
{
    DrivePlan plan;
    plan.options.seed = seed;
    plan.options.speed = speed;
    const Pose start{{offset, 0.0}, NormaliseHeading(Radians(degreesOff))};
    // The lead ends at the wanted place.
    plan.options.startPose = {Moved(start.position, start.heading, -speed * plan.leadSeconds, 0.0),
                              start.heading};
    plan.implementWidth = 24.0;
    plan.seconds = 100.0 / speed;
    return plan;
}

DrivePlan CircleDrive(std::uint64_t seed, bool clockwise)
{
    constexpr double kRadius = 20.0;
    const double side = clockwise ? 1.0 : -1.0;
    DrivePlan plan;
    plan.options.seed = seed;
    plan.options.speed = 2.5;
    plan.options.startPose.position = {0.0, -2.5 * plan.leadSeconds};
    plan.line = CircleLine({0.0, 0.0}, {side * kRadius, kRadius}, {side * 2.0 * kRadius, 0.0});
    plan.seconds = 5.0 * 2.0 * kPi * kRadius / 2.5;
    return plan;
}

std::vector<Point> BendsPoints(double spacing)
{
    Pose pose;
    std::vector<Point> points{pose.position};
    AddStraight(points, pose, 30.0, spacing);
    AddArc(points, pose, 40.0, Radians(60.0), spacing);
    AddArc(points, pose, 25.0, Radians(-120.0), spacing);
    AddStraight(points, pose, 20.0, spacing);
    AddArc(points, pose, 15.0, Radians(180.0), spacing);
    AddStraight(points, pose, 30.0, spacing);
    AddArc(points, pose, 15.0, Radians(-90.0), spacing);
    AddStraight(points, pose, 20.0, spacing);
    return points;
}

DrivePlan BendsDrive(std::uint64_t seed, ELineKind kind)
{
    DrivePlan plan;
    plan.options.seed = seed;
    plan.options.speed = 2.0;
    plan.line = {kind, BendsPoints(kind == ELineKind::Spline ? 5.0 : 1.0), 0.0};
    plan.seconds = 128.0;
    return plan;
}

DrivePlan BiasedDrive(std::uint64_t seed, EReceiver receiver)
{
    DrivePlan plan = StraightDrive(seed, 2.5, EGround::Firm);
    plan.options.receiver = receiver;
    plan.options.centreBias = Radians(1.0);
    plan.leadSeconds = 0.0;
    return plan;
}

CDrive NudgedDrive(std::uint64_t seed)
{
    DrivePlan plan = StraightDrive(seed, 2.5, EGround::Firm);
    const std::unique_ptr<CSimulation> simulation = Engaged(plan);
    DrivenOn(*simulation, 20.0);
    simulation->SetNudge(0.5);
    return DrivenOn(*simulation, 40.0);
}

void Advance(CSimulation& simulation, double seconds)
{
    const double end = simulation.Time() + seconds;
    while (simulation.Time() < end) {
        simulation.Step();
    }
}
