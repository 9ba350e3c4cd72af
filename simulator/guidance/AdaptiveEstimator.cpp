#include "simulator/guidance/AdaptiveEstimator.h"

namespace {

/// One sigma of the side slip that each expects, radians; the one believed at first.
constexpr double kExpected[] = {Radians(0.05), Radians(0.15), Radians(0.3), Radians(0.6)};
constexpr std::size_t kBelievedFirst = 2;
/// By how much the steering centre strays in a period, one sigma, radians: hardly, or, where there
/// is play, by all of it with each reversal.
constexpr double kStrays[] = {Radians(0.003), Radians(0.4)};
/// How much of a surprise is left with the next measurement: those of 20 s count.
constexpr double kKept = 1.0 - 0.1 / 20.0;
/// By how much less another must have been surprised to be believed, so that chance does not change
/// it to and fro.
constexpr double kClearly = 2.0;

} // namespace

CAdaptiveEstimator::CAdaptiveEstimator(const ReceiverAccuracy& accuracy)
    : m_believed(kBelievedFirst)
{
    for (const double stray : kStrays) {
        for (const double expected : kExpected) {
            m_estimators.push_back({CPoseEstimator(accuracy, expected, stray)});
        }
    }
}

void CAdaptiveEstimator::Reset()
{
    for (Judged& judged : m_estimators) {
        judged.estimator.Reset();
    }
}

void CAdaptiveEstimator::Predict(double speed, double steeringAngle)
{
    for (Judged& judged : m_estimators) {
        judged.estimator.Predict(speed, steeringAngle);
    }
}

void CAdaptiveEstimator::Correct(const Pose& measured)
{
    std::size_t best = m_believed;
    for (std::size_t i = 0; i < m_estimators.size(); ++i) {
        Judged& judged = m_estimators[i];
        judged.surprise = kKept * judged.surprise + judged.estimator.Correct(measured);
        if (judged.surprise < m_estimators[best].surprise) {
            best = i;
        }
    }
    if (m_estimators[best].surprise < m_estimators[m_believed].surprise - kClearly) {
        m_believed = best;
    }
}

void CAdaptiveEstimator::Coast()
{
    for (Judged& judged : m_estimators) {
        judged.estimator.Coast();
    }
}

void CAdaptiveEstimator::Expect(const ReceiverAccuracy& accuracy)
{
    for (Judged& judged : m_estimators) {
        judged.estimator.Expect(accuracy);
    }
}
