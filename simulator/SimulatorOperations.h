#ifndef KESTROVE_SIMULATOR_SIMULATOROPERATIONS_H
#define KESTROVE_SIMULATOR_SIMULATOROPERATIONS_H

#include <exception>
#include <functional>
#include <utility>

#include "simulator/KeptSettings.h"
#include "simulator/OperationTable.h"
#include "simulator/guidance/LongWork.h"
#include "simulator/world/Simulation.h"

/// Thrown in place of an answer where an advance has been asked for that takes turns with the
/// loop's other work: whoever carries messages has it made. Nothing has happened yet.
class CStepsPending : public std::exception
{
public:
    explicit CStepsPending(int steps) : m_steps(steps) {}
    const char* what() const noexcept override { return "the world has to be moved on first"; }
    int Steps() const { return m_steps; }

private:
    int m_steps;
};

/// The simulator's own operations, beside those of the service: each begins with "simulator_".
class SimulatorOperationsC
{
public:
    /// The operation that everything waits for.
    static constexpr const char* kAdvance = "simulator_advance";
    /// More is refused at once: its events are to fit what a client keeps.
    static constexpr double kLongestAdvanceSeconds = 60.0;

    /// Moves the world on by a step.
    using Step = std::function<void()>;

    /// All must outlive this object.
    ///
    /// @param step empty unless the clock is stepped.
    /// @param work null to have an advance made on the spot.
    SimulatorOperationsC(const CSimulation& simulation, const KeptSettingsC& kept, Step step,
                         const CLongWork* work)
        : m_simulation(simulation), m_kept(kept), m_step(std::move(step)), m_work(work)
    {
    }

    /// Adds the operations to a table, which this object must outlive.
    void Register(OperationTableC& table);

private:
    double Advance(double seconds);
    double Time();
    int Keeps();

    const CSimulation& m_simulation;
    const KeptSettingsC& m_kept;
    Step m_step;
    const CLongWork* m_work;
};

#endif
