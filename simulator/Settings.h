#ifndef KESTROVE_SIMULATOR_SETTINGS_H
#define KESTROVE_SIMULATOR_SETTINGS_H

#include <array>
#include <cstddef>
#include <string>

/// A tuning parameter's value and the limits in which it lies.
struct TuningSetting
{
    double value;
    double lowest;
    double start; ///< the value after ReinitialiseNavigation
    double highest;
};

/// The tuning parameters by the codes under which they are sent.
enum ETuning : std::size_t
{
    kSensitivity = 0,
    kAggressiveness = 1,
    kOvershoot = 2,
    kSpeedAdjust = 3,
    kTuningCount = 4,
};

/// Everything that clients can set, with its start value. Switches that a client sends as 0 or 1
/// are bools; lengths are metres, times seconds, speeds metres per second.
struct Settings
{
    bool reverseEngageEnabled = false;
    bool reverseEngageAllowed = false;
    bool lowSpeedEngageAllowed = false;
    double lowSpeedEngageTimeout = 2.0;
    double lookAheadTime = 1.0;
    double velocitySetPoint = 2.5;
    int curveFilterSize = 5;
    double implementWidth = 3.0;
    double implementOffset = 0.0;
    bool splinesUseImplementOffset = false;
    double nudge = 0.0;
    double fieldOffset = 0.0;
    std::array<TuningSetting, kTuningCount> tuning{
        {{1.0, 0.2, 1.0, 3.0}, {1.0, 0.2, 1.0, 3.0}, {1.0, 0.2, 1.0, 3.0}, {1.0, 0.0, 1.0, 3.0}}};
};

/// What a number may be.
struct NumberRange
{
    const char* what; ///< "look-ahead time"
    const char* unit; ///< "seconds"
    double lowest;
    double highest;
};

constexpr NumberRange kLowSpeedTimeoutRange{"low-speed time-out", "seconds", 0.0, 3600.0};
constexpr NumberRange kLookAheadTimeRange{"look-ahead time", "seconds", 0.1, 10.0};
constexpr NumberRange kVelocityRange{"velocity set point", "metres per second", -5.0, 15.0};
constexpr NumberRange kCurveFilterRange{"curve filter size", "recorded points", 1.0, 1000.0};
constexpr NumberRange kImplementWidthRange{"implement width", "metres", 0.01, 100.0};
constexpr NumberRange kShiftRange{"shift of the line", "metres", -1000.0, 1000.0};

/// Judges a number.
///
/// @return an empty text when it lies in the range, otherwise a text that names the number and what
///         is allowed. NaN lies in no range.
std::string OutOfRange(const NumberRange& range, double value);

/// Gives a setting its value by the name under which it is kept.
///
/// @param name one of the names below.
/// @return an empty text on success, otherwise what is wrong with name or value, and `settings`
///         stays as it was. A tuning parameter outside its limits is clamped.
std::string ApplyKept(Settings& settings, const std::string& name, double value);

constexpr const char* kKeptReverseEngageEnabled = "reverse_engage_enabled";
constexpr const char* kKeptReverseEngageAllowed = "reverse_engage_allowed";
constexpr const char* kKeptLowSpeedEngageAllowed = "low_speed_engage_allowed";
constexpr const char* kKeptLowSpeedEngageTimeout = "low_speed_engage_timeout";
constexpr const char* kKeptLookAheadTime = "lookahead_time";
/// The names of the tuning parameters, by code.
constexpr std::array<const char*, kTuningCount> kKeptTuning{"sensitivity", "aggressiveness",
                                                            "overshoot", "speed_adjust"};

#endif
