#include "simulator/operations/SampleClock.h"

#include <algorithm>
#include <cmath>

namespace {

/// Clocks that are no farther apart are one, and no sample is taken for older, seconds.
constexpr double kSameClock = 1.0;
constexpr double kGreatestAge = 1.0;
/// How fast the least delay is forgotten, seconds a second: clocks drift apart.
constexpr double kForgetting = 0.005;

} // namespace

double CSampleClock::Age(double measured, double present)
{
    const bool goesOn = std::isfinite(measured) && measured > 0.0 && m_lastMeasured != measured;
    m_lastMeasured = measured;
    const double arrived = m_system ? m_system() : present;
    const double delay = arrived - measured;
    m_learned = false;
    if (!goesOn) {
        return 0.0;
    }
    if (m_system && std::abs(delay) <= kSameClock) {
        return std::max(0.0, delay);
    }
    m_learned = static_cast<bool>(m_system);
    return LearnedAge(delay, arrived);
}

double CSampleClock::LearnedAge(double delay, double arrived)
{
    if (m_leastDelay) {
        *m_leastDelay += kForgetting * std::max(0.0, arrived - m_lastArrived);
        // One of the clocks has been set.
        if (delay - *m_leastDelay > kGreatestAge) {
            m_leastDelay.reset();
        }
    }
    m_lastArrived = arrived;
    m_leastDelay = std::min(delay, m_leastDelay.value_or(delay));
    return std::min(delay - *m_leastDelay, kGreatestAge);
}
