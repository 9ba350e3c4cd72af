#include "simulator/SteeringOperations.h"

namespace {

constexpr const char* kMachine = "machine";
constexpr const char* kImplement = "implement";

} // namespace

void SteeringOperationsC::Register(OperationTableC& table)
{
    using Self = SteeringOperationsC;
    table.Add("IsSteeringEngaged", *this, &Self::IsSteeringEngaged);
    table.Add("EngageSteering", *this, &Self::EngageSteering);
    table.Add("DisengageSteering", *this, &Self::DisengageSteering);
    table.Add("StartNavigation", *this, &Self::StartNavigation);
    table.Add("StopNavigation", *this, &Self::StopNavigation);
    table.Add("ClearNavigation", *this, &Self::ClearNavigation);
    table.Add("ReinitialiseNavigation", *this, &Self::ReinitialiseNavigation);
    table.Add("IsNavigationActivated", *this, &Self::IsNavigationActivated);
    table.Add("why_not_engaged", *this, &Self::WhyNotEngaged);
    table.Add("why_refused", *this, &Self::WhyRefused);
    table.Add("simulator_keeps", *this, &Self::SimulatorKeeps);
    table.Add("simulator_set_guide", *this, &Self::SimulatorSetGuide);
    table.Add("simulator_guide", *this, &Self::SimulatorGuide);
    table.Add("set_reverse_engage_enabled", *this, &Self::SetReverseEngageEnabled);
    table.Add("get_reverse_engage_enabled", *this, &Self::GetReverseEngageEnabled);
    table.Add("set_reverse_engage_allowed", *this, &Self::SetReverseEngageAllowed);
    table.Add("get_reverse_engage_allowed", *this, &Self::GetReverseEngageAllowed);
    table.Add("set_low_speed_engage_allowed", *this, &Self::SetLowSpeedEngageAllowed);
    table.Add("get_low_speed_engage_allowed", *this, &Self::GetLowSpeedEngageAllowed);
    table.Add("set_low_speed_engage_timeout", *this, &Self::SetLowSpeedEngageTimeout);
    table.Add("get_low_speed_engage_timeout", *this, &Self::GetLowSpeedEngageTimeout);
    table.Add("set_lookahead_time", *this, &Self::SetLookAheadTime);
    table.Add("get_lookahead_time", *this, &Self::GetLookAheadTime);
}

bool SteeringOperationsC::IsSteeringEngaged()
{
    return m_simulation.Engaged();
}

bool SteeringOperationsC::EngageSteering(LeadingOne)
{
    return m_log.Carried("EngageSteering", m_simulation.Engage());
}

bool SteeringOperationsC::DisengageSteering(LeadingOne)
{
    m_simulation.Disengage();
    return true;
}

bool SteeringOperationsC::StartNavigation(LeadingOne, bool followNearestPass)
{
    const EFollow follow = followNearestPass ? EFollow::NearestPass : EFollow::LineItself;
    return m_log.Carried("StartNavigation", m_simulation.StartNavigation(follow));
}

bool SteeringOperationsC::StopNavigation(LeadingOne)
{
    m_simulation.StopNavigation();
    return true;
}

bool SteeringOperationsC::ClearNavigation()
{
    // Without a line nothing has to be made of the offsets.
    m_waylines.ClearAll();
    m_simulation.StopNavigation();
    m_simulation.SetNudge(0.0);
    m_simulation.SetFieldOffset(0.0);
    return true;
}

bool SteeringOperationsC::ReinitialiseNavigation(LeadingOne)
{
    return m_log.Carried("ReinitialiseNavigation", m_simulation.RestoreSettings());
}

bool SteeringOperationsC::IsNavigationActivated()
{
    return m_simulation.NavigationActive();
}

std::vector<std::string> SteeringOperationsC::WhyNotEngaged()
{
    return m_simulation.WhyNotEngaged();
}

Value SteeringOperationsC::WhyRefused(const std::string& operation)
{
    const std::string reason = m_log.RefusalOf(operation);
    return reason.empty() ? nullptr : std::make_unique<BAtomC>(reason);
}

int SteeringOperationsC::SimulatorKeeps()
{
    return static_cast<int>(m_kept.Keeping());
}

bool SteeringOperationsC::SimulatorSetGuide(const std::string& guide)
{
    const bool implement = guide == kImplement;
    const bool known = implement || guide == kMachine;
    if (known)
        m_simulation.SetGuide(implement ? EGuide::Implement : EGuide::Machine);
    return m_log.Carried("simulator_set_guide",
                         known ? COutcome::Done()
                               : COutcome::Refused('"' + Printable(guide) +
                                                   "\" cannot be guided, allowed is implement, "
                                                   "machine"));
}

Value SteeringOperationsC::SimulatorGuide()
{
    const bool implement = m_simulation.Guide() == EGuide::Implement;
    return std::make_unique<BAtomC>(implement ? kImplement : kMachine);
}

void SteeringOperationsC::SetReverseEngageEnabled(bool enabled, bool keep)
{
    m_simulation.SetReverseEngageEnabled(enabled);
    m_kept.Keep(KeptSettingsC::kReverseEngageEnabled, enabled, keep);
}

bool SteeringOperationsC::GetReverseEngageEnabled(LeadingOne)
{
    return m_simulation.ReverseEngageEnabled();
}

void SteeringOperationsC::SetReverseEngageAllowed(bool allowed, bool keep)
{
    m_simulation.SetReverseEngageAllowed(allowed);
    m_kept.Keep(KeptSettingsC::kReverseEngageAllowed, allowed, keep);
}

bool SteeringOperationsC::GetReverseEngageAllowed(LeadingOne)
{
    return m_simulation.ReverseEngageAllowed();
}

void SteeringOperationsC::SetLowSpeedEngageAllowed(bool allowed, bool keep)
{
    m_simulation.SetLowSpeedEngageAllowed(allowed);
    m_kept.Keep(KeptSettingsC::kLowSpeedEngageAllowed, allowed, keep);
}

bool SteeringOperationsC::GetLowSpeedEngageAllowed(LeadingOne)
{
    return m_simulation.LowSpeedEngageAllowed();
}

void SteeringOperationsC::SetLowSpeedEngageTimeout(double seconds, bool keep)
{
    const COutcome outcome = m_simulation.SetLowSpeedTimeout(seconds);
    if (m_log.Carried("set_low_speed_engage_timeout", outcome))
        m_kept.Keep(KeptSettingsC::kLowSpeedEngageTimeout, seconds, keep);
}

double SteeringOperationsC::GetLowSpeedEngageTimeout(LeadingOne)
{
    return m_simulation.LowSpeedTimeout();
}

void SteeringOperationsC::SetLookAheadTime(double seconds, bool keep)
{
    const COutcome outcome = m_simulation.SetLookAheadTime(seconds);
    if (m_log.Carried("set_lookahead_time", outcome))
        m_kept.Keep(KeptSettingsC::kLookAheadTime, seconds, keep);
}

double SteeringOperationsC::GetLookAheadTime(LeadingOne)
{
    return m_simulation.LookAheadTime();
}
