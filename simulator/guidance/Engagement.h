#ifndef KESTROVE_SIMULATOR_GUIDANCE_ENGAGEMENT_H
#define KESTROVE_SIMULATOR_GUIDANCE_ENGAGEMENT_H

#include <string>
#include <vector>

/// What the operator allows.
struct EngageSettings
{
    bool reverseEnabled = false;
    bool reverseAllowed = false;
    bool lowSpeedAllowed = false;
    double lowSpeedTimeout = 2.0; ///< seconds
};

/// How long guidance steers on by speed and steering angle without a usable position, seconds.
inline constexpr double kLongestReckoning = 5.0;

/// What decides whether the machine may be steered.
struct EngageSituation
{
    bool navigationActive = false;
    bool reckonsTooLong = false; ///< no usable position for more than kLongestReckoning
    std::string positionProblem; ///< what stands against steering by the fed positions
    bool lineLeft = false;       ///< the followed pass exists where it is
    double distance = 0.0;       ///< metres to the followed pass
    double implementWidth = 0.0;
    double headingError = 0.0; ///< radians, to the direction driven in
    double speed = 0.0;        ///< metres per second, negative backwards
};

/// Backwards beyond the noise of a standing machine.
bool MovesInReverse(double speed);

/// Whether the machine is steered, and which condition stands against it.
class CEngagement
{
public:
    /// The conditions that do not hold, each as a sentence with its figures. Without active
    /// navigation only that one, since there is nothing to be near to.
    static std::vector<std::string> UnmetConditions(const EngageSituation& situation,
                                                    const EngageSettings& settings);

    void Engage();
    /// By the operator.
    void Disengage();
    /// Ends steering when a condition has ceased to hold. A machine that has become too slow is
    /// steered on until the time-out, so that a short stop does not end it.
    /// @param seconds since the last check.
    void Check(const EngageSituation& situation, const EngageSettings& settings, double seconds);

    /// Ends steering, if it is engaged, because the positions have jumped by so many metres.
    void DropForJump(double metres);

    bool Engaged() const { return m_engaged; }
    bool Dropped() const { return !m_dropReason.empty(); }
    const std::string& DropReason() const { return m_dropReason; }

private:
    bool m_engaged = false;
    std::string m_dropReason;
    bool m_slow = false;
    double m_slowSeconds = 0.0; ///< since m_slow
};

#endif
