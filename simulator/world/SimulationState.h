#ifndef KESTROVE_SIMULATOR_WORLD_SIMULATIONSTATE_H
#define KESTROVE_SIMULATOR_WORLD_SIMULATIONSTATE_H

#include <cstdint>
#include <memory>

#include "simulator/guidance/AdaptiveEstimator.h"
#include "simulator/guidance/Engagement.h"
#include "simulator/guidance/LineBuilder.h"
#include "simulator/guidance/SteeringController.h"
#include "simulator/world/Simulation.h"

/// From one run of guidance to the next.
inline constexpr double kControlSeconds = CSimulation::kStepSeconds * CSimulation::kStepsPerControl;

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
    EGuide guide = EGuide::Machine;
};

/// All that a simulation is made of, and what its operations share.
struct CSimulation::State
{
    State(const SimulationOptions& startOptions, CLongWork* longWork);

    // Has the receiver measure, and guidance take that in or reckon on without.
    void Measure();
    // Begins anew with what the receiver measures, as after fed positions.
    void MeasureAnew();
    Attitude Lean() const;
    Reception ReceptionNow() const;
    double ManualCommand() const;
    // Runs guidance: measures, finds the pose, looks at the conditions, steers.
    void Control();
    // Takes the machine's present pose over into where it is on the line. A pass that it has moved
    // to and that takes long to make is followed when it has been made.
    void LocateOnLine();
    // Takes settings over, with the line at the place that they give it. Refused when that has been
    // overtaken. Changes nothing when the line's place has to be calculated aside first.
    COutcome Adopt(const SimulationSettings& changed);
    // Whether a line that is set now is taken up itself or at its pass nearest the machine.
    EFollow FollowOfNewLine() const;
    // Makes the line from its definition. Refused, changing nothing, when it makes none.
    COutcome BuildFrom(const LineDefinitionPtr& newLine);
    // Takes a curve filter size over, for the present line too. Refused, changing nothing, when it
    // would leave no line.
    COutcome Smooth(int filterSize);
    COutcome Follow(EFollow follow);
    // Puts all settings back to those of the start.
    COutcome Restore();

    double ControlSpeed() const;
    Pose ControlPose() const;
    double HeadingErrorNow() const;
    // The implement offset as it shifts the line to its right.
    double CountedImplementOffset() const
    {
        return CountedImplementOffset(settings, *definition, facesAgainst);
    }
    static double CountedImplementOffset(const SimulationSettings& of, const LineDefinition& line,
                                         bool against);
    static double ShiftOf(const SimulationSettings& of, const LineDefinition& line, bool against);
    bool IsSmoothed() const;
    BuiltLine Built(const LineDefinitionPtr& of, int filterSize) const;
    EngageSituation Situation() const;
    TrackingGains Gains() const;
    SteeringInput OwnSteering() const;
    SteeringInput FedSteering() const;
    bool ControlIsDue();
    double ImplementErrorAt(const Point& place) const;
    std::optional<ImplementOnMachine> GuidedImplement() const;

    SimulationOptions options;
    SimulationSettings settings;
    CMachine machine;
    CImplement implement;
    CGround ground;
    CSatelliteReceiver receiver;
    CTerrain terrain;
    WorldConditions conditions;
    double reckoned = 0.0; ///< seconds since the last position that guidance could use
    CAdaptiveEstimator estimator;
    CFedPositions fed;
    CLongWork* work;  ///< null to have all calculated on the spot
    LookBudget looks; ///< filled each time that guidance runs
    CFollowedLine line;
    LineDefinitionPtr definition; ///< of `line`, when it has one; never null
    CSteeringController controller;
    CEngagement engagement;
    bool navigationActive = false;
    void Arrange(CFollowedLine& placed, const SimulationSettings& by,
                 const LineDefinition& of) const;
    void Become(CFollowedLine&& changed);
    bool LooksAgainst(double lineHeading, double tolerance) const;
    void FaceLine();
    void ChoosePass(const Point& place);
    void EndIfOvertaken() const;

    bool facesAgainst = false; ///< the machine looks against the direction of the line
    bool controlRan = false;
    std::uint64_t steps = 0;
    std::uint64_t controlledAt = 0; ///< of the steps
    double command = 0.0;           ///< of the steering; straight ahead while not engaged
    Pose measured;
};

#endif
