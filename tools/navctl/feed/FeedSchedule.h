#ifndef KESTROVE_TOOLS_NAVCTL_FEED_FEEDSCHEDULE_H
#define KESTROVE_TOOLS_NAVCTL_FEED_FEEDSCHEDULE_H

#include <optional>

/// When samples are due: the first one at once, the others in the time of the file, made faster or
/// slower.
class CFeedSchedule
{
public:
    /// @param rate how many times as fast as the file's own time; empty when samples are due as
    ///        soon as they are there.
    explicit CFeedSchedule(std::optional<double> rate) : m_rate(rate) {}

    /// The longest stretch of the file's time without a sample that is waited for, seconds: an
    /// hour, and what rounding may add to it.
    static constexpr double kLongestGap = 3601.0;

    /// When a sample is due, on the clock of `now`. Behind a gap that is too long, at once.
    ///
    /// @param sampleTime the file's time of the sample, seconds.
    /// @param now the clock's time, seconds.
    double DueAt(double sampleTime, double now)
    {
        if (!m_rate) {
            return now;
        }
        if (!m_start || sampleTime - m_lastTime > kLongestGap) {
            m_start = now - sampleTime / *m_rate;
        }
        m_lastTime = sampleTime;
        return *m_start + sampleTime / *m_rate;
    }

    /// How long so much of the file's time takes, seconds; 0 when nothing is waited for.
    double SecondsFor(double fileSeconds) const { return m_rate ? fileSeconds / *m_rate : 0.0; }

    /// Has the samples that follow keep their distance to the present one, which comes late.
    ///
    /// @param sampleTime the file's time of the present sample, seconds.
    /// @param now the clock's time, seconds.
    void GoOnFrom(double sampleTime, double now)
    {
        m_lastTime = sampleTime;
        if (m_rate) {
            m_start = now - sampleTime / *m_rate;
        }
    }

private:
    std::optional<double> m_rate;
    std::optional<double> m_start;
    double m_lastTime = 0.0;
};

#endif
