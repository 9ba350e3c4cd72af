#include "simulator/guidance/TrackingLaw.h"

#include <algorithm>
#include <cmath>

#include "simulator/machine/Machine.h"

namespace {

/// The speed at which the look-ahead distance is the look-ahead time's, metres per second.
constexpr double kReferenceSpeed = 2.5;
/// The look-ahead distance grows with this power of the speed for a speed adjustment of 1.
constexpr double kSpeedExponent = .6;
constexpr double kLeastLookAhead = 2.0;
constexpr double kMostLookAhead = 60.0;
/// For a tuning of 1 and no more than.
constexpr double kApproachAngle = Radians(25.0);
constexpr double kGreatestApproachAngle = Radians(50.0);
constexpr double kSteeringRate = Radians(18.0);
/// How much of the steering rate the switching curve counts on, which leaves some for errors.
constexpr double kCountedRate = 0.7;
/// The line's curvature centre is kept at a distance, in parts of the radius.
constexpr double kLeastLengthening = 0.2;

double LengtheningAt(const TrackingError& error)
{
    return std::max(kLeastLengthening, 1.0 - error.lineCurvature * error.crossTrack);
}

} // namespace

TrackingGains GainsFor(const CTuning& tuning, double lookAheadTime, double speed)
{
    const double exponent = kSpeedExponent * tuning.Get(ETuning::SpeedAdjust);
    const double lookAhead =
        std::clamp(lookAheadTime * kReferenceSpeed * std::pow(speed / kReferenceSpeed, exponent),
                   kLeastLookAhead, kMostLookAhead);
    const double aggressiveness = tuning.Get(ETuning::Aggressiveness);
    const double rate = std::min(kSteeringRate * aggressiveness, kSteeringRateLimit);
    // 4 over the look-ahead distance makes the approach critically damped.
    return {lookAhead,
            tuning.Get(ETuning::Sensitivity),
            4.0 * tuning.Get(ETuning::Overshoot) / lookAhead,
            std::tan(std::min(kApproachAngle * aggressiveness, kGreatestApproachAngle)),
            rate,
            rate / (kWheelbase * speed)};
}

Approach ApproachOf(const TrackingError& error, const TrackingGains& gains)
{
    const double slope = LengtheningAt(error) * std::tan(error.course);
    const double wanted = -gains.sensitivity * error.crossTrack / gains.lookAheadDistance;
    // A limit that comes in smoothly, as the steering cannot follow a sudden one.
    const double limited = gains.greatestSlope * std::tanh(wanted / gains.greatestSlope);
    return {slope - limited, limited};
}

double TrackingCurvature(const TrackingError& error, const TrackingGains& gains)
{
    const double stretch = LengtheningAt(error);
    const double tangent = std::tan(error.course);
    const double cosine = std::cos(error.course);
    const double slope = stretch * tangent;
    const double slopeError = ApproachOf(error, gains).slopeError;
    const double inTime = std::sqrt(2.0 * kCountedRate * gains.bendRate * std::abs(slopeError));
    const double slopeChange = std::clamp(-gains.damping * slopeError, -inTime, inTime);
    // The change of the line's curvature along it is small beside the rest and left out.
    const double turn =
        (slopeChange + error.lineCurvature * slope * tangent) * cosine * cosine / stretch;
    return (turn + error.lineCurvature) * cosine / stretch;
}
