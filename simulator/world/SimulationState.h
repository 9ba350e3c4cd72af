#ifndef KESTROVE_SIMULATOR_WORLD_SIMULATIONSTATE_H
#define KESTROVE_SIMULATOR_WORLD_SIMULATIONSTATE_H

#include <cstdint>
#include <memory>

#include "simulator/guidance/Engagement.h"
#include "simulator/guidance/PoseEstimator.h"
#include "simulator/guidance/SteeringController.h"
#include "simulator/world/Simulation.h"

/// What the operator can set, with its start values. Units as in CSimulation.
struct SimulationSettings
{
    EngageSettings engage;
    double nudge = 0.0;
    double fieldOffset = 0.0;
    double implementOffset = 0.0;
    bool splinesUseImplementOffset = false;
    double implementWidth = 3.0;
    double speedSetPoint = 0.0;
    double lookAheadTime = 1.6;
    int curveFilterSize = 11;
    CTuning tuning;
};

/// All that a simulation is made of, and what its operations share.
struct CSimulation::State
{
    explicit State(const SimulationOptions& startOptions);

    // Runs guidance: measures, finds the pose, looks at the conditions, steers.
    void Control();
    // Takes the machine's present pose and all settings over into where it is on the line.
    void LocateOnLine();
    // Takes the settings that place the line over.
    void ArrangeLine();
    // The same, and takes in where that leaves the machine.
    void ShiftLine();
    // Makes the line from its definition. Returns false, changing nothing, when it makes none.
    COutcome BuildFrom(const LineDefinition& line);
    // Takes a curve filter size over, for the present line too. Refused, changing nothing, when it
    // would leave no line.
    COutcome Smooth(int filterSize);

    double ControlSpeed() const;
    Pose ControlPose() const;
    double HeadingErrorNow() const;
    double CountedImplementOffset() const;
    EngageSituation Situation() const;
    TrackingGains Gains() const;

    SimulationOptions options;
    SimulationSettings settings;
    CMachine machine;
    CGround ground;
    CReceiver receiver;
    CPoseEstimator estimator;
    CFedPositions fed;
    CFollowedLine line;
    LineDefinition definition; ///< of `line`, when it has one
    CSteeringController controller;
    CEngagement engagement;
    bool navigationActive = false;
    bool facesAgainst = false; ///< the machine looks against the direction of the line
    bool controlRan = false;
    std::uint64_t steps = 0;
    double command = 0.0; ///< of the steering; straight ahead while not engaged
    Pose measured;
};

#endif
