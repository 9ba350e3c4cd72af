#include "simulator/operations/SteeringOperations.h"

namespace {

constexpr const char* kMachine = "machine";
constexpr const char* kImplement = "implement";

} // namespace

void CSteeringOperations::Register(COperationTable& table)
{
    using Self = CSteeringOperations;
    table.Add("IsSteeringEngaged", *this, &Self::IsSteeringEngaged);
    table.Add("EngageSteering", *this, &Self::EngageSteering);
    table.Add(kDisengage, *this, &Self::DisengageSteering);
    table.Add("StartNavigation", *this, &Self::StartNavigation);
    table.Add("StopNavigation", *this, &Self::StopNavigation);
    table.Add("ClearNavigation", *this, &Self::ClearNavigation);
    table.Add("ReinitialiseNavigation", *this, &Self::ReinitialiseNavigation);
    table.Add("IsNavigationActivated", *this, &Self::IsNavigationActivated);
    table.Add("why_not_engaged", *this, &Self::WhyNotEngaged);
    table.Add("why_refused", *this, &Self::WhyRefused);
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

bool CSteeringOperations::IsSteeringEngaged()
{
    return m_simulation.Engaged();
}

bool CSteeringOperations::EngageSteering(LeadingOne)
{
    return m_log.Carried("EngageSteering", m_simulation.Engage());
}

bool CSteeringOperations::DisengageSteering(LeadingOne)
{
    m_simulation.Disengage();
    return true;
}

bool CSteeringOperations::StartNavigation(LeadingOne, bool followNearestPass)
{
    const EFollow follow = followNearestPass ? EFollow::NearestPass : EFollow::LineItself;
    return m_log.Carried("StartNavigation", m_simulation.StartNavigation(follow));
}

bool CSteeringOperations::StopNavigation(LeadingOne)
{
    m_simulation.StopNavigation();
    return true;
}

bool CSteeringOperations::ClearNavigation()
{
    // Without a line nothing has to be made of the offsets.
    m_waylines.ClearAll();
    m_simulation.StopNavigation();
    m_simulation.SetNudge(0.0);
    m_simulation.SetFieldOffset(0.0);
    return true;
}

bool CSteeringOperations::ReinitialiseNavigation(LeadingOne)
{
    return m_log.Carried("ReinitialiseNavigation", m_simulation.RestoreSettings());
}

bool CSteeringOperations::IsNavigationActivated()
{
    return m_simulation.NavigationActive();
}

std::vector<std::string> CSteeringOperations::WhyNotEngaged()
{
    return m_simulation.WhyNotEngaged();
}

Value CSteeringOperations::WhyRefused(const std::string& operation)
{
    const std::string reason = m_log.RefusalOf(operation);
    return reason.empty() ? nullptr : std::make_unique<BAtomC>(reason);
}

bool CSteeringOperations::SimulatorSetGuide(const std::string& guide)
{
    const bool implement = guide == kImplement;
    const bool known = implement || guide == kMachine;
    if (known) {
        m_simulation.SetGuide(implement ? EGuide::Implement : EGuide::Machine);
    }
    return m_log.Carried("simulator_set_guide",
                         known ? COutcome::Done()
                               : COutcome::Refused('"' + Printable(guide) +
                                                   "\" cannot be guided, allowed is implement, "
                                                   "machine"));
}

Value CSteeringOperations::SimulatorGuide()
{
    const bool implement = m_simulation.Guide() == EGuide::Implement;
    return std::make_unique<BAtomC>(implement ? kImplement : kMachine);
}

void CSteeringOperations::SetReverseEngageEnabled(bool enabled, bool keep)
{
    m_simulation.SetReverseEngageEnabled(enabled);
    m_kept.Keep(CKeptSettings::kReverseEngageEnabled, enabled, keep);
}

bool CSteeringOperations::GetReverseEngageEnabled(LeadingOne)
{
    return m_simulation.ReverseEngageEnabled();
}

void CSteeringOperations::SetReverseEngageAllowed(bool allowed, bool keep)
{
    m_simulation.SetReverseEngageAllowed(allowed);
    m_kept.Keep(CKeptSettings::kReverseEngageAllowed, allowed, keep);
}

bool CSteeringOperations::GetReverseEngageAllowed(LeadingOne)
{
    return m_simulation.ReverseEngageAllowed();
}

void CSteeringOperations::SetLowSpeedEngageAllowed(bool allowed, bool keep)
{
    m_simulation.SetLowSpeedEngageAllowed(allowed);
    m_kept.Keep(CKeptSettings::kLowSpeedEngageAllowed, allowed, keep);
}

bool CSteeringOperations::GetLowSpeedEngageAllowed(LeadingOne)
{
    return m_simulation.LowSpeedEngageAllowed();
}

void CSteeringOperations::SetLowSpeedEngageTimeout(double seconds, bool keep)
{
    const COutcome outcome = m_simulation.SetLowSpeedTimeout(seconds);
    if (m_log.Carried("set_low_speed_engage_timeout", outcome)) {
        m_kept.Keep(CKeptSettings::kLowSpeedEngageTimeout, seconds, keep);
    }
}

double CSteeringOperations::GetLowSpeedEngageTimeout(LeadingOne)
{
    return m_simulation.LowSpeedTimeout();
}

void CSteeringOperations::SetLookAheadTime(double seconds, bool keep)
{
    const COutcome outcome = m_simulation.SetLookAheadTime(seconds);
    if (m_log.Carried("set_lookahead_time", outcome)) {
        m_kept.Keep(CKeptSettings::kLookAheadTime, seconds, keep);
    }
}

double CSteeringOperations::GetLookAheadTime(LeadingOne)
{
    return m_simulation.LookAheadTime();
}
