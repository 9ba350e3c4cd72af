#include "simulator/operations/OffsetOperations.h"

#include <optional>

#include "simulator/aside/LongWork.h"

void COffsetOperations::Register(COperationTable& table)
{
    using Self = COffsetOperations;
    table.Add("Nudge", *this, &Self::Nudge);
    table.Add("AutoSetNudge", *this, &Self::AutoSetNudge);
    table.Add("get_nudge_vector", *this, &Self::GetNudgeVector);
    table.Add("get_nudge", *this, &Self::GetNudge);
    table.Add("set_nudge", *this, &Self::SetNudge);
    table.Add("AutoSetFieldOffset", *this, &Self::AutoSetFieldOffset);
    table.Add("SetFieldOffset", *this, &Self::SetFieldOffset);
    table.Add("GetFieldOffset", *this, &Self::GetFieldOffset);
    table.Add("SetImplementOffset", *this, &Self::SetImplementOffset);
    table.Add("GetImplementOffset", *this, &Self::GetImplementOffset);
    table.Add("SetSplinesUseImplementOffset", *this, &Self::SetSplinesUseImplementOffset);
    table.Add("SetImplementWidth", *this, &Self::SetImplementWidth);
    table.Add("GetImplementWidth", *this, &Self::GetImplementWidth);
}

StatusAndVector COffsetOperations::Nudge(LeadingOne, bool add, double amount)
{
    const double nudge = add ? m_simulation.Nudge() + amount : amount;
    const bool done = m_log.Carried("Nudge", m_simulation.SetNudge(nudge));
    return {done ? 1 : 0, GetNudgeVector()};
}

StatusAndVector COffsetOperations::AutoSetNudge(LeadingOne)
{
    const bool done = m_log.Carried(
        "AutoSetNudge", ShiftUnderMachine(&CSimulation::SetNudge, m_simulation.Nudge()));
    return {done ? 1 : 0, GetNudgeVector()};
}

Core::Maths::Vector3<double> COffsetOperations::GetNudgeVector()
{
    const std::optional<Point> right = m_simulation.RightOfLine();
    if (!right) {
        return {};
    }
    // Adding 0 makes a plain 0 of one with a minus sign.
    return {m_simulation.Nudge() * right->x + 0.0, m_simulation.Nudge() * right->y + 0.0, 0.0};
}

double COffsetOperations::GetNudge(LeadingOne)
{
    return m_simulation.Nudge();
}

void COffsetOperations::SetNudge(LeadingOne, double nudge)
{
    m_log.Carried("set_nudge", m_simulation.SetNudge(nudge));
}

bool COffsetOperations::AutoSetFieldOffset(LeadingOne)
{
    return m_log.Carried("AutoSetFieldOffset", ShiftUnderMachine(&CSimulation::SetFieldOffset,
                                                                 m_simulation.FieldOffset()));
}

bool COffsetOperations::SetFieldOffset(LeadingOne, double offset)
{
    return m_log.Carried("SetFieldOffset", m_simulation.SetFieldOffset(offset));
}

double COffsetOperations::GetFieldOffset(LeadingOne)
{
    return m_simulation.FieldOffset();
}

bool COffsetOperations::SetImplementOffset(LeadingOne, double offset)
{
    return m_log.Carried("SetImplementOffset", m_simulation.SetImplementOffset(offset));
}

double COffsetOperations::GetImplementOffset(LeadingOne)
{
    return m_simulation.ImplementOffset();
}

void COffsetOperations::SetSplinesUseImplementOffset(bool use)
{
    m_log.Carried("SetSplinesUseImplementOffset", m_simulation.SetSplinesUseImplementOffset(use));
}

bool COffsetOperations::SetImplementWidth(LeadingOne, double width)
{
    return m_log.Carried("SetImplementWidth", m_simulation.SetImplementWidth(width));
}

double COffsetOperations::GetImplementWidth(LeadingOne)
{
    return m_simulation.ImplementWidth();
}

COutcome COffsetOperations::ShiftUnderMachine(COutcome (CSimulation::*set)(double), double present)
{
    if (!m_simulation.HasLine()) {
        return COutcome::Refused("there is no wayline");
    }
    // Once for all attempts: a machine that moves on meanwhile must not begin the calculation anew.
    const double aside = present + m_simulation.Status().crossTrackError;
    return (m_simulation.*set)(*Calculated<double>(m_work, {"shift under the machine"},
                                                   EWork::Query, 1, [aside] { return aside; }));
}
