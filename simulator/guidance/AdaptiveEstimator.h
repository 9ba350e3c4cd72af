#ifndef KESTROVE_SIMULATOR_GUIDANCE_ADAPTIVEESTIMATOR_H
#define KESTROVE_SIMULATOR_GUIDANCE_ADAPTIVEESTIMATOR_H

#include <cstddef>
#include <vector>

#include "simulator/guidance/PoseEstimator.h"

/// Several pose estimators that expect more or less side slip of the ground, without and with play
/// in the steering, of which that is believed that the measurements of late have surprised least:
/// the one with the greatest likelihood (Bar-Shalom, Li and Kirubarajan, "Estimation with
/// Applications to Tracking and Navigation", 2001, section 11.6). On firm ground noise of the
/// receiver is not taken for slip then, and on a soft field slip is found sooner.
class CAdaptiveEstimator
{
public:
    explicit CAdaptiveEstimator(const ReceiverAccuracy& accuracy);

    /// As in CPoseEstimator.
    void Reset();
    void Predict(double speed, double steeringAngle);
    void Correct(const Pose& measured);
    void Coast();
    void Expect(const ReceiverAccuracy& accuracy);
    const MotionEstimate& Estimate() const { return m_estimators[m_believed].estimator.Estimate(); }

private:
    struct Judged
    {
        CPoseEstimator estimator;
        double surprise = 0.0; ///< of late, twice the negative logarithm of the likelihood
    };

    std::vector<Judged> m_estimators;
    std::size_t m_believed;
};

#endif
