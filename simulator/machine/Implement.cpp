#include "simulator/machine/Implement.h"

#include <algorithm>
#include <cmath>

namespace {

/// How far a drawbar swings to either side before it leans against the machine.
constexpr double kGreatestSwing = Radians(80.0);
/// A hitch that is farther away after a step has not driven there, metres.
constexpr double kGreatestJump = 1.0;

} // namespace

double BarAfter(double direction, double course, double distance, double bar)
{
    const double angle = NormaliseTurn(direction - course);
    return course + 2.0 * std::atan(std::tan(angle / 2.0) * std::exp(-distance / bar));
}

CImplement::CImplement(const ImplementGeometry& geometry, const Pose& machine)
    : m_geometry(geometry)
{
    Straighten(machine);
}

void CImplement::Straighten(const Pose& machine)
{
    m_hitch = Moved(machine.position, machine.heading, -m_geometry.behind, 0.0);
    m_heading = machine.heading;
}

void CImplement::Follow(const Pose& machine)
{
    const Point hitch = Moved(machine.position, machine.heading, -m_geometry.behind, 0.0);
    const double distance = Distance(m_hitch, hitch);
    if (m_geometry.drawbar <= 0.0 || distance > kGreatestJump) {
        Straighten(machine);
        return;
    }
    if (distance > 0.0) {
        const double course = std::atan2(hitch.x - m_hitch.x, hitch.y - m_hitch.y);
        m_heading = BarAfter(m_heading, course, distance, m_geometry.drawbar);
    }
    const double swing = NormaliseTurn(m_heading - machine.heading);
    m_heading =
        NormaliseHeading(machine.heading + std::clamp(swing, -kGreatestSwing, kGreatestSwing));
    m_hitch = hitch;
}

Point CImplement::Middle(double aside) const
{
    return Moved(m_hitch, m_heading, -m_geometry.drawbar, -aside);
}
