#ifndef KESTROVE_SIMULATOR_OPERATIONS_SAMPLECLOCK_H
#define KESTROVE_SIMULATOR_OPERATIONS_SAMPLECLOCK_H

#include <functional>
#include <optional>

/// The Unix time now, seconds.
using UnixClock = std::function<double()>;

/// Finds out how old samples are when they arrive, by the times that they carry.
///
/// A time within a second of the system's clock is one of the same clock, since a terminal sets its
/// own by satellites. Otherwise the two clocks' offset is taken for that of the sample that took
/// least on its way: so a delay that changes is seen, and one that all samples have is not.
class CSampleClock
{
public:
    /// @param system the system's clock; empty to learn the offset always.
    explicit CSampleClock(UnixClock system) : m_system(std::move(system)) {}

    /// The age of a sample that arrives now, seconds from 0 to 1.
    /// @param measured the sample's time, Unix time in seconds; samples whose time does not go on
    ///        are of age 0.
    /// @param present any clock that goes on, seconds; used without a system's clock.
    double Age(double measured, double present);
    /// Whether the offset of the last sample's clock had to be learned though there is a system's
    /// clock.
    bool HasLearned() const { return m_learned; }

private:
    double LearnedAge(double delay, double arrived);

    UnixClock m_system;
    std::optional<double> m_lastMeasured;
    std::optional<double> m_leastDelay; ///< of the way and the clocks, seconds
    double m_lastArrived = 0.0;
    bool m_learned = false;
};

#endif
