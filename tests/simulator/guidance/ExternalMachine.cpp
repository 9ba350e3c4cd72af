#include "tests/simulator/guidance/ExternalMachine.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "simulator/machine/Machine.h"
#include "simulator/machine/RandomSource.h"

namespace {

/// The machine: the kinematic bicycle, or the linear one with tyres (Rajamani, "Vehicle Dynamics
/// and Control", 2012, section 2.3), of which the rear axle is looked at.
class CExternalMachine
{
public:
    explicit CExternalMachine(const ExternalPlan& plan)
        : m_plan(plan), m_pose(plan.start), m_steering(0.0, 0.0)
    {
    }

    void Step(double curvature)
    {
        const double command = std::atan(kWheelbase * curvature);
        m_steering.Step(command);
        const double wheel =
            (m_plan.steersAtOnce ? command : m_steering.WheelAngle()) + m_plan.centreBias;
        if (m_plan.tyres) {
            StepTyres(wheel);
            return;
        }
        m_pose = PoseAfter(m_pose, m_plan.speed, wheel, m_plan.sideSlip, kMachineStepSeconds);
        m_yawRate = m_plan.speed * std::tan(wheel) / kWheelbase;
        m_slip = m_plan.sideSlip;
    }

    const Pose& At() const { return m_pose; }
    double YawRate() const { return m_yawRate; }
    double Course() const { return m_pose.heading + m_slip; }

private:
    void StepTyres(double wheel)
    {
        constexpr double kMass = 6000.0;
        constexpr double kInertia = 9000.0;
        constexpr double kToFront = 1.7;
        constexpr double kToRear = kWheelbase - kToFront;
        constexpr double kFrontStiffness = 180000.0;
        constexpr double kRearStiffness = 300000.0;
        constexpr int kPieces = 5;
        const double speed = m_plan.speed;
        for (int piece = 0; piece < kPieces; ++piece) {
            const double seconds = kMachineStepSeconds / kPieces;
            const double front =
                kFrontStiffness * (wheel - (m_sideSpeed + kToFront * m_yawRate) / speed);
            const double rear = -kRearStiffness * (m_sideSpeed - kToRear * m_yawRate) / speed;
            const double fall = 9.81 * std::sin(m_plan.sideSlope);
            m_sideSpeed += seconds * ((front + rear) / kMass + fall - speed * m_yawRate);
            m_yawRate += seconds * (kToFront * front - kToRear * rear) / kInertia;
            m_slip = std::atan2(m_sideSpeed - kToRear * m_yawRate, speed);
            m_pose.position = Moved(m_pose.position, m_pose.heading + m_slip, speed * seconds, 0.0);
            m_pose.heading += seconds * m_yawRate;
        }
    }

    const ExternalPlan& m_plan;
    Pose m_pose;
    CSteering m_steering;
    double m_yawRate = 0.0;
    double m_sideSpeed = 0.0;
    double m_slip = 0.0;
};

/// The samples under way from the machine to guidance.
class CSampleWay
{
public:
    explicit CSampleWay(const ExternalPlan& plan)
        : m_plan(plan), m_random(plan.seed, 77), m_next(0.013 * static_cast<double>(plan.seed))
    {
    }

    /// Measures what is to be measured up to a time.
    void Measure(const CExternalMachine& machine, double time)
    {
        for (; m_next <= time; m_next += 1.0 / m_plan.samplesPerSecond) {
            const double back = m_next - time;
            FedPosition sample;
            sample.valid = true;
            const Point there =
                Moved(machine.At().position, machine.Course(), m_plan.speed * back, 0.0);
            sample.position = {there.x + m_plan.noise * m_random.Gaussian(),
                               there.y + m_plan.noise * m_random.Gaussian()};
            sample.heading =
                NormaliseHeading(machine.At().heading + machine.YawRate() * back + m_plan.yawOff);
            sample.course = NormaliseHeading(machine.Course());
            sample.speed = m_plan.speed;
            if (m_plan.knowsYawRate) {
                sample.yawRate = machine.YawRate();
            }
            sample.number = ++m_number;
            sample.time = 1.0e9 + m_next;
            const double way = m_plan.latency + m_plan.jitter * std::abs(m_random.Gaussian());
            m_underWay.push_back({sample, m_next, m_next + way});
        }
    }

    void Deliver(CSimulation& simulation, double time)
    {
        while (!m_underWay.empty() && m_underWay.front().due <= time) {
            FedPosition sample = m_underWay.front().sample;
            sample.age = m_plan.knowsAge ? time - m_underWay.front().measured : 0.0;
            simulation.Feed(sample);
            m_underWay.pop_front();
        }
    }

private:
    struct UnderWay
    {
        FedPosition sample;
        double measured;
        double due;
    };

    const ExternalPlan& m_plan;
    CRandomSource m_random;
    std::deque<UnderWay> m_underWay;
    double m_next;
    int m_number = 0;
};

ExternalDrive Judged(std::vector<double> errors)
{
    ExternalDrive drive;
    if (errors.empty()) {
        return drive;
    }
    for (double& error : errors) {
        drive.standingError += error / static_cast<double>(errors.size());
        error = std::abs(error);
    }
    const auto rank = static_cast<std::ptrdiff_t>(0.95 * static_cast<double>(errors.size() - 1));
    std::nth_element(errors.begin(), errors.begin() + rank, errors.end());
    drive.error95 = errors[static_cast<std::size_t>(rank)];
    return drive;
}

} // namespace

ExternalDrive DrivenOutside(const ExternalPlan& plan)
{
    constexpr double kHandDriven = 2.0;
    CSimulation simulation(SimulationOptions{});
    simulation.SetImplementWidth(24.0);
    CExternalMachine machine(plan);
    CSampleWay way(plan);
    std::vector<double> errors;
    bool engaged = false;
    while (simulation.Time() < plan.seconds && (!engaged || simulation.Engaged())) {
        machine.Step(simulation.Engaged() ? simulation.Status().commandedCurvature : 0.0);
        simulation.Step();
        way.Measure(machine, simulation.Time());
        way.Deliver(simulation, simulation.Time());
        if (!engaged && simulation.Time() > kHandDriven) {
            simulation.SetLine(plan.line);
            simulation.StartNavigation(EFollow::LineItself);
            engaged = static_cast<bool>(simulation.Engage());
        }
        if (simulation.Time() >= plan.fromSecond && simulation.Engaged()) {
            const LineLayout layout = simulation.Layout();
            errors.push_back(
                layout.followed->ProjectNear(machine.At().position, layout.station).crossTrack);
        }
    }
    ExternalDrive drive = Judged(std::move(errors));
    drive.engagedToTheEnd = simulation.Engaged();
    return drive;
}
