#ifndef KESTROVE_SIMULATOR_ENGAGEMENT_H
#define KESTROVE_SIMULATOR_ENGAGEMENT_H

#include <string>
#include <vector>

#include "simulator/Settings.h"

/// What decides whether the machine may be steered.
struct EngageSituation
{
    bool navigationActive = false;
    bool positionFresh = true; ///< false when the position feed has fallen silent
    bool movesInReverse = false;
    double speed = 0.0;           ///< metres per second, without sign
    double crossTrackError = 0.0; ///< metres, of the followed line
    double headingError = 0.0;    ///< radians, of the followed line
};

/// A condition of engaging.
enum class EEngageCondition
{
    NavigationActive,
    PositionFresh,
    NearTheLine,
    AlongTheLine,
    DirectionAllowed,
    FastEnough,
};

/// A condition that does not hold, and a sentence that tells why with the figures.
struct UnmetCondition
{
    EEngageCondition condition;
    std::string reason;
};

/// The conditions of engaging that do not hold, in the order of EEngageCondition. Without active
/// navigation there is no line, so that the conditions that need one are not looked at.
std::vector<UnmetCondition> UnmetConditions(const EngageSituation& situation,
                                            const Settings& settings);

/// Whether the machine is steered, and why it is not.
///
/// Conditions are checked when steering is engaged and go on being checked while it is. Being too
/// slow drops steering only after the low-speed time-out, so that a short stop does not.
/// Thread safety: none.
class EngagementC
{
public:
    bool Engaged() const { return m_engaged; }
    /// Steering ended because a condition ceased to hold, and has not been engaged again since.
    bool DroppedByService() const { return m_dropped; }

    /// Engages unless a condition is unmet.
    ///
    /// @return the unmet conditions; empty when steering is engaged now.
    std::vector<UnmetCondition> Engage(const EngageSituation& situation, const Settings& settings);
    /// The operator's wish; nothing happens when steering is not engaged.
    void Disengage();
    /// Looks at the conditions after `seconds` of driving.
    ///
    /// @return why steering has been dropped just now; empty when it has not.
    std::string Check(const EngageSituation& situation, const Settings& settings, double seconds);

private:
    bool m_engaged = false;
    bool m_dropped = false;
    double m_slowSeconds = 0.0;
};

#endif
