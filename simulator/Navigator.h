#ifndef KESTROVE_SIMULATOR_NAVIGATOR_H
#define KESTROVE_SIMULATOR_NAVIGATOR_H

#include "simulator/Engagement.h"
#include "simulator/Log.h"
#include "simulator/SettingsStore.h"

/// Navigates: keeps whether navigation is active and whether the machine is steered. Refusals and
/// what happens by itself are logged.
/// Thread safety: none.
class NavigatorC
{
public:
    /// @param settings must outlive this object.
    NavigatorC(SettingsStoreC& settings, LogSink log);

    const EngagementC& Engagement() const { return m_engagement; }
    bool NavigationActive() const { return m_navigationActive; }

    /// Activates navigation along the wayline.
    ///
    /// @return false when it is refused.
    bool Start();
    /// Ends navigation and steering.
    void Stop();
    /// @return false when a condition of engaging is unmet; the reasons are logged.
    bool Engage();
    void Disengage();

private:
    EngageSituation Situation() const;

    SettingsStoreC& m_settings;
    LogSink m_log;
    EngagementC m_engagement;
    bool m_navigationActive = false;
};

#endif
