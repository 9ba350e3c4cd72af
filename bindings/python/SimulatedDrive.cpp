#include "bindings/python/SimulatedDrive.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "simulator/world/DriveFigures.h"

namespace Kestrove::Python {
namespace {

// The places in a row of what the figures are made of.
constexpr std::size_t kWay = 1;
constexpr std::size_t kEngaged = 2;
constexpr std::size_t kCrossTrack = 3;
constexpr std::size_t kImplementCrossTrack = 4;

} // namespace

const std::vector<std::string>& CSimulatedDrive::Columns()
{
    static const std::vector<std::string> columns{"time",
                                                  "way",
                                                  "engaged",
                                                  "cross_track_error",
                                                  "implement_cross_track_error",
                                                  "true_x",
                                                  "true_y",
                                                  "true_heading",
                                                  "measured_x",
                                                  "measured_y",
                                                  "measured_heading",
                                                  "estimated_x",
                                                  "estimated_y",
                                                  "estimated_heading",
                                                  "implement_x",
                                                  "implement_y",
                                                  "speed",
                                                  "steering_angle",
                                                  "steering_command",
                                                  "pass_number",
                                                  "receiver_drift_error"};
    return columns;
}

CSimulatedDrive::CSimulatedDrive(const DriveOptions& options)
    : m_options(options), m_world(options.world)
{
    const int most = (options.leadSteps + options.steps) / CSimulation::kStepsPerControl + 1;
    m_rows.reserve(static_cast<std::size_t>(most) * Columns().size());
}

bool CSimulatedDrive::Run(int mostSteps)
{
    const int last = m_options.leadSteps + m_options.steps;
    const int end = std::min(last, m_stepsTaken + mostSteps);
    while (m_stepsTaken < end) {
        if (m_stepsTaken == m_options.leadSteps) {
            Engage();
        }
        Step();
    }
    return end < last;
}

void CSimulatedDrive::Engage()
{
    m_world.SetImplementWidth(m_options.implementWidth);
    m_world.SetLookAheadTime(m_options.lookAheadTime);
    for (int number = 0; number < kTuningParameters; ++number) {
        m_world.Tuning().Set(static_cast<ETuning>(number),
                             m_options.tuning[static_cast<std::size_t>(number)]);
    }
    const COutcome line = m_world.SetLine(m_options.line);
    if (!line) {
        throw std::invalid_argument("the line cannot be driven: " + line.Reason());
    }
    const COutcome navigation = m_world.StartNavigation(m_options.follow);
    const COutcome engaged = navigation ? m_world.Engage() : navigation;
    if (!engaged) {
        throw std::runtime_error("steering cannot be engaged: " + engaged.Reason());
    }
}

void CSimulatedDrive::Step()
{
    m_world.Step();
    ++m_stepsTaken;
    if (m_stepsTaken > m_options.leadSteps) {
        m_way += std::abs(m_world.Speed()) * CSimulation::kStepSeconds;
    }
    if (m_world.ControlRan()) {
        TakeRow();
    }
}

void CSimulatedDrive::TakeRow()
{
    const Pose truth = m_world.TruePose();
    const Pose measured = m_world.MeasuredPose();
    const Pose estimated = m_world.EstimatedPose();
    const Point implement = m_world.TrueImplementPoint();
    m_rows.insert(m_rows.end(), {m_world.Time(),
                                 m_way,
                                 m_world.Engaged() ? 1.0 : 0.0,
                                 m_world.TrueCrossTrackError(),
                                 m_world.TrueImplementCrossTrackError(),
                                 truth.position.x,
                                 truth.position.y,
                                 NormaliseHeading(truth.heading),
                                 measured.position.x,
                                 measured.position.y,
                                 NormaliseHeading(measured.heading),
                                 estimated.position.x,
                                 estimated.position.y,
                                 NormaliseHeading(estimated.heading),
                                 implement.x,
                                 implement.y,
                                 m_world.Speed(),
                                 m_world.SteeringAngle(),
                                 m_world.SteeringCommand(),
                                 static_cast<double>(m_world.Status().pass),
                                 m_world.ReceiverDriftError()});
}

std::vector<double> CSimulatedDrive::WhileEngaged(std::size_t column) const
{
    std::vector<double> values;
    for (std::size_t row = 0; row < m_rows.size(); row += Columns().size()) {
        if (m_rows[row + kEngaged] != 0.0) {
            values.push_back(m_rows[row + column]);
        }
    }
    return values;
}

DriveFigures CSimulatedDrive::Figures() const
{
    const std::vector<double> errors = WhileEngaged(kCrossTrack);
    const std::vector<double> implementErrors = WhileEngaged(kImplementCrossTrack);
    const bool endsOnLine = !errors.empty() && std::abs(errors.back()) <= kOnLine;
    DriveFigures figures;
    figures.error95 = Error95(errors);
    figures.meanError = MeanError(errors);
    figures.wayToLine = endsOnLine ? WayToSettle(WhileEngaged(kWay), errors, kOnLine)
                                   : std::numeric_limits<double>::infinity();
    figures.overshoot = Overshoot(errors);
    figures.implementError95 = Error95(implementErrors);
    figures.implementMeanError = MeanError(implementErrors);
    return figures;
}

} // namespace Kestrove::Python
