#ifndef KESTROVE_SIMULATOR_SERVICE_SCENARIO_H
#define KESTROVE_SIMULATOR_SERVICE_SCENARIO_H

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/BElement.h"
#include "simulator/world/Faults.h"

/// Something that happens to the machine.
struct ScenarioFault
{
    std::string name;
    FaultValue value;
    double seconds = 0.0; ///< 0 until it is ended
};

/// An operation of the service that is called.
struct ScenarioCall
{
    std::string operation;
    std::shared_ptr<const BListC> arguments;
};

/// What happens when.
struct ScenarioEvent
{
    double at = 0.0;      ///< seconds of the simulation's clock
    std::size_t line = 0; ///< of the file
    std::variant<ScenarioFault, ScenarioCall> what;
};

/// What a file plans: the events in the order of their times.
struct Scenario
{
    std::vector<ScenarioEvent> events;
};

/// Reads a scenario, which may come from a stranger; docs/scenario.schema.json says what it may
/// hold.
///
/// @param operations the names of those that may be called.
/// @param scenario receives it; stays as it is on failure.
/// @return an empty text on success, otherwise the line, the name and what is wrong with it.
std::string ReadScenario(const std::string& text, const std::vector<std::string>& operations,
                         Scenario& scenario);

/// The same from a file, whose name the text then begins with.
std::string ReadScenarioFile(const std::string& path, const std::vector<std::string>& operations,
                             Scenario& scenario);

/// Has a scenario happen. Thread safety: none.
class CScenarioRun
{
public:
    /// Makes something happen.
    ///
    /// @return an empty text, or why it was refused.
    using Doer = std::function<std::string(const ScenarioEvent&)>;

    void Start(Scenario scenario, Doer doer);
    /// Whether something is planned still.
    bool IsPlanned() const { return m_next < m_scenario.events.size(); }
    /// To be called before each step of the world: does what is due at `now`.
    ///
    /// @return what was refused, a line each.
    std::vector<std::string> Look(double now);

private:
    Scenario m_scenario;
    Doer m_doer;
    std::size_t m_next = 0;
};

#endif
