#include "simulator/operations/PositionFeed.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <GeographicLib/LocalCartesian.hpp>

/// The local frame: x east, y north, z up at the origin.
class CPositionFeed::CFrame
{
public:
    explicit CFrame(const GeodeticPlace& origin)
        : m_frame(origin.latitude, origin.longitude, origin.height)
    {
    }

    /// Where a sample is in the frame, with its heading and course as seen from the origin: far
    /// from it, north is another direction.
    FedPosition ToLocal(const PositionSample& sample, double& height) const
    {
        FedPosition fed;
        std::vector<double> rotation(9);
        m_frame.Forward(sample.latitude, sample.longitude, sample.height, fed.position.x,
                        fed.position.y, height, rotation);
        fed.valid = sample.positionValid;
        fed.course = Turned(sample.courseOverGround, rotation);
        if (sample.headingValid) {
            fed.heading = Turned(sample.yaw, rotation);
        }
        fed.speed = sample.groundSpeed;
        fed.reverse = sample.movesInReverse;
        // What is not a number is what nobody knows.
        fed.yawRate = std::isfinite(sample.yawRate) ? sample.yawRate : 0.0;
        const double sigma = std::max(sample.sigmaEast, sample.sigmaNorth);
        fed.sigma = std::isfinite(sigma) ? sigma : 0.0;
        fed.fixQuality = sample.fixQuality;
        fed.number = sample.number;
        fed.time = sample.unixTime;
        return fed;
    }

private:
    static double Turned(double heading, const std::vector<double>& rotation)
    {
        const double east = std::sin(heading);
        const double north = std::cos(heading);
        return NormaliseHeading(std::atan2(rotation[0] * east + rotation[1] * north,
                                           rotation[3] * east + rotation[4] * north));
    }

    GeographicLib::LocalCartesian m_frame;
};

CPositionFeed::CPositionFeed(CSimulation& simulation, UnixClock clock)
    : m_simulation(simulation), m_clock(std::move(clock))
{
}

CPositionFeed::~CPositionFeed() = default;

COutcome CPositionFeed::SetOrigin(const GeodeticPlace& place)
{
    PositionSample there;
    there.latitude = place.latitude;
    there.longitude = place.longitude;
    there.height = place.height;
    const std::string problem = ImpossibleInSample(there);
    if (!problem.empty()) {
        return COutcome::Refused(problem);
    }
    m_frame = std::make_unique<CFrame>(place);
    m_origin = place;
    m_knownHeight = place.height;
    return COutcome::Done();
}

COutcome CPositionFeed::Feed(const PositionSample& told)
{
    PositionSample sample = told;
    // Where nobody knows the height, the machine stays at the last one that was known.
    if (std::isnan(sample.height)) {
        sample.height = m_knownHeight;
    }
    if (!sample.positionValid) {
        return COutcome::Refused("the position is marked as not valid");
    }
    const std::string problem = ImpossibleInSample(sample);
    if (!problem.empty()) {
        return COutcome::Refused(problem);
    }
    if (!m_frame) {
        m_origin = {sample.latitude, sample.longitude, sample.height};
        m_frame = std::make_unique<CFrame>(*m_origin);
    }
    double height = 0.0;
    FedPosition local = m_frame->ToLocal(sample, height);
    local.age = m_clock.Age(sample.unixTime, m_simulation.Time());
    COutcome outcome = m_simulation.Feed(local);
    if (outcome) {
        m_height = height;
        m_knownHeight = sample.height;
    }
    return outcome;
}

double CPositionFeed::Height() const
{
    return m_simulation.FedMode() ? m_height : 0.0;
}
