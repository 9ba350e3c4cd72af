#ifndef KESTROVE_SIMULATOR_SETTINGSSTORE_H
#define KESTROVE_SIMULATOR_SETTINGSSTORE_H

#include <functional>
#include <string>

#include "simulator/Log.h"
#include "simulator/Settings.h"
#include "simulator/StateFile.h"

/// Takes all kept values each time that one of them changes.
using KeepSink = std::function<void(const KeptValues&)>;

/// The settings, and which of their values are kept over a restart.
///
/// A value that is impossible is logged and not taken, so that the present one stays. What is kept
/// is the value of the last change that asked for it: a later change that does not ask leaves the
/// kept value alone, and so does Reset().
/// Thread safety: none.
class SettingsStoreC
{
public:
    /// @param kept the values kept by an earlier run; they replace the start values.
    /// @param keep called at once with every change of a kept value.
    SettingsStoreC(KeptValues kept, KeepSink keep, LogSink log);

    const Settings& Current() const { return m_settings; }

    /// Changes a switch.
    ///
    /// @param name the name under which it is kept.
    void Set(bool Settings::*setting, const char* name, bool value, bool keep);
    /// Changes a number that lies in the range.
    ///
    /// @param name the name under which it is kept.
    void Set(double Settings::*setting, const char* name, const NumberRange& range, double value,
             bool keep);
    /// Changes a number that is never kept.
    ///
    /// @param operation the operation that asks, for the log.
    /// @return false when the number does not lie in the range.
    bool Set(double Settings::*setting, const char* operation, const NumberRange& range,
             double value);
    void SetSplinesUseImplementOffset(bool use) { m_settings.splinesUseImplementOffset = use; }
    bool SetCurveFilterSize(int size);

    /// Changes a tuning parameter; a value outside its limits becomes the nearest one inside.
    void SetTuning(int code, double value, bool keep);
    /// Changes the limits of a tuning parameter; its value follows into them. They must rise from
    /// the lowest over the start value to the highest.
    void SetTuningLimits(int code, double lowest, double start, double highest);

    /// Puts every setting back to its start value. Kept values stay kept.
    void Reset() { m_settings = Settings(); }

private:
    bool Accept(const char* operation, const std::string& problem) const;
    bool IsTuning(const char* operation, int code) const;
    void Keep(const char* name, double value);

    Settings m_settings;
    KeptValues m_kept;
    KeepSink m_keep;
    LogSink m_log;
};

#endif
