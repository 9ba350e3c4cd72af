#ifndef KESTROVE_SIMULATOR_GUIDANCE_POSEESTIMATOR_H
#define KESTROVE_SIMULATOR_GUIDANCE_POSEESTIMATOR_H

#include <array>
#include <cstddef>

#include "simulator/machine/Pose.h"
#include "simulator/machine/Receiver.h"

/// What guidance believes about the machine's movement.
struct MotionEstimate
{
    Pose pose;
    double sideSlip = 0.0;   ///< radians by which it moves to the right of where it looks
    double centreBias = 0.0; ///< radians by which the wheels stand right of what the sensor says
};

/// Finds the machine's pose from noisy measurements, speed and steering angle: an extended Kalman
/// filter (Bar-Shalom, Li and Kirubarajan, "Estimation with Applications to Tracking and
/// Navigation", 2001, section 10.3) on the kinematic bicycle. Side slip and the bias of the
/// steering centre are states of their own, since a filter that took them for noise would put the
/// machine beside its true place for as long as they last.
class CPoseEstimator
{
public:
    /// @param expectedSlip radians, one sigma of the side slip that the ground gives.
    /// @param biasStray radians by which the steering centre may stray in a period, one sigma: more
    ///        than a little where there is play between the sensor and the wheels.
    CPoseEstimator(const ReceiverAccuracy& accuracy, double expectedSlip, double biasStray);

    /// Begins anew at the next measurement.
    void Reset();
    /// Moves on by a step of the machine.
    void Predict(double speed, double steeringAngle);
    /// Takes a measurement in, a control period after the one before.
    /// @return how surprising it is: twice the negative logarithm of its likelihood, but for a
    ///         constant; 0 for the first one.
    double Correct(const Pose& measured);

    /// Goes on without a measurement, in place of Correct().
    void Coast();
    /// How good the measurements are from now on.
    void Expect(const ReceiverAccuracy& accuracy);

    const MotionEstimate& Estimate() const { return m_estimate; }

private:
    enum EState : std::size_t
    {
        kX,
        kY,
        kHeading,
        kSlip,
        kBias,
        kStates
    };
    using State = std::array<double, kStates>;
    using Matrix = std::array<State, kStates>;

    void Start(const Pose& measured);
    void PropagateCovariance();
    double CorrectState(EState state, double innovation, double variance);

    double m_positionVariance = 0.0;
    double m_headingVariance = 0.0;
    double m_expectedSlip;
    double m_biasStray;
    bool m_started = false;
    double m_driven = 0.0; ///< metres since the last correction, negative backwards
    double m_wheelAngle = 0.0;
    MotionEstimate m_estimate;
    Matrix m_covariance{};
};

#endif
