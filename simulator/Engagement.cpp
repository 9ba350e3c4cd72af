#include "simulator/Engagement.h"

#include <cmath>
#include <cstdio>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegrees = kPi / 180.0;
constexpr double kWidestHeadingError = 60.0 * kDegrees;
constexpr double kSlowestSpeed = 0.3;

std::string Figure(const char* format, double first, double second)
{
    char text[160];
    std::snprintf(text, sizeof text, format, first, second);
    return text;
}

} // namespace

std::vector<UnmetCondition> UnmetConditions(const EngageSituation& situation,
                                            const Settings& settings)
{
    std::vector<UnmetCondition> unmet;
    const double farthest = settings.implementWidth / 2.0;
    if (!situation.navigationActive)
        unmet.push_back({EEngageCondition::NavigationActive, "navigation is not active"});
    if (!situation.positionFresh)
        unmet.push_back({EEngageCondition::PositionFresh, "no fresh position came for 1 s"});
    // Written so that an error which is no number is not near the line either.
    if (situation.navigationActive && !(std::abs(situation.crossTrackError) <= farthest))
        unmet.push_back({EEngageCondition::NearTheLine,
                         Figure("the machine is %.2f m away from the line, allowed is %.2f m",
                                std::abs(situation.crossTrackError), farthest)});
    if (situation.navigationActive && !(std::abs(situation.headingError) <= kWidestHeadingError))
        unmet.push_back({EEngageCondition::AlongTheLine,
                         Figure("the heading is %.0f degrees away from the line, allowed is %.0f",
                                std::abs(situation.headingError) / kDegrees, 60.0)});
    if (situation.movesInReverse &&
        !(settings.reverseEngageEnabled && settings.reverseEngageAllowed))
        unmet.push_back({EEngageCondition::DirectionAllowed,
                         "the machine moves backwards, and engaging in reverse is not both enabled "
                         "and allowed"});
    if (situation.speed < kSlowestSpeed && !settings.lowSpeedEngageAllowed)
        unmet.push_back(
            {EEngageCondition::FastEnough,
             Figure("the machine moves at %.2f m/s, slower than %.1f m/s, and low-speed "
                    "engaging is not allowed",
                    situation.speed, kSlowestSpeed)});
    return unmet;
}

std::vector<UnmetCondition> EngagementC::Engage(const EngageSituation& situation,
                                                const Settings& settings)
{
    std::vector<UnmetCondition> unmet = UnmetConditions(situation, settings);
    if (unmet.empty()) {
        m_engaged = true;
        m_dropped = false;
        m_slowSeconds = 0.0;
    }
    return unmet;
}

void EngagementC::Disengage()
{
    if (m_engaged)
        m_dropped = false;
    m_engaged = false;
}

std::string EngagementC::Check(const EngageSituation& situation, const Settings& settings,
                               double seconds)
{
    if (!m_engaged)
        return {};
    bool slow = false;
    for (const UnmetCondition& unmet : UnmetConditions(situation, settings)) {
        slow = slow || unmet.condition == EEngageCondition::FastEnough;
        if (unmet.condition != EEngageCondition::FastEnough ||
            m_slowSeconds + seconds >= settings.lowSpeedEngageTimeout) {
            m_engaged = false;
            m_dropped = true;
            m_slowSeconds = 0.0;
            return unmet.reason;
        }
    }
    m_slowSeconds = slow ? m_slowSeconds + seconds : 0.0;
    return {};
}
