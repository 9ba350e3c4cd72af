#ifndef KESTROVE_SIMULATOR_WORLD_FEDPOSITIONS_H
#define KESTROVE_SIMULATOR_WORLD_FEDPOSITIONS_H

#include <optional>

#include "simulator/guidance/FedEstimator.h"
#include "simulator/machine/Pose.h"
#include "simulator/world/Outcome.h"

/// A position sample from outside. The machine is where the samples say until none came for 5 s.
struct FedPosition
{
    bool valid = false; ///< a sample that is not valid is passed over
    Point position;
    std::optional<double> heading; ///< radians clockwise from north; without it the course counts
    double course = 0.0;           ///< radians clockwise from north, the direction of movement
    double speed = 0.0;            ///< metres per second over ground, never negative
    bool reverse = false;          ///< the machine moves backwards
    std::optional<double> yawRate; ///< radians per second, clockwise; 0 when nobody measures it
    double sigma = 0.0;            ///< metres, one sigma of the position; 0 when nobody knows it
    double age = 0.0;              ///< seconds since it was measured
};

/// The last sample from outside and its age on the simulation's clock.
class CFedPositions
{
public:
    /// Takes a sample.
    /// @param present where the machine is, whose heading stays while a sample tells none: it has
    ///        no heading and the machine is too slow for a course.
    COutcome Take(const FedPosition& sample, const Pose& present);
    /// Moves the clock on by a step of the machine.
    /// @param curvature 1/m, which the commands of the steering should have brought by now.
    /// @return true when the samples have just been given up.
    bool Age(double curvature);
    /// Whether a sample has come since SampleUsed().
    bool SampleWaits() const { return m_waits; }
    void SampleUsed() { m_waits = false; }

    bool Active() const { return m_active; }
    /// Whether the last sample is not older than a second.
    bool Fresh() const;
    /// The pose of the last sample.
    const Pose& Sampled() const { return m_pose; }
    /// The movement now, found from the samples and carried on for their age.
    FedMotion Now() const { return m_estimator.Now(); }
    /// Metres per second, negative backwards.
    double Speed() const { return m_speed; }

private:
    bool m_active = false;
    Pose m_pose;
    double m_speed = 0.0;
    double m_age = 0.0;
    bool m_waits = false;
    CFedEstimator m_estimator;
};

#endif
