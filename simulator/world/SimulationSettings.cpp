// The operations of CSimulation that set something and read it back.

#include "simulator/world/Simulation.h"

#include <cmath>
#include <string>

#include "simulator/base/NumberText.h"
#include "simulator/world/SimulationState.h"

namespace {

/// What a setting may be.
struct Range
{
    const char* what;
    const char* unit;
    double lowest;
    double highest;
};

constexpr Range kShift{"the offset", "m", -1000.0, 1000.0};
constexpr Range kWidth{"the implement width", "m", 0.1, 100.0};
constexpr Range kTimeout{"the low-speed time-out", "s", 0.0, 3600.0};
constexpr Range kSpeed{"the speed set point", "m/s", -5.0, 15.0};
constexpr Range kLookAhead{"the look-ahead time", "s", 0.2, 10.0};
constexpr Range kFilter{"the curve filter size", "points", 1.0, 1001.0};

/// Gives a setting its value if that lies in the range; NaN lies in none.
template <typename TNumber>
COutcome Set(TNumber& setting, const Range& range, TNumber value)
{
    const auto number = static_cast<double>(value);
    if (number >= range.lowest && number <= range.highest) {
        setting = value;
        return COutcome::Done();
    }
    const std::string unit = std::string(" ") + range.unit;
    return COutcome::Refused(range.what + (' ' + NumberText(value)) + unit + " is not within " +
                             NumberText(range.lowest) + " and " + NumberText(range.highest) + unit);
}

} // namespace

void CSimulation::SetReverseEngageEnabled(bool enabled)
{
    m_state->settings.engage.reverseEnabled = enabled;
}

bool CSimulation::ReverseEngageEnabled() const
{
    return m_state->settings.engage.reverseEnabled;
}

void CSimulation::SetReverseEngageAllowed(bool allowed)
{
    m_state->settings.engage.reverseAllowed = allowed;
}

bool CSimulation::ReverseEngageAllowed() const
{
    return m_state->settings.engage.reverseAllowed;
}

void CSimulation::SetLowSpeedEngageAllowed(bool allowed)
{
    m_state->settings.engage.lowSpeedAllowed = allowed;
}

bool CSimulation::LowSpeedEngageAllowed() const
{
    return m_state->settings.engage.lowSpeedAllowed;
}

COutcome CSimulation::SetLowSpeedTimeout(double seconds)
{
    return Set(m_state->settings.engage.lowSpeedTimeout, kTimeout, seconds);
}

double CSimulation::LowSpeedTimeout() const
{
    return m_state->settings.engage.lowSpeedTimeout;
}

COutcome CSimulation::SetNudge(double metres)
{
    SimulationSettings changed = m_state->settings;
    COutcome outcome = Set(changed.nudge, kShift, metres);
    return outcome ? m_state->Adopt(changed) : outcome;
}

double CSimulation::Nudge() const
{
    return m_state->settings.nudge;
}

COutcome CSimulation::SetFieldOffset(double metres)
{
    SimulationSettings changed = m_state->settings;
    COutcome outcome = Set(changed.fieldOffset, kShift, metres);
    return outcome ? m_state->Adopt(changed) : outcome;
}

double CSimulation::FieldOffset() const
{
    return m_state->settings.fieldOffset;
}

COutcome CSimulation::SetImplementOffset(double metres)
{
    SimulationSettings changed = m_state->settings;
    COutcome outcome = Set(changed.implementOffset, kShift, metres);
    return outcome ? m_state->Adopt(changed) : outcome;
}

double CSimulation::ImplementOffset() const
{
    return m_state->settings.implementOffset;
}

COutcome CSimulation::SetSplinesUseImplementOffset(bool use)
{
    SimulationSettings changed = m_state->settings;
    changed.splinesUseImplementOffset = use;
    return m_state->Adopt(changed);
}

bool CSimulation::SplinesUseImplementOffset() const
{
    return m_state->settings.splinesUseImplementOffset;
}

double CSimulation::LineShift() const
{
    return State::ShiftOf(m_state->settings, *m_state->definition, m_state->facesAgainst);
}

COutcome CSimulation::SetImplementWidth(double metres)
{
    SimulationSettings changed = m_state->settings;
    COutcome outcome = Set(changed.implementWidth, kWidth, metres);
    return outcome ? m_state->Adopt(changed) : outcome;
}

double CSimulation::ImplementWidth() const
{
    return m_state->settings.implementWidth;
}

CTuning& CSimulation::Tuning()
{
    return m_state->settings.tuning;
}

const CTuning& CSimulation::Tuning() const
{
    return m_state->settings.tuning;
}

void CSimulation::SetGuide(EGuide guide)
{
    m_state->settings.guide = guide;
}

EGuide CSimulation::Guide() const
{
    return m_state->settings.guide;
}

void CSimulation::ResetIntegral()
{
    m_state->controller.ResetIntegral();
}

COutcome CSimulation::SetSpeedSetPoint(double metresPerSecond)
{
    return Set(m_state->settings.speedSetPoint, kSpeed, metresPerSecond);
}

double CSimulation::SpeedSetPoint() const
{
    return m_state->settings.speedSetPoint;
}

COutcome CSimulation::SetLookAheadTime(double seconds)
{
    return Set(m_state->settings.lookAheadTime, kLookAhead, seconds);
}

double CSimulation::LookAheadTime() const
{
    return m_state->settings.lookAheadTime;
}

COutcome CSimulation::SetCurveFilterSize(int points)
{
    int size = CurveFilterSize();
    COutcome outcome = Set(size, kFilter, points);
    return outcome && size != CurveFilterSize() ? m_state->Smooth(size) : outcome;
}

int CSimulation::CurveFilterSize() const
{
    return m_state->settings.curveFilterSize;
}

COutcome CSimulation::RestoreSettings()
{
    return m_state->Restore();
}
