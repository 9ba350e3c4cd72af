#include "simulator/guidance/FedEstimator.h"

#include <algorithm>
#include <cmath>

#include "simulator/machine/Steering.h"

namespace {

/// The movement is carried on so long without a sample, seconds.
constexpr double kCarriedOn = 1.5;
/// A command has done half its work after the dead time and so much of the lag.
constexpr double kLagShare = 0.4;
/// Over what time it is averaged by how much the machine turns otherwise than commanded, seconds.
constexpr double kOffsetSeconds = 1.0;
/// The position's sigma is taken for no less and no more than that, metres, and for kUsualSigma
/// where nobody knows it.
constexpr double kLeastSigma = 0.005;
constexpr double kMostSigma = 0.5;
constexpr double kUsualSigma = 0.015;
constexpr double kHeadingSigma = Radians(0.2);
constexpr double kCourseSigma = Radians(3.0);
/// A course that is so far off what is known is not measured, radians.
constexpr double kGreatestCourseError = Radians(10.0);
/// Slower than that a course says nothing, metres per second.
constexpr double kLeastCrabSpeed = 0.5;
/// What may happen in a second beside the model, one sigma.
constexpr double kStrayMetres = 0.003;
constexpr double kStrayHeading = Radians(0.15);
constexpr double kStrayUnmeasuredHeading = Radians(3.0);
constexpr double kStraySlip = Radians(0.4);
/// The side slip to expect at the start, and the greatest one, radians.
constexpr double kStartSlip = Radians(1.0);
constexpr double kGreatestSlip = Radians(20.0);
/// What is farther off has not been driven: the filter begins anew there.
constexpr double kGreatestDriven = 1.0;
constexpr double kGreatestTurn = Radians(30.0);

double SquareOf(double value)
{
    return value * value;
}

} // namespace

void CFedEstimator::Step(double commanded)
{
    m_response.Step(commanded);
    m_age += kMachineStepSeconds;
}

FedMotion CFedEstimator::Moved(double from, double to, double yawRateRamp) const
{
    FedMotion motion = m_motion;
    const double start = m_response.CurvatureAgo(from);
    const double seconds = std::min(from - to, kCarriedOn);
    const int pieces = std::max(1, static_cast<int>(std::ceil(seconds / kMachineStepSeconds)));
    const double piece = seconds / pieces;
    const auto yawRateAfter = [&](double after) {
        return m_motion.yawRate + m_speed * (m_response.CurvatureAgo(from - after) - start) +
               yawRateRamp * after / std::max(seconds, kMachineStepSeconds);
    };
    for (int i = 0; i < pieces && seconds > 0.0; ++i) {
        const double turn = piece * yawRateAfter((i + 0.5) * piece);
        motion.pose.position =
            ::Moved(motion.pose.position, motion.pose.heading + turn / 2.0 + motion.sideSlip,
                    m_speed * piece, 0.0);
        motion.pose.heading += turn;
    }
    motion.pose.heading = NormaliseHeading(motion.pose.heading);
    motion.yawRate = yawRateAfter(seconds);
    return motion;
}

FedMotion CFedEstimator::Now() const
{
    return Moved(m_age, 0.0, 0.0);
}

FedMotion CFedEstimator::WhenCommandActs() const
{
    return Moved(m_age, -m_response.DeadTime() - kLagShare * m_response.Lag(), 0.0);
}

void CFedEstimator::Start(const FedMeasurement& sample)
{
    m_motion = {{sample.pose.position, NormaliseHeading(sample.pose.heading)}, 0.0, 0.0};
    if (sample.headingKnown && sample.course && std::abs(sample.speed) >= kLeastCrabSpeed) {
        const double crab =
            NormaliseTurn(*sample.course - sample.pose.heading - (sample.speed < 0.0 ? kPi : 0.0));
        m_motion.sideSlip = std::abs(crab) <= kGreatestCourseError ? crab : 0.0;
    }
    const double sigma =
        sample.sigma > 0.0 ? std::clamp(sample.sigma, kLeastSigma, kMostSigma) : kUsualSigma;
    m_covariance = {};
    m_covariance[kX][kX] = m_covariance[kY][kY] = SquareOf(sigma);
    m_covariance[kHeading][kHeading] = SquareOf(kHeadingSigma);
    m_covariance[kSlip][kSlip] = sample.headingKnown ? SquareOf(kStartSlip) : 0.0;
    m_started = true;
}

CFedEstimator::Matrix CFedEstimator::PropagatedCovariance(double driven) const
{
    const double course = m_motion.pose.heading + m_motion.sideSlip;
    Matrix transition{};
    for (std::size_t i = 0; i < kStates; ++i) {
        transition[i][i] = 1.0;
    }
    transition[kX][kHeading] = transition[kX][kSlip] = driven * std::cos(course);
    transition[kY][kHeading] = transition[kY][kSlip] = -driven * std::sin(course);
    Matrix half{};
    Matrix propagated{};
    for (std::size_t i = 0; i < kStates; ++i) {
        for (std::size_t j = 0; j < kStates; ++j) {
            for (std::size_t k = 0; k < kStates; ++k) {
                half[i][j] += transition[i][k] * m_covariance[k][j];
            }
        }
    }
    for (std::size_t i = 0; i < kStates; ++i) {
        for (std::size_t j = 0; j < kStates; ++j) {
            for (std::size_t k = 0; k < kStates; ++k) {
                propagated[i][j] += half[i][k] * transition[j][k];
            }
        }
    }
    return propagated;
}

void CFedEstimator::Propagate(const FedMeasurement& sample, double seconds)
{
    const double from = m_age;
    const double to = sample.age;
    const FedMotion foreseen = Moved(from, to, 0.0);
    const double ramp = m_yawRateKnown ? sample.yawRate.value_or(0.0) - foreseen.yawRate : 0.0;
    m_motion = Moved(from, to, ramp);

    Matrix propagated = PropagatedCovariance(m_speed * seconds);
    const double stray = m_yawRateKnown ? kStrayHeading : kStrayUnmeasuredHeading;
    propagated[kX][kX] += SquareOf(kStrayMetres) * seconds;
    propagated[kY][kY] += SquareOf(kStrayMetres) * seconds;
    propagated[kHeading][kHeading] += SquareOf(stray) * seconds;
    if (sample.headingKnown && m_speed != 0.0) {
        propagated[kSlip][kSlip] += SquareOf(kStraySlip) * seconds;
    }
    m_covariance = propagated;
}

void CFedEstimator::Apply(const std::array<double, kStates>& observed, double innovation,
                          double variance)
{
    std::array<double, kStates> gain{};
    double total = variance;
    for (std::size_t i = 0; i < kStates; ++i) {
        for (std::size_t j = 0; j < kStates; ++j) {
            gain[i] += m_covariance[i][j] * observed[j];
        }
        total += observed[i] * gain[i];
    }
    const std::array<double, kStates> row = gain;
    for (double& share : gain) {
        share /= total;
    }
    for (std::size_t i = 0; i < kStates; ++i) {
        for (std::size_t j = 0; j < kStates; ++j) {
            m_covariance[i][j] -= gain[i] * row[j];
        }
    }
    m_motion.pose.position.x += gain[kX] * innovation;
    m_motion.pose.position.y += gain[kY] * innovation;
    m_motion.pose.heading = NormaliseHeading(m_motion.pose.heading + gain[kHeading] * innovation);
    m_motion.sideSlip =
        std::clamp(m_motion.sideSlip + gain[kSlip] * innovation, -kGreatestSlip, kGreatestSlip);
}

void CFedEstimator::CorrectBy(const FedMeasurement& sample)
{
    const double variance = SquareOf(
        sample.sigma > 0.0 ? std::clamp(sample.sigma, kLeastSigma, kMostSigma) : kUsualSigma);
    Apply({1.0, 0.0, 0.0, 0.0}, sample.pose.position.x - m_motion.pose.position.x, variance);
    Apply({0.0, 1.0, 0.0, 0.0}, sample.pose.position.y - m_motion.pose.position.y, variance);
    Apply({0.0, 0.0, 1.0, 0.0}, NormaliseTurn(sample.pose.heading - m_motion.pose.heading),
          SquareOf(kHeadingSigma));
    if (sample.headingKnown && sample.course && std::abs(sample.speed) >= kLeastCrabSpeed) {
        const double off = NormaliseTurn(*sample.course - (sample.speed < 0.0 ? kPi : 0.0) -
                                         m_motion.pose.heading - m_motion.sideSlip);
        if (std::abs(off) <= kGreatestCourseError) {
            Apply({0.0, 0.0, 1.0, 1.0}, off, SquareOf(kCourseSigma));
        }
    }
}

void CFedEstimator::SettleYawRate(const FedMeasurement& sample, double seconds)
{
    const double rate = sample.yawRate.value_or(0.0);
    const double answered = sample.speed * m_response.CurvatureAgo(sample.age);
    const double share = seconds > 0.0 ? 1.0 - std::exp(-seconds / kOffsetSeconds) : 1.0;
    if (std::abs(sample.speed) >= kLeastCrabSpeed) {
        m_offset += share * ((rate - answered) / sample.speed - m_offset);
    }
    m_motion.yawRate = answered + m_offset * sample.speed;
}

void CFedEstimator::Take(const FedMeasurement& sample)
{
    m_yawRateKnown = m_yawRateKnown || sample.yawRate.value_or(0.0) != 0.0;
    FedMeasurement measured = sample;
    measured.age = m_started ? std::min(sample.age, m_age) : sample.age;
    const double seconds = m_started ? m_age - measured.age : 0.0;
    const double age = m_age;
    const double headingBefore = m_motion.pose.heading;
    if (m_started) {
        Propagate(measured, std::min(seconds, kCarriedOn));
    }
    const double turn = NormaliseTurn(sample.pose.heading - m_motion.pose.heading);
    if (!m_started || seconds > kCarriedOn || std::abs(turn) > kGreatestTurn ||
        Distance(m_motion.pose.position, sample.pose.position) > kGreatestDriven) {
        Start(measured);
    } else {
        CorrectBy(sample);
        // Without a measured yaw rate it is what the heading has turned.
        if (!m_yawRateKnown && seconds > 0.0) {
            m_motion.yawRate = NormaliseTurn(m_motion.pose.heading - headingBefore) / seconds;
        }
    }
    if (m_yawRateKnown && seconds > 0.0) {
        m_response.Learn(age, measured.age, sample.speed,
                         sample.yawRate.value_or(0.0) - m_measuredYawRate);
    }
    if (m_yawRateKnown) {
        SettleYawRate(measured, seconds);
    }
    m_measuredYawRate = sample.yawRate.value_or(0.0);
    m_speed = sample.speed;
    m_age = measured.age;
}
