#include "tools/navctl/feed/MotionDerivation.h"

#include <cmath>

#include <GeographicLib/Geodesic.hpp>

#include "tools/navctl/files/Angle.h"

namespace {

constexpr double kLeastWayForCourse = 0.1;
constexpr double kLeastMovingSpeed = 0.3;
constexpr double kLeastSecondsBetween = 0.005;
constexpr double kLeastSecondsBetweenArrivals = 0.02;

struct Way
{
    double length = 0.0;    ///< metres
    double direction = 0.0; ///< radians, clockwise from north
};

Way WayBetween(double latitude1, double longitude1, double latitude2, double longitude2)
{
    Way way;
    double startAzimuth = 0.0;
    double endAzimuth = 0.0;
    GeographicLib::Geodesic::WGS84().Inverse(latitude1, longitude1, latitude2, longitude2,
                                             way.length, startAzimuth, endAzimuth);
    // Where the way ends is where the machine is now.
    way.direction = NormalisedHeading(Radians(endAzimuth));
    return way;
}

} // namespace

std::optional<double> CAngleRate::Update(double angle, double time)
{
    if (m_angle && time - m_time < kLeastSecondsBetween) {
        return m_rate;
    }
    if (m_angle) {
        m_rate = SmallestTurn(*m_angle, angle) / (time - m_time);
    }
    m_angle = angle;
    m_time = time;
    return m_rate;
}

void CMotionDerivation::Complete(PositionSample& sample)
{
    const bool isInABurst = sample.timeIsOfArrival && m_lastTime &&
                            *sample.time - *m_lastTime < kLeastSecondsBetweenArrivals;
    m_lastTime = sample.time;
    if (isInABurst || sample.startsAnew) {
        ForgetTimes();
    }
    // Another recording may begin here.
    if (sample.startsAnew) {
        m_courseBegins.reset();
        m_lastSpeed = m_lastCourse = 0.0;
    }
    m_headingIsValid = sample.yaw.has_value();
    AddSpeed(sample);
    AddCourse(sample);
    AddRates(sample);
    if (!sample.reversing) {
        sample.reversing = m_headingIsValid && *sample.speed >= kLeastMovingSpeed &&
                           std::cos(*sample.course - *sample.yaw) < 0.0;
    }
    if (sample.positionValid && (!m_last || *sample.time - m_last->time >= kLeastSecondsBetween)) {
        m_last = Place{sample.latitude, sample.longitude, *sample.time};
    }
}

/// What was derived stays, but nothing is derived from before.
void CMotionDerivation::ForgetTimes()
{
    m_last.reset();
    for (CAngleRate* rate : {&m_rollRate, &m_pitchRate, &m_headingRate, &m_courseRate}) {
        rate->Clear();
    }
}

void CMotionDerivation::AddSpeed(PositionSample& sample)
{
    if (!sample.speed && sample.positionValid && m_last &&
        *sample.time - m_last->time >= kLeastSecondsBetween) {
        const Way way =
            WayBetween(m_last->latitude, m_last->longitude, sample.latitude, sample.longitude);
        sample.speed = way.length / (*sample.time - m_last->time);
    }
    if (!sample.speed) {
        sample.speed = m_lastSpeed;
    }
    m_lastSpeed = *sample.speed;
}

void CMotionDerivation::AddCourse(PositionSample& sample)
{
    m_courseIsNew = sample.course.has_value();
    if (sample.positionValid) {
        if (!m_courseBegins) {
            m_courseBegins = Place{sample.latitude, sample.longitude, *sample.time};
        }
        const Way way = WayBetween(m_courseBegins->latitude, m_courseBegins->longitude,
                                   sample.latitude, sample.longitude);
        if (way.length >= kLeastWayForCourse) {
            m_courseBegins = Place{sample.latitude, sample.longitude, *sample.time};
            if (!sample.course) {
                sample.course = way.direction;
            }
            m_courseIsNew = true;
        }
    }
    if (!sample.course) {
        sample.course = m_lastCourse;
    }
    m_lastCourse = *sample.course;
}

void CMotionDerivation::AddRates(PositionSample& sample)
{
    const double time = *sample.time;
    if (!m_headingIsValid) {
        sample.yaw = sample.course;
    }
    const std::optional<double> courseRate =
        m_courseIsNew ? m_courseRate.Update(*sample.course, time) : m_courseRate.Rate();
    const bool moves = *sample.speed >= kLeastMovingSpeed;
    const std::optional<double> yawRate = m_headingIsValid ? m_headingRate.Update(*sample.yaw, time)
                                          : moves          ? courseRate
                                                           : std::nullopt;
    if (!sample.yawRate) {
        sample.yawRate = yawRate.value_or(0.0);
    }
    if (sample.roll && !sample.rollRate) {
        sample.rollRate = m_rollRate.Update(*sample.roll, time);
    }
    if (sample.pitch && !sample.pitchRate) {
        sample.pitchRate = m_pitchRate.Update(*sample.pitch, time);
    }
}
