#include "report/PassToPass.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <utility>

namespace {

constexpr double kSettlingMetres = 20.0;
constexpr double kShortestRunMetres = 20.0;
constexpr double kPlaceMetres = 0.2; // positions that are nearer to each other count once
constexpr std::size_t kMostPlacesOfARun = 40000;
constexpr std::size_t kMostPlaces = 120000;
constexpr double kLongestGapSeconds = 1.0;
// A jump is no way that was driven.
constexpr double kLongestStepMetres = 5.0;
constexpr double kSteadyShare = 0.1;
constexpr double kSteadyMetresPerSecond = 0.1;

bool IsSteady(double speed, double other)
{
    return std::abs(speed - other) <=
           std::max(kSteadyShare * std::abs(other), kSteadyMetresPerSecond);
}

/// What a sample stands for, seconds: places are not equally far apart in time.
void Take(PassToPassGroup& group, const RunPlace& earlier, const RunPlace& later, double seconds)
{
    const double interval = later.time - earlier.time;
    const bool isFirst = group.machine.Count() == 0;
    group.shortest = isFirst ? interval : std::min(group.shortest, interval);
    group.longest = isFirst ? interval : std::max(group.longest, interval);
    group.machine.Add(later.error - earlier.error, seconds);
    const double implement = later.implementError - earlier.implementError;
    if (std::isfinite(implement)) {
        group.implement.Add(implement, seconds);
    }
}

} // namespace

bool CPassToPass::GoesOn(const DriveSample& sample) const
{
    return m_isCounting && sample.pass == m_last.pass &&
           sample.time - m_last.time <= kLongestGapSeconds &&
           std::hypot(sample.x - m_last.x, sample.y - m_last.y) <= kLongestStepMetres;
}

void CPassToPass::Add(const DriveSample& sample, bool counts)
{
    if (!counts) {
        EndRun();
        m_isCounting = false;
        m_settling = 0.0;
        return;
    }
    if (!GoesOn(sample)) {
        EndRun();
        m_settling = 0.0;
    } else {
        m_settling += std::hypot(sample.x - m_last.x, sample.y - m_last.y);
    }
    m_isCounting = true;
    m_last = sample;
    if (m_settling < kSettlingMetres) {
        return;
    }
    const auto& places = m_run.Places();
    if (!places.empty() &&
        (!IsSteady(sample.speed, m_run.Speed()) || places.size() >= kMostPlacesOfARun)) {
        EndRun();
    }
    if (places.empty()) {
        m_run = CRunPath(sample.pass);
    } else if (std::hypot(sample.x - places.back().x, sample.y - places.back().y) < kPlaceMetres) {
        return;
    }
    m_run.Add({sample.x, sample.y, sample.time, sample.error, sample.implementError}, sample.speed);
}

void CPassToPass::Finish()
{
    EndRun();
}

void CPassToPass::EndRun()
{
    CRunPath run = std::exchange(m_run, CRunPath());
    if (run.Metres() < kShortestRunMetres) {
        return;
    }
    ++m_runCount;
    run.Finish();
    MakeRoom(run.Places().front().time);
    for (const CRunPath& earlier : m_runs) {
        if (std::abs(static_cast<long>(earlier.Pass()) - run.Pass()) <= 1 &&
            IsSteady(earlier.Speed(), run.Speed())) {
            Compare(earlier, run);
        }
    }
    m_places += run.Places().size();
    m_runs.push_back(std::move(run));
}

void CPassToPass::MakeRoom(double now)
{
    while (!m_runs.empty() && (m_places > kMostPlaces - kMostPlacesOfARun ||
                               now - m_runs.front().Places().back().time > kLongSeconds)) {
        m_places -= m_runs.front().Places().size();
        m_runs.pop_front();
    }
}

void CPassToPass::Compare(const CRunPath& earlier, const CRunPath& later)
{
    const int speed = static_cast<int>(std::lround(2.0 * later.Speed()));
    bool isInShort = false;
    bool isInLong = false;
    double before = later.Places().front().time;
    std::size_t hint = 0;
    for (const RunPlace& place : later.Places()) {
        const double seconds = place.time - std::exchange(before, place.time);
        const std::optional<RunPlace> nearest = earlier.Nearest(place.x, place.y, hint);
        if (!nearest || place.time - nearest->time > kLongSeconds) {
            continue;
        }
        const bool isShort = place.time - nearest->time <= kShortSeconds;
        Take(isShort ? m_short : m_long, *nearest, place, seconds);
        Take(m_groups[{isShort ? EInterval::Short : EInterval::Long, speed}], *nearest, place,
             seconds);
        (isShort ? isInShort : isInLong) = true;
    }
    for (const auto& [interval, isIn] : {std::pair<EInterval, bool>{EInterval::Short, isInShort},
                                         std::pair<EInterval, bool>{EInterval::Long, isInLong}}) {
        if (isIn) {
            ++m_groups[{interval, speed}].pairs;
            ++(interval == EInterval::Short ? m_short : m_long).pairs;
        }
    }
}
