#ifndef KESTROVE_SIMULATOR_WORLD_FEDPOSITIONS_H
#define KESTROVE_SIMULATOR_WORLD_FEDPOSITIONS_H

#include <optional>
#include <string>

#include "simulator/base/Outcome.h"
#include "simulator/guidance/FedEstimator.h"
#include "simulator/machine/Pose.h"
#include "simulator/world/FedPosition.h"
#include "simulator/world/SampleJudge.h"

/// The last sample from outside and its age on the simulation's clock.
class CFedPositions
{
public:
    /// @param least how good samples are at least to be steered by.
    explicit CFedPositions(ELeastFix least) : m_least(least) {}

    /// Takes a sample. One that is not new, and for a while one where no machine can have got to
    /// while it is steered, is refused: it moves nothing, and the position does not stay fresh by
    /// it.
    /// @param steered whether the machine is steered by the samples.
    /// @param present where the machine is, whose heading stays while a sample has none: it has
    ///        no heading and the machine is too slow for a course.
    COutcome Take(const FedPosition& sample, const Pose& present, bool steered);
    /// Moves the clock on by a step of the machine.
    /// @param commanded 1/m, the curvature commanded now.
    /// @return true when the samples have just been given up.
    bool Age(double commanded);
    /// Whether a sample has come since SampleUsed().
    bool SampleWaits() const { return m_waits; }
    void SampleUsed() { m_waits = false; }

    bool Active() const { return m_active; }
    /// What stands against steering by the samples: that no good one has come for a second, or,
    /// while the machine is not steered, that the last one was not good. Empty when nothing does.
    std::string Problem(bool steered) const;
    /// By how much the machine has been moved by samples that it cannot have driven to, metres,
    /// when that has been since the last time that this was asked.
    std::optional<double> TakeJump();
    /// The pose of the last sample.
    const Pose& Sampled() const { return m_pose; }
    /// The movement now, found from the samples and carried on for their age.
    FedMotion Now() const { return m_estimator.Now(); }
    /// The movement when a command that is given now acts.
    FedMotion WhenCommandActs() const { return m_estimator.WhenCommandActs(); }
    /// Metres per second, negative backwards.
    double Speed() const { return m_speed; }

private:
    /// Whether a sample lies where no machine can have got to since the last one.
    bool IsJump(const FedPosition& sample) const;
    bool HoldsBack(const FedPosition& sample, bool steered);

    ELeastFix m_least;
    CSampleOrder m_order;
    double m_goodAge = 0.0;           ///< of the last sample that was new and good
    std::string m_poor;               ///< what is wrong with the last sample
    std::optional<double> m_heldBack; ///< since when samples are held back, seconds
    std::optional<double> m_jump;
    bool m_active = false;
    Pose m_pose;
    double m_speed = 0.0;
    double m_age = 0.0;
    double m_time = 0.0; ///< seconds since the start
    bool m_waits = false;
    CFedEstimator m_estimator;
};

#endif
