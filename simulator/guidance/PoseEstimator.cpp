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
    const double keep = std::exp(-kPeriodSeconds / kSlipSeconds);
    Matrix transition{};
    for (std::size_t i = 0; i < kStates; ++i) {
        transition[i][i] = 1.0;
    }
    transition[kX][kHeading] = transition[kX][kSlip] = m_driven * std::cos(course);
    transition[kY][kHeading] = transition[kY][kSlip] = -m_driven * std::sin(course);
    transition[kHeading][kBias] = m_driven / (kWheelbase * Squared(std::cos(m_wheelAngle)));
    transition[kSlip][kSlip] = keep;

    Matrix half{};
    for (std::size_t i = 0; i < kStates; ++i) {
        for (std::size_t j = 0; j < kStates; ++j) {
            for (std::size_t k = 0; k < kStates; ++k) {
                half[i][j] += transition[i][k] * m_covariance[k][j];
            }
        }
    }
    m_covariance = {};
    for (std::size_t i = 0; i < kStates; ++i) {
        for (std::size_t j = 0; j < kStates; ++j) {
            for (std::size_t k = 0; k < kStates; ++k) {
                m_covariance[i][j] += half[i][k] * transition[j][k];
            }
        }
    }

    m_covariance[kX][kX] += Squared(kPositionStray);
    m_covariance[kY][kY] += Squared(kPositionStray);
    m_covariance[kHeading][kHeading] += Squared(kHeadingStray);
    m_covariance[kSlip][kSlip] += Squared(m_expectedSlip) * (1.0 - keep * keep);
    m_covariance[kBias][kBias] += Squared(m_biasStray);
    m_estimate.sideSlip *= keep;
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
