#include "simulator/machine/Corrections.h"

#include <algorithm>

void CCorrections::Step(double seconds, bool come, bool isCovered)
{
    m_isCovered = isCovered;
    m_age = come ? kUsualAge : m_age + seconds;
    if (isCovered || m_age > kFixedSeconds) {
        m_fixing = kFixingSeconds;
    } else {
        m_fixing = std::max(m_fixing - seconds, 0.0);
    }
}

EFix CCorrections::Fix() const
{
    if (m_isCovered) {
        return EFix::None;
    }
    if (m_age > kFloatSeconds) {
        return EFix::Single;
    }
    return m_fixing > 0.0 ? EFix::Float : EFix::Fixed;
}
