#ifndef KESTROVE_SIMULATOR_OPERATIONS_SIMULATOROPERATIONS_H
#define KESTROVE_SIMULATOR_OPERATIONS_SIMULATOROPERATIONS_H

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "simulator/aside/LongWork.h"
#include "simulator/operations/OperationTable.h"
#include "simulator/settings/KeptSettings.h"
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
class CSimulatorOperations
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
    /// @param description what it takes to repeat the run, but for the time.
    CSimulatorOperations(const CSimulation& simulation, const CKeptSettings& kept, Step step,
                         const CLongWork* work, std::string description)
        : m_simulation(simulation), m_kept(kept), m_step(std::move(step)), m_work(work),
          m_description(std::move(description))
    {
    }

    /// How many steps a time is.
    ///
    /// @param problem receives why the world cannot be moved on by it.
    static std::optional<int> WholeSteps(double seconds, std::string& problem);

    /// Adds the operations to a table, which this object must outlive.
    void Register(COperationTable& table);

private:
    double Advance(double seconds);
    double Time();
    std::string Describe();
    int Keeps();

    const CSimulation& m_simulation;
    const CKeptSettings& m_kept;
    Step m_step;
    const CLongWork* m_work;
    const std::string m_description;
};

#endif
