#include "simulator/operations/TuningOperations.h"

#include <string>

namespace {

COutcome Known(int parameter)
{
    if (IsTuning(parameter)) {
        return COutcome::Done();
    }
    return COutcome::Refused(std::to_string(parameter) +
                             " is no tuning parameter, allowed is 0 to " +
                             std::to_string(kTuningParameters - 1));
}

} // namespace

void CTuningOperations::Register(COperationTable& table)
{
    using Self = CTuningOperations;
    table.Add("GetTuningLimits", *this, &Self::GetTuningLimits);
    table.Add("SetTuningLimits", *this, &Self::SetTuningLimits);
    table.Add("get_tuning_parameter", *this, &Self::GetTuningParameter);
    table.Add("set_tuning_parameter", *this, &Self::SetTuningParameter);
    table.Add("reset_integral", *this, &Self::ResetIntegral);
    table.Add("GetVelocitySetPoint", *this, &Self::GetVelocitySetPoint);
    table.Add("SetVelocitySetPoint", *this, &Self::SetVelocitySetPoint);
    table.Add("GetCurveFilterSize", *this, &Self::GetCurveFilterSize);
    table.Add("SetCurveFilterSize", *this, &Self::SetCurveFilterSize);
}

Value CTuningOperations::GetTuningLimits(int parameter)
{
    if (!m_log.Carried("GetTuningLimits", Known(parameter))) {
        return nullptr;
    }
    const auto limits = m_simulation.Tuning().Limits(static_cast<ETuning>(parameter)).Values();
    return ToValue(std::vector<double>(limits.begin(), limits.end()));
}

void CTuningOperations::SetTuningLimits(int parameter, double lowest, double start, double highest)
{
    if (m_log.Carried("SetTuningLimits", Known(parameter))) {
        m_log.Carried("SetTuningLimits",
                      m_simulation.Tuning().SetLimits(static_cast<ETuning>(parameter),
                                                      {lowest, start, highest}));
    }
}

Value CTuningOperations::GetTuningParameter(int parameter)
{
    if (!m_log.Carried("get_tuning_parameter", Known(parameter))) {
        return nullptr;
    }
    return ToValue(m_simulation.Tuning().Get(static_cast<ETuning>(parameter)));
}

void CTuningOperations::SetTuningParameter(int parameter, double value, bool keep)
{
    CTuning& tuning = m_simulation.Tuning();
    const auto number = static_cast<ETuning>(parameter);
    if (!m_log.Carried("set_tuning_parameter", Known(parameter)) ||
        !m_log.Carried("set_tuning_parameter", tuning.Set(number, value))) {
        return;
    }
    const double taken = tuning.Get(number);
    if (taken != value) {
        m_log.Write(ELogLevel::Info,
                    std::string(CKeptSettings::kTuning[static_cast<std::size_t>(parameter)]) + " " +
                        std::to_string(value) + " lies outside its limits and becomes " +
                        std::to_string(taken));
    }
    m_kept.KeepTuning(number, tuning, keep);
}

void CTuningOperations::ResetIntegral()
{
    m_simulation.ResetIntegral();
}

std::vector<double> CTuningOperations::GetVelocitySetPoint()
{
    return {m_simulation.SpeedSetPoint()};
}

void CTuningOperations::SetVelocitySetPoint(double metresPerSecond)
{
    m_log.Carried("SetVelocitySetPoint", m_simulation.SetSpeedSetPoint(metresPerSecond));
}

int CTuningOperations::GetCurveFilterSize(LeadingOne)
{
    return m_simulation.CurveFilterSize();
}

void CTuningOperations::SetCurveFilterSize(LeadingOne, int points)
{
    m_log.Carried("SetCurveFilterSize", m_simulation.SetCurveFilterSize(points));
}
