#ifndef KESTROVE_SIMULATOR_GUIDANCE_FEDESTIMATOR_H
#define KESTROVE_SIMULATOR_GUIDANCE_FEDESTIMATOR_H

#include <array>
#include <cstddef>
#include <optional>

#include "simulator/guidance/PoseEstimator.h"
#include "simulator/guidance/SteeringResponse.h"

/// What a sample from outside says of the machine's movement.
struct FedMeasurement
{
    Pose pose;
    bool headingKnown = false;     ///< measured; otherwise the heading is that of the movement
    std::optional<double> course;  ///< radians clockwise from north, where the machine moves
    std::optional<double> yawRate; ///< radians per second, clockwise
    double speed = 0.0;            ///< metres per second, negative backwards
    double sigma = 0.0;            ///< metres, of the position; 0 where nobody knows
    double age = 0.0;              ///< seconds from the measurement to the present step
};

/// The movement of a machine whose positions come from outside, at present.
struct FedMotion
{
    Pose pose;
    double sideSlip = 0.0; ///< radians by which it moves to the right of where it looks
    double yawRate = 0.0;  ///< radians per second, clockwise
};

/// Finds the movement of a machine from samples that are noisy, rare and late: an extended Kalman
/// filter as in CPoseEstimator, on position, heading and side slip, at the times of measurement.
/// Between samples, and from the last one to the present, the heading goes on with the yaw rate
/// that was measured, changed by what the steering has been commanded meanwhile. So the filter
/// needs neither the machine's steering centre nor its wheelbase.
class CFedEstimator
{
public:
    /// Begins anew at the next sample.
    void Reset() { m_started = false; }
    /// Moves the present on by a step of the machine.
    /// @param commanded 1/m, the curvature commanded now.
    void Step(double commanded);
    /// Takes a sample in. One that is measured before the last is taken for as old as that.
    void Take(const FedMeasurement& sample);

    /// The movement at present.
    FedMotion Now() const;
    /// The movement when a command that is given now acts, with the commands under way.
    FedMotion WhenCommandActs() const;

private:
    enum EState : std::size_t
    {
        kX,
        kY,
        kHeading,
        kSlip,
        kStates
    };
    using Matrix = std::array<std::array<double, kStates>, kStates>;
    void Start(const FedMeasurement& sample);
    FedMotion Moved(double from, double to, double yawRateRamp) const;
    void SettleYawRate(const FedMeasurement& sample, double seconds);
    Matrix PropagatedCovariance(double driven) const;
    void CorrectBy(const FedMeasurement& sample);
    void Propagate(const FedMeasurement& sample, double seconds);
    void Apply(const std::array<double, kStates>& observed, double innovation, double variance);

    bool m_started = false;
    bool m_yawRateKnown = false;
    double m_age = 0.0; ///< of m_motion, seconds
    double m_speed = 0.0;
    double m_measuredYawRate = 0.0; ///< radians per second, of the last sample
    double m_offset = 0.0; ///< 1/m, by which the machine turns more to the right than commanded
    FedMotion m_motion;    ///< when the last sample was measured
    Matrix m_covariance{};
    CSteeringResponse m_response;
};

#endif
