#include "simulator/TuningOperations.h"

#include <string>

namespace {

/// A number that is no parameter's has no value to answer with, so that the call as a whole fails.
ETuning ParameterOf(int number)
{
    if (!IsTuning(number)) {
        throw UnusableArgument(std::to_string(number) +
                               " is no tuning parameter, allowed is 0 to " +
                               std::to_string(kTuningParameters - 1));
    }
    return static_cast<ETuning>(number);
}

} // namespace

void TuningOperationsC::Register(OperationTableC& table)
{
    using Self = TuningOperationsC;
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

std::vector<double> TuningOperationsC::GetTuningLimits(int parameter)
{
    const TuningLimits limits = m_simulation.Tuning().Limits(ParameterOf(parameter));
    return {limits.lowest, limits.start, limits.highest};
}

void TuningOperationsC::SetTuningLimits(int parameter, double lowest, double start, double highest)
{
    m_log.Carried("SetTuningLimits", m_simulation.Tuning().SetLimits(ParameterOf(parameter),
                                                                     {lowest, start, highest}));
}

double TuningOperationsC::GetTuningParameter(int parameter)
{
    return m_simulation.Tuning().Get(ParameterOf(parameter));
}

void TuningOperationsC::SetTuningParameter(int parameter, double value, bool keep)
{
    const ETuning tuning = ParameterOf(parameter);
    if (!m_log.Carried("set_tuning_parameter", m_simulation.Tuning().Set(tuning, value)))
        return;
    const double taken = m_simulation.Tuning().Get(tuning);
    const char* name = KeptSettingsC::kTuning[static_cast<std::size_t>(tuning)];
    if (taken != value) {
        m_log.Write(ELogLevel::Info, std::string(name) + " " + std::to_string(value) +
                                         " lies outside its limits and becomes " +
                                         std::to_string(taken));
    }
    m_kept.Keep(name, taken, keep);
}

void TuningOperationsC::ResetIntegral()
{
    m_simulation.ResetIntegral();
}

std::vector<double> TuningOperationsC::GetVelocitySetPoint()
{
    return {m_simulation.SpeedSetPoint()};
}

void TuningOperationsC::SetVelocitySetPoint(double metresPerSecond)
{
    m_log.Carried("SetVelocitySetPoint", m_simulation.SetSpeedSetPoint(metresPerSecond));
}

int TuningOperationsC::GetCurveFilterSize(LeadingOne)
{
    return m_simulation.CurveFilterSize();
}

void TuningOperationsC::SetCurveFilterSize(LeadingOne, int points)
{
    m_log.Carried("SetCurveFilterSize", m_simulation.SetCurveFilterSize(points));
}
