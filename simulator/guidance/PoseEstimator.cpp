#include "simulator/guidance/PoseEstimator.h"

#include <algorithm>
#include <cmath>

#include "simulator/machine/Machine.h"

namespace {

constexpr double kPeriodSeconds = 0.1;
/// The receiver's white noise is taken for no smaller than that, so that the filter goes on
/// listening to a perfect one.
constexpr double kLeastPositionSigma = 0.002;
constexpr double kLeastHeadingSigma = Radians(0.02);
/// What may happen in a period beside the model, one sigma.
constexpr double kPositionStray = 0.0005;
constexpr double kHeadingStray = Radians(0.02);
/// The side slip is expected as a first-order Gauss-Markov process.
constexpr double kSlipSeconds = 2.0;
/// What is left of it after a period.
const double kKeptSlip = std::exp(-kPeriodSeconds / kSlipSeconds);
/// What may be wrong with the steering centre at the start.
constexpr double kExpectedBias = Radians(0.5);

double Squared(double value)
{
    return value * value;
}

} // namespace

CPoseEstimator::CPoseEstimator(const ReceiverAccuracy& accuracy, double expectedSlip,
                               double biasStray)
    : m_expectedSlip(expectedSlip), m_biasStray(biasStray)
{
    Expect(accuracy);
}

void CPoseEstimator::Expect(const ReceiverAccuracy& accuracy)
{
    m_positionVariance = Squared(std::max(accuracy.white, kLeastPositionSigma));
    m_headingVariance = Squared(std::max(accuracy.heading, kLeastHeadingSigma));
}

void CPoseEstimator::Coast()
{
    if (m_started) {
        PropagateCovariance();
    }
}

void CPoseEstimator::Reset()
{
    m_started = false;
}

void CPoseEstimator::Start(const Pose& measured)
{
    m_estimate = {measured, 0.0, 0.0};
    m_covariance = {};
    m_covariance[kX][kX] = m_positionVariance;
    m_covariance[kY][kY] = m_positionVariance;
    m_covariance[kHeading][kHeading] = m_headingVariance;
    m_covariance[kSlip][kSlip] = Squared(m_expectedSlip);
    m_covariance[kBias][kBias] = Squared(kExpectedBias);
    m_driven = 0.0;
    m_started = true;
}

void CPoseEstimator::Predict(double speed, double steeringAngle)
{
    m_wheelAngle = steeringAngle + m_estimate.centreBias;
    m_driven += speed * kMachineStepSeconds;
    m_estimate.pose =
        PoseAfter(m_estimate.pose, speed, m_wheelAngle, m_estimate.sideSlip, kMachineStepSeconds);
}

void CPoseEstimator::PropagateCovariance()
{
    const double course = m_estimate.pose.heading + m_estimate.sideSlip;
    const double east = m_driven * std::cos(course);
    const double north = -m_driven * std::sin(course);
    const double turn = m_driven / (kWheelbase * Squared(std::cos(m_wheelAngle)));
    // The covariance between the transition's matrix and its transpose. Of the matrix, which is the
    // identity but for these three and what is kept of the slip, the zeros are left out: a
    // machine's world takes more time for this than for anything else.
    const auto moved = [&](double x, double y, double heading, double slip, double bias) {
        return State{x + east * heading + east * slip, y + north * heading + north * slip,
                     heading + turn * bias, kKeptSlip * slip, bias};
    };
    Matrix half{};
    for (std::size_t j = 0; j < kStates; ++j) {
        const State column =
            moved(m_covariance[kX][j], m_covariance[kY][j], m_covariance[kHeading][j],
                  m_covariance[kSlip][j], m_covariance[kBias][j]);
        for (std::size_t i = 0; i < kStates; ++i) {
            half[i][j] = column[i];
        }
    }
    for (std::size_t i = 0; i < kStates; ++i) {
        const State& row = half[i];
        m_covariance[i] = moved(row[kX], row[kY], row[kHeading], row[kSlip], row[kBias]);
    }

    m_covariance[kX][kX] += Squared(kPositionStray);
    m_covariance[kY][kY] += Squared(kPositionStray);
    m_covariance[kHeading][kHeading] += Squared(kHeadingStray);
    m_covariance[kSlip][kSlip] += Squared(m_expectedSlip) * (1.0 - kKeptSlip * kKeptSlip);
    m_covariance[kBias][kBias] += Squared(m_biasStray);
    m_estimate.sideSlip *= kKeptSlip;
    m_driven = 0.0;
}

double CPoseEstimator::CorrectState(EState state, double innovation, double variance)
{
    std::array<double, kStates> gain{};
    const std::array<double, kStates> row = m_covariance[state];
    const double expected = row[state] + variance;
    for (std::size_t i = 0; i < kStates; ++i) {
        gain[i] = row[i] / expected;
    }
    for (std::size_t i = 0; i < kStates; ++i) {
        for (std::size_t j = 0; j < kStates; ++j) {
            m_covariance[i][j] -= gain[i] * row[j];
        }
    }
    Pose& pose = m_estimate.pose;
    pose.position.x += gain[kX] * innovation;
    pose.position.y += gain[kY] * innovation;
    pose.heading = NormaliseHeading(pose.heading + gain[kHeading] * innovation);
    m_estimate.sideSlip += gain[kSlip] * innovation;
    m_estimate.centreBias += gain[kBias] * innovation;
    return innovation * innovation / expected + std::log(expected);
}

double CPoseEstimator::Correct(const Pose& measured)
{
    if (!m_started) {
        Start(measured);
        return 0.0;
    }
    PropagateCovariance();
    // The three measurements have independent errors, so that they may be taken in one by one.
    const Pose& pose = m_estimate.pose;
    const double east = CorrectState(kX, measured.position.x - pose.position.x, m_positionVariance);
    const double north =
        CorrectState(kY, measured.position.y - pose.position.y, m_positionVariance);
    const double heading =
        CorrectState(kHeading, NormaliseTurn(measured.heading - pose.heading), m_headingVariance);
    return east + north + heading;
}
