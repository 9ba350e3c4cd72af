#ifndef KESTROVE_BINDINGS_PYTHON_SIMULATEDDRIVE_H
#define KESTROVE_BINDINGS_PYTHON_SIMULATEDDRIVE_H

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "simulator/guidance/Tuning.h"
#include "simulator/world/Simulation.h"

namespace Kestrove::Python {

/// What a drive is to be like. Everything is in the units of the simulation, and in its ranges.
struct DriveOptions
{
    SimulationOptions world;
    LineDefinition line;
    EFollow follow = EFollow::LineItself;
    double implementWidth = 3.0; ///< metres
    double lookAheadTime = 1.6;  ///< seconds
    std::array<double, kTuningParameters> tuning{1.0, 1.0, 1.0, 1.0};
    int leadSteps = 0; ///< driven by hand before steering is engaged
    int steps = 0;     ///< behind those
};

/// What a drive is judged by, as simulator/world/DriveFigures.h has it.
struct DriveFigures
{
    double error95 = 0.0;
    double meanError = 0.0;
    double wayToLine = 0.0; ///< infinite when the drive ends beside the line
    double overshoot = 0.0;
    double implementError95 = 0.0;
    double implementMeanError = 0.0;
};

/// A drive of the simulated machine, on its own clock: the first steps by hand, then steered along
/// the line to the end, or on by nobody once steering is dropped.
///
/// Thread safety: none; distinct drives are independent.
class CSimulatedDrive
{
public:
    /// What a row of Rows() holds: the values each time that guidance has run.
    static const std::vector<std::string>& Columns();

    explicit CSimulatedDrive(const DriveOptions& options);

    /// Goes on by so many steps at the most.
    ///
    /// @return whether there are more.
    /// @throws std::invalid_argument when the line is none, std::runtime_error when steering cannot
    ///         be engaged: both with the reason.
    bool Run(int mostSteps);

    /// One row after the other.
    const std::vector<double>& Rows() const { return m_rows; }
    DriveFigures Figures() const;
    /// Whether steering was engaged to the end.
    bool EngagedToTheEnd() const { return m_world.Engaged(); }
    /// Why it was dropped; empty unless it was.
    const std::string& DropReason() const { return m_world.DropReason(); }

private:
    void Engage();
    void Step();
    void TakeRow();
    std::vector<double> WhileEngaged(std::size_t column) const;

    DriveOptions m_options;
    CSimulation m_world;
    int m_stepsTaken = 0;
    double m_way = 0.0; ///< since steering was engaged
    std::vector<double> m_rows;
};

} // namespace Kestrove::Python

#endif
