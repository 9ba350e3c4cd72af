#include "simulator/world/Faults.h"

#include <algorithm>
#include <cmath>

#include "simulator/base/NumberText.h"

namespace {

constexpr const char* kOn = "on";
/// Steps are as long as they are, whatever their sum rounds to.
constexpr double kTolerance = 1e-6;

double NumberOf(const FaultValue& value)
{
    return std::get<double>(value);
}

/// A fault that is on or off.
FaultKind Switch(const char* name, const char* what, bool Reception::*member, bool value)
{
    return {name,
            what,
            "",
            0.0,
            0.0,
            {kOn},
            [member, value](WorldConditions& conditions, const FaultValue&) {
                conditions.reception.*member = value;
            }};
}

/// A fault of the steering valve, in degrees.
FaultKind OfValve(const char* name, const char* what, const char* unit, double lowest,
                  double highest, double ValveOptions::*member)
{
    return {name,
            what,
            unit,
            lowest,
            highest,
            {},
            [member](WorldConditions& conditions, const FaultValue& value) {
                conditions.valve.*member = Radians(NumberOf(value));
            }};
}

void LimitFix(WorldConditions& conditions, const FaultValue& value)
{
    static const std::map<std::string, EFix> fixes{{"fixed", EFix::Fixed},
                                                   {"float", EFix::Float},
                                                   {"single", EFix::Single},
                                                   {"none", EFix::None}};
    conditions.reception.bestFix = fixes.at(std::get<std::string>(value));
}

/// What happens to what the receiver gets.
std::vector<FaultKind> ReceptionKinds()
{
    return {
        Switch("corrections-lost", "no correction comes from the base station",
               &Reception::hasCorrections, false),
        Switch("gnss-outage", "no satellite is seen", &Reception::isCovered, true),
        {"multipath",
         "positions jump as near trees",
         "m",
         0.0,
         10.0,
         {},
         [](WorldConditions& conditions, const FaultValue& value) {
             conditions.reception.multipath = NumberOf(value);
         }},
        {"receiver",
         "the best fix that there is",
         "",
         0.0,
         0.0,
         {"fixed", "float", "none", "single"},
         LimitFix},
    };
}

/// What happens to the machine and the ground under it.
std::vector<FaultKind> MachineKinds()
{
    return {
        {"slope",
         "the ground falls to the east",
         "degrees",
         -30.0,
         30.0,
         {},
         [](WorldConditions& conditions, const FaultValue& value) {
             conditions.slope = Radians(NumberOf(value));
         }},
        {"steer-curvature",
         "somebody steers while guidance does not: a curvature to the right",
         "1/m",
         -0.25,
         0.25,
         {},
         [](WorldConditions& conditions, const FaultValue& value) {
             conditions.manualCurvature = NumberOf(value);
         }},
        {"steer-heading",
         "somebody steers while guidance does not: to a heading",
         "degrees",
         -360.0,
         360.0,
         {},
         [](WorldConditions& conditions, const FaultValue& value) {
             conditions.manualHeading = Radians(NumberOf(value));
         }},
        OfValve("steering-deadband", "error that the steering valve does not open for", "degrees",
                0.0, 5.0, &ValveOptions::deadband),
        OfValve("steering-rate-left", "how fast the wheels turn to the left at most", "degrees/s",
                1.0, 60.0, &ValveOptions::rateLeft),
        OfValve("steering-rate-right", "how fast the wheels turn to the right at most", "degrees/s",
                1.0, 60.0, &ValveOptions::rateRight),
    };
}

std::vector<FaultKind> MadeKinds()
{
    std::vector<FaultKind> kinds = ReceptionKinds();
    for (const FaultKind& kind : MachineKinds()) {
        kinds.push_back(kind);
    }
    return kinds;
}

const FaultKind* KindOf(const std::string& name)
{
    const auto& kinds = FaultKinds();
    const auto found = std::find_if(kinds.begin(), kinds.end(),
                                    [&name](const FaultKind& kind) { return name == kind.name; });
    return found == kinds.end() ? nullptr : &*found;
}

template <typename TNames>
std::string Joined(const TNames& names)
{
    std::string text;
    for (const auto& name : names) {
        text += (text.empty() ? "" : ", ") + std::string(name);
    }
    return text;
}

std::string NamesOfAll()
{
    std::vector<std::string> names;
    for (const FaultKind& kind : FaultKinds()) {
        names.push_back(kind.name);
    }
    return Joined(names);
}

bool HasNumber(const FaultKind& kind)
{
    return *kind.unit != '\0';
}

/// What a kind takes, in words.
std::string Allowed(const FaultKind& kind)
{
    std::vector<std::string> words = kind.words;
    if (HasNumber(kind)) {
        words.push_back(NumberText(kind.lowest) + " to " + NumberText(kind.highest) + " " +
                        kind.unit);
    }
    words.push_back(CFaults::kOff);
    return Joined(words);
}

bool IsAllowed(const FaultKind& kind, const FaultValue& value)
{
    if (const auto* const number = std::get_if<double>(&value)) {
        return HasNumber(kind) && *number >= kind.lowest && *number <= kind.highest;
    }
    const std::string& word = std::get<std::string>(value);
    return word == CFaults::kOff ||
           std::find(kind.words.begin(), kind.words.end(), word) != kind.words.end();
}

std::string TextOf(const FaultValue& value)
{
    const auto* const number = std::get_if<double>(&value);
    return number ? NumberText(*number) : '"' + std::get<std::string>(value) + '"';
}

} // namespace

const std::vector<FaultKind>& FaultKinds()
{
    static const std::vector<FaultKind> kinds = MadeKinds();
    return kinds;
}

CFaults::CFaults(CSimulation& simulation)
    : m_simulation(simulation), m_start(simulation.Conditions())
{
}

std::string CFaults::Problem(const std::string& name, const FaultValue& value, double seconds)
{
    const FaultKind* const kind = KindOf(name);
    if (!kind) {
        return "there is no fault \"" + name + "\", allowed is " + NamesOfAll();
    }
    if (!IsAllowed(*kind, value)) {
        return TextOf(value) + " is not allowed for " + name + ", allowed is " + Allowed(*kind);
    }
    if (!(seconds >= 0.0 && seconds <= kLongestSeconds)) {
        return NumberText(seconds) + " s is not a time for a fault, allowed is 0 to " +
               NumberText(kLongestSeconds) + " s";
    }
    return {};
}

COutcome CFaults::Set(const std::string& name, const FaultValue& value, double seconds)
{
    const std::string problem = Problem(name, value, seconds);
    if (!problem.empty()) {
        return COutcome::Refused(problem);
    }
    const auto* const word = std::get_if<std::string>(&value);
    if (word && *word == kOff) {
        m_active.erase(name);
    } else {
        Active active{value};
        if (seconds > 0.0) {
            active.until = m_simulation.Time() + seconds;
        }
        m_active[name] = active;
    }
    Apply();
    return COutcome::Done();
}

void CFaults::Look()
{
    const double now = m_simulation.Time() + kTolerance;
    bool hasEnded = false;
    for (auto fault = m_active.begin(); fault != m_active.end();) {
        const bool ends = fault->second.until <= now;
        fault = ends ? m_active.erase(fault) : std::next(fault);
        hasEnded = hasEnded || ends;
    }
    if (hasEnded) {
        Apply();
    }
}

void CFaults::Apply()
{
    WorldConditions conditions = m_start;
    for (const FaultKind& kind : FaultKinds()) {
        const auto active = m_active.find(kind.name);
        if (active != m_active.end()) {
            kind.apply(conditions, active->second.value);
        }
    }
    m_simulation.SetConditions(conditions);
}
