#include "simulator/machine/Steering.h"

#include <algorithm>

double SteeringAfterStep(double angle, double command)
{
    return ValveAfterStep(angle, command, {});
}

CSteering::CSteering(double centreBias, double backlash)
    : m_centreBias(centreBias), m_halfPlay(backlash / 2.0)
{
}

void CSteering::Step(double command)
{
    const double arriving = m_pending[m_next];
    m_pending[m_next] = command;
    m_next = (m_next + 1) % m_pending.size();
    m_actuator = ValveAfterStep(m_actuator, arriving, m_valve);
    // The wheels rest until the actuator has crossed the play, then go along with it.
    m_follower = std::clamp(m_follower, m_actuator - m_halfPlay, m_actuator + m_halfPlay);
}

double CSteering::WheelAngle() const
{
    return std::clamp(m_follower + m_centreBias, -kSteeringStop, kSteeringStop);
}
