#include "simulator/Navigator.h"

#include <utility>

NavigatorC::NavigatorC(SettingsStoreC& settings, LogSink log)
    : m_settings(settings), m_log(std::move(log))
{
}

bool NavigatorC::Start()
{
    m_navigationActive = true;
    m_log(ELogLevel::Info, "navigation started");
    return true;
}

void NavigatorC::Stop()
{
    m_engagement.Disengage();
    if (m_navigationActive)
        m_log(ELogLevel::Info, "navigation stopped");
    m_navigationActive = false;
}

bool NavigatorC::Engage()
{
    const std::vector<UnmetCondition> unmet =
        m_engagement.Engage(Situation(), m_settings.Current());
    for (const UnmetCondition& condition : unmet)
        m_log(ELogLevel::Warning, "EngageSteering refused: " + condition.reason);
    return unmet.empty();
}

void NavigatorC::Disengage()
{
    m_engagement.Disengage();
}

EngageSituation NavigatorC::Situation() const
{
    EngageSituation situation;
    situation.navigationActive = m_navigationActive;
    situation.speed = m_settings.Current().velocitySetPoint;
    return situation;
}
