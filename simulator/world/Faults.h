#ifndef KESTROVE_SIMULATOR_WORLD_FAULTS_H
#define KESTROVE_SIMULATOR_WORLD_FAULTS_H

#include <functional>
#include <limits>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "simulator/base/Outcome.h"
#include "simulator/world/Conditions.h"
#include "simulator/world/Simulation.h"

/// What a fault is set to: a number or a word.
using FaultValue = std::variant<double, std::string>;

/// Something that can be made to happen to the machine.
struct FaultKind
{
    const char* name;
    const char* what; ///< in words
    const char* unit; ///< of its number; empty where it takes none
    double lowest;    ///< of the number
    double highest;
    std::vector<std::string> words; ///< that it takes, beside "off"
    /// Changes the conditions; the value has been checked.
    std::function<void(WorldConditions&, const FaultValue&)> apply;
};

/// Every kind, in the order of their names.
const std::vector<FaultKind>& FaultKinds();

/// What happens to the machine now, and until when. Each kind happens once at a time; what is set
/// again takes the place of what was set before. What ends leaves the conditions as they were at
/// the start, with all that still goes on.
/// Thread safety: none.
class CFaults
{
public:
    /// The word that ends a fault.
    static constexpr const char* kOff = "off";
    static constexpr double kLongestSeconds = 86400.0;

    /// @param simulation must outlive this object.
    explicit CFaults(CSimulation& simulation);

    /// Makes something happen from the next step on.
    ///
    /// @param value a number within the kind's range, one of its words, or "off"; "on" for a kind
    ///        that takes neither.
    /// @param seconds how long, of the simulation's clock; 0 until it is ended.
    /// @return refused, changing nothing, for what no fault is called and for what it does not
    ///         take: the reason names what is allowed.
    COutcome Set(const std::string& name, const FaultValue& value, double seconds);
    /// What Set() would refuse, in words; empty when it would not.
    static std::string Problem(const std::string& name, const FaultValue& value, double seconds);
    /// To be called before each step of the world: ends what has lasted long enough.
    void Look();

    /// A fault that goes on.
    struct Active
    {
        FaultValue value;
        double until = std::numeric_limits<double>::infinity(); ///< on the simulation's clock
    };
    const std::map<std::string, Active>& Now() const { return m_active; }

private:
    void Apply();

    CSimulation& m_simulation;
    WorldConditions m_start;
    std::map<std::string, Active> m_active;
};

#endif
