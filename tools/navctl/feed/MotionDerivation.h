#ifndef KESTROVE_TOOLS_NAVCTL_FEED_MOTIONDERIVATION_H
#define KESTROVE_TOOLS_NAVCTL_FEED_MOTIONDERIVATION_H

#include <optional>

#include "tools/navctl/feed/PositionSample.h"

/// Turns samples of an angle into its rate: the smallest turn since the last sample over the time
/// since then.
class CAngleRate
{
public:
    /// @param angle radians.
    /// @param time seconds.
    /// @return the rate since the last sample, radians per second; none for the first one. What
    ///         follows too closely does not count.
    std::optional<double> Update(double angle, double time);
    /// Forgets the samples and their rate.
    void Clear() { *this = {}; }
    /// The rate that Update() gave last.
    std::optional<double> Rate() const { return m_rate; }

private:
    std::optional<double> m_angle;
    double m_time = 0.0;
    std::optional<double> m_rate;
};

/// Derives what a receiver does not give from the samples before.
///
/// Speed is the distance from the last sample over the time since then, and course the direction of
/// the way there, both along the geodesic on the WGS 84 ellipsoid (Karney, "Algorithms for
/// Geodesics", 2013). Samples that lie less than 0.1 m apart show more of the receiver's noise than
/// of the machine's course, which then stays as it was. Rates are those of CAngleRate; the yaw rate
/// is that of the heading and, without one, of the course. The machine moves in reverse when it
/// moves at 0.3 m/s at least and its course points more than 90 degrees away from its heading.
///
/// Nothing is derived over less than 5 ms, in which a millimetre of noise would be 0.2 m/s. Times
/// of arrival say nothing of samples that come in a burst: of those that come within 20 ms, neither
/// speed nor rates are derived. Where the time starts anew, nothing is derived or kept from before.
class CMotionDerivation
{
public:
    /// Fills in what is empty of course, speed, yaw, yaw rate and reversing, and the rates of roll
    /// and pitch where the sample has these. The yaw becomes the course when the sample has none;
    /// HeadingIsValid() says so. Course, speed and yaw rate that cannot be known yet are 0, as
    /// services need them. A sample without a valid position does not count as one before.
    ///
    /// @param sample with its time.
    void Complete(PositionSample& sample);

    /// Whether the last sample came with a yaw of its own.
    bool HeadingIsValid() const { return m_headingIsValid; }

private:
    struct Place
    {
        double latitude;
        double longitude;
        double time;
    };

    void ForgetTimes();
    void AddSpeed(PositionSample& sample);
    void AddCourse(PositionSample& sample);
    void AddRates(PositionSample& sample);

    bool m_headingIsValid = false;
    std::optional<Place> m_last;
    std::optional<double> m_lastTime;
    std::optional<Place> m_courseBegins;
    bool m_courseIsNew = false;
    double m_lastSpeed = 0.0;
    double m_lastCourse = 0.0;
    CAngleRate m_rollRate;
    CAngleRate m_pitchRate;
    CAngleRate m_headingRate;
    CAngleRate m_courseRate;
};

#endif
