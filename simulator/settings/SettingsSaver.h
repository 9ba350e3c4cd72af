#ifndef KESTROVE_SIMULATOR_SETTINGS_SETTINGSSAVER_H
#define KESTROVE_SIMULATOR_SETTINGS_SETTINGSSAVER_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "simulator/settings/KeptSettings.h"
#include "simulator/settings/StateFile.h"

/// Saves the kept settings on a thread of its own, so that nobody waits for the disk.
///
/// A change is saved at once, those of the next tenth of a second together. What could not be saved
/// is tried again every half second, and once more at the end. Values that the file has already are
/// not written, unless somebody has removed it: that is looked for as often.
///
/// Thread safety: none but that of its own thread.
class CSettingsSaver
{
public:
    static constexpr std::chrono::milliseconds kBetweenSaves{100};
    static constexpr std::chrono::milliseconds kBetweenAttempts{500};
    static constexpr std::chrono::milliseconds kBetweenLooks{500};

    /// Takes lines for the log; called on the saver's thread.
    using Report = std::function<void(const std::string&)>;

    /// @param file is open.
    /// @param saved what it holds.
    /// @param report receives, once each time, what keeps settings from being saved and when they
    ///        are saved again.
    /// @throws std::system_error when the system gives no thread.
    CSettingsSaver(std::unique_ptr<CStateFile> file, KeptValues saved, Report report);
    /// Leaves the rest to the thread, which ends when it has saved it, or has tried.
    ~CSettingsSaver();
    CSettingsSaver(const CSettingsSaver&) = delete;
    CSettingsSaver& operator=(const CSettingsSaver&) = delete;

    /// Has the values saved in place of all earlier ones. Never waits for the disk.
    void Keep(const KeptValues& values);
    /// Whether the file has the last values. Never waits for the disk.
    EKeeping State() const;
    /// Waits until the values have been saved, or tried for the last time, and the file is let go.
    ///
    /// @return false when the deadline came first.
    bool Finish(std::chrono::steady_clock::time_point deadline);

private:
    class CState;
    std::shared_ptr<CState> m_state;
};

#endif
