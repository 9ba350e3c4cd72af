#ifndef KESTROVE_SIMULATOR_SETTINGS_KEPTSETTINGS_H
#define KESTROVE_SIMULATOR_SETTINGS_KEPTSETTINGS_H

#include <array>
#include <functional>
#include <string>

#include "simulator/base/Outcome.h"
#include "simulator/guidance/Tuning.h"
#include "simulator/settings/StateFile.h"

class CSimulation;

/// Takes all kept values each time that one of them changes, which is not when it is set anew.
using KeepSink = std::function<void(const KeptValues&)>;

/// Whether what clients asked to keep outlives a restart; the numbers are those of the link.
enum class EKeeping
{
    Failing = -1, ///< it could not be saved
    Nothing = 0,  ///< nothing is kept
    Saved = 1,
    Pending = 2, ///< it is being saved
};

/// Answers how far the keeping of the last change is.
using KeepState = std::function<EKeeping()>;

/// The settings that clients asked to keep over a restart.
///
/// What is kept of a setting is the value of the last change that asked for it: a later change that
/// does not ask leaves the kept value alone. With a tuning parameter's value go the limits that it
/// was set in, unless they are those of the start.
/// Thread safety: none.
class CKeptSettings
{
public:
    static constexpr const char* kReverseEngageEnabled = "reverse_engage_enabled";
    static constexpr const char* kReverseEngageAllowed = "reverse_engage_allowed";
    static constexpr const char* kLowSpeedEngageAllowed = "low_speed_engage_allowed";
    static constexpr const char* kLowSpeedEngageTimeout = "low_speed_engage_timeout";
    static constexpr const char* kLookAheadTime = "lookahead_time";
    /// The names of the tuning parameters, by number.
    static constexpr std::array<const char*, kTuningParameters> kTuning{
        "sensitivity", "aggressiveness", "overshoot", "speed_adjust"};
    /// What follows such a name for its limits: lowest, start value, highest.
    static constexpr std::array<const char*, 3> kLimits{"_lowest", "_start", "_highest"};

    /// @param values those kept by an earlier run.
    /// @param sink called at once with every change; may be empty.
    /// @param state answers how far the sink is; empty for one that saves at once.
    CKeptSettings(KeptValues values, KeepSink sink, KeepState state = {});

    /// Whether what is kept outlives a restart.
    EKeeping Keeping() const;
    /// Keeps a value, when a client asks for it.
    void Keep(const char* name, KeptValue value, bool asked);
    /// Keeps the present value of a tuning parameter, when a client asks for it.
    void KeepTuning(ETuning parameter, const CTuning& tuning, bool asked);

    /// Gives a simulation's settings the kept values.
    ///
    /// @return the first value that its setting cannot have, or a name that is not a setting's.
    COutcome ApplyTo(CSimulation& simulation) const;

private:
    void Take(KeptValues values);
    COutcome ApplyLimits(CSimulation& simulation) const;

    KeptValues m_values;
    KeepSink m_sink;
    KeepState m_state;
};

#endif
