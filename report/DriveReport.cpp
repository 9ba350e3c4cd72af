#include "report/DriveReport.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <utility>

namespace {

/// A machine that is slower says nothing of how it is steered, metres per second.
constexpr double kStandingSpeed = 0.05;
/// For longer than that a sample stands for nothing, seconds.
constexpr double kLongestStand = 1.0;
constexpr double kFarthestMetres = 1e9;
constexpr double kLatestSeconds = 1e12;

std::string SecondsText(double seconds)
{
    std::array<char, 64> text;
    const std::to_chars_result written = std::to_chars(text.data(), text.data() + text.size(),
                                                       seconds, std::chars_format::general, 15);
    return std::string(text.data(), written.ptr) + " s";
}

} // namespace

std::string CDriveReport::ProblemOf(const DriveSample& sample) const
{
    if (!(std::abs(sample.time) <= kLatestSeconds)) {
        return "the time is not a number, or too large";
    }
    if (!(std::abs(sample.x) <= kFarthestMetres) || !(std::abs(sample.y) <= kFarthestMetres)) {
        return "the position is not a number, or farther than a million kilometres away";
    }
    for (const double value : {sample.speed, sample.steeringAngle, sample.error,
                               sample.implementError, sample.driftError}) {
        if (std::abs(value) > kFarthestMetres) { // what is not a number is not known
            return "a value is beyond a thousand million";
        }
    }
    if (sample.isEngaged && std::isnan(sample.error)) {
        return "steering is engaged, and the cross-track error is not a number";
    }
    if (m_samples > 0 && sample.time < m_last.time) {
        return "the time runs back, from " + SecondsText(m_last.time) + " to " +
               SecondsText(sample.time);
    }
    return {};
}

double CDriveReport::SpeedOf(const DriveSample& sample, double metres, double seconds) const
{
    return std::isnan(sample.speed) ? metres / std::max(seconds, 1e-9) : sample.speed;
}

std::string CDriveReport::Add(const DriveSample& sample)
{
    std::string problem = ProblemOf(sample);
    if (!problem.empty() || (m_samples > 0 && sample.time == m_last.time)) {
        return problem;
    }
    if (m_samples++ == 0) {
        m_first = m_last = sample;
        m_isFirstPending = true;
        m_way.Add({sample.x, sample.y, sample.isEngaged});
        return {};
    }
    const double seconds = sample.time - m_last.time;
    const double metres = std::hypot(sample.x - m_last.x, sample.y - m_last.y);
    DriveSample known = sample;
    known.speed = SpeedOf(sample, metres, seconds);
    if (std::exchange(m_isFirstPending, false)) {
        m_first.speed = SpeedOf(m_first, metres, seconds);
        Count(m_first, seconds);
    }
    m_metres += metres;
    m_engagedMetres += sample.isEngaged && m_last.isEngaged ? metres : 0.0;
    m_way.Add({sample.x, sample.y, sample.isEngaged});
    Count(known, seconds);
    m_last = known;
    return {};
}

void CDriveReport::Count(const DriveSample& sample, double seconds)
{
    const bool isFirst = &sample == &m_first;
    m_engagements += sample.isEngaged && (isFirst || !m_last.isEngaged) ? 1 : 0;
    const bool counts = sample.isEngaged && std::abs(sample.speed) >= kStandingSpeed;
    m_passToPass.Add(sample, counts);
    if (counts) {
        const double stands = std::min(seconds, kLongestStand);
        m_machine.Add(sample.error, stands);
        m_machineCurve.Add(sample.time, sample.error);
        if (!std::isnan(sample.implementError)) {
            m_implement.Add(sample.implementError, stands);
            m_implementCurve.Add(sample.time, sample.implementError);
        }
        if (!std::isnan(sample.driftError)) {
            m_guidance.Add(sample.error - sample.driftError, stands);
        }
        if (!std::isnan(sample.steeringAngle)) {
            CountSteering(sample, isFirst ? 0.0 : seconds);
        }
    }
    m_lastCounted = counts;
}

/// A rate comes from two samples that both count.
void CDriveReport::CountSteering(const DriveSample& sample, double seconds)
{
    m_steeringCurve.Add(sample.time, sample.steeringAngle);
    m_greatestAngle = std::max(m_greatestAngle, std::abs(sample.steeringAngle));
    const bool follows = m_lastCounted && seconds > 0.0 && seconds <= kLongestStand &&
                         !std::isnan(m_last.steeringAngle);
    if (!follows) {
        return;
    }
    const double turn = sample.steeringAngle - m_last.steeringAngle;
    const double square = turn / seconds * (turn / seconds);
    m_meanSquareRate += (square - m_meanSquareRate) / static_cast<double>(++m_rates);
    m_travel += std::abs(turn);
}

SteeringActivity CDriveReport::Steering() const
{
    return {m_rates, std::sqrt(m_meanSquareRate), m_travel, m_greatestAngle};
}

std::string CDriveReport::Finish()
{
    m_passToPass.Finish();
    if (m_samples == 0) {
        return "there is no position";
    }
    if (m_samples == 1) {
        return "there is one position alone, and a drive has two at least";
    }
    if (m_machine.Count() == 0) {
        return "steering was never engaged while the machine moved, so that there is no error to "
               "report";
    }
    return {};
}
