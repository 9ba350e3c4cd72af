#ifndef KESTROVE_SIMULATOR_WORLD_SIMULATION_H
#define KESTROVE_SIMULATOR_WORLD_SIMULATION_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/base/Outcome.h"
#include "simulator/guidance/FollowedLine.h"
#include "simulator/guidance/LineDefinition.h"
#include "simulator/guidance/Tuning.h"
#include "simulator/machine/Ground.h"
#include "simulator/machine/Implement.h"
#include "simulator/machine/Machine.h"
#include "simulator/machine/Pose.h"
#include "simulator/machine/Receiver.h"
#include "simulator/machine/SatelliteReceiver.h"
#include "simulator/machine/Terrain.h"
#include "simulator/world/Conditions.h"
#include "simulator/world/FedPositions.h"

/// What guidance keeps on the line.
enum class EGuide
{
    Machine,   ///< the middle of the rear axle
    Implement, ///< the implement's middle
};

/// What a simulation starts with.
struct SimulationOptions
{
    std::uint64_t seed =
        1; ///< all noise comes from it; the same seed gives the same run, bit for bit
    EReceiver receiver = EReceiver::Rtk;
    EGround ground = EGround::Firm;
    double centreBias = 0.0; ///< radians by which the wheels stand right of what the sensor says
    double backlash = 0.0;   ///< radians of play between the actuator and the wheels
    ELeastFix leastFix = ELeastFix::RtkFloat; ///< of positions from outside that are steered by
    ImplementGeometry implement;
    EGuide guide = EGuide::Machine; ///< at the start and after RestoreSettings()
    Pose startPose;
    double speed = 0.0;    ///< metres per second, at the start and as the first speed set point
    bool hasTyres = false; ///< it rolls on tyres that give, not as its wheels point
    TerrainOptions terrain;
    ReceiverOptions mounting;       ///< of the receiver; its kind is the one above
    std::optional<double> treeLine; ///< x of trees in a row to the north, metres; none without
    WorldConditions conditions;     ///< as they are at the start
};

/// Where the machine is relative to the line that it follows.
struct GuidanceStatus
{
    int pass = 0;                    ///< 0 the line itself, positive to its right
    double crossTrackError = 0.0;    ///< metres, positive right of the line, looking along it
    double headingError = 0.0;       ///< radians, clockwise positive, to the direction driven in
    double commandedCurvature = 0.0; ///< 1/m, positive to the right; 0 unless engaged
};

/// The line and its passes, to draw.
struct LineLayout
{
    LineShapePtr line;     ///< the line itself, not shifted; null without one
    LineShapePtr followed; ///< the followed pass at its place; null when nothing is left of it
    double station = 0.0;  ///< of the machine, metres along the line itself
    int pass = 0;          ///< the followed one
    double width = 0.0;    ///< metres from pass to pass
    double shift = 0.0;    ///< metres by which the line and its passes are moved to the right
    bool repeats = false;  ///< whether there are passes beside the line
};

/// The simulated world: a machine that really moves and the guidance that steers it, on a clock of
/// its own that only Step() moves.
///
/// The frame is local: metres, x east, y north; headings are radians clockwise from north, in
/// [0, 2 pi) where they are reported. Guidance never sees the true pose, only what the receiver and
/// the steering sensor measure; the queries that begin with True are for recordings and tests.
///
/// Thread safety: none; one thread at a time. Nothing here blocks, waits or reads a clock.
class CSimulation
{
public:
    /// The length of a step of the machine, seconds.
    static constexpr double kStepSeconds = kMachineStepSeconds;
    /// Guidance runs, and all that it reports changes, once in so many steps.
    static constexpr int kStepsPerControl = 5;

    /// @param work makes the long calculations; null to have them made on the spot. With it, the
    ///        operations that move or replace the line may throw CWorkPending and have changed
    ///        nothing then: they are to be called again when the result is there. Those that have
    ///        been overtaken are refused. Must outlive this object.
    explicit CSimulation(const SimulationOptions& options, CLongWork* work = nullptr);
    ~CSimulation();
    CSimulation(const CSimulation&) = delete;
    CSimulation& operator=(const CSimulation&) = delete;

    // The clock.

    /// Moves the world on by kStepSeconds.
    void Step();
    /// Seconds since the start.
    double Time() const;
    /// Whether the last Step() ran guidance, so that there is something new to report.
    bool ControlRan() const;

    // The line.

    /// Replaces the line. Navigation and steering go on along the new one while their conditions
    /// hold. Refused, the old line staying, when the values make no line: the reason names them.
    COutcome SetLine(const LineDefinition& line);
    /// The same without a copy.
    COutcome SetLine(const LineDefinitionPtr& line);
    /// Drops the line, which ends navigation and steering.
    /// @return false when there was none.
    bool ClearLine();
    bool HasLine() const;
    /// The length of the line set, metres; 0 for a line without ends or none.
    double LineLength() const;
    /// The heading of any line where the machine is nearest to it; NaN when it makes no line.
    double HeadingNearest(const LineDefinition& line) const;
    /// The same of a line smoothed over so many points, from any place; uses nothing else, so that
    /// it may be called on any thread.
    static double HeadingNearest(const LineDefinition& line, int filterSize, const Point& place);

    // Navigation and steering.

    /// Refused without a line.
    COutcome StartNavigation(EFollow follow);
    /// Ends navigation and steering; the line stays.
    void StopNavigation();
    bool NavigationActive() const;

    /// Refused when a condition does not hold; the reason lists all of them. True when engaged
    /// already.
    COutcome Engage();
    /// The operator takes over.
    void Disengage();
    bool Engaged() const;
    /// The conditions for engaging that do not hold now, each as a sentence; empty when steering is
    /// engaged or could be.
    std::vector<std::string> WhyNotEngaged() const;
    /// Whether steering was last ended by a condition, not by the operator; false again once it is
    /// engaged or disengaged by hand.
    bool DroppedByService() const;
    /// Which condition ended steering; empty unless DroppedByService().
    const std::string& DropReason() const;
    /// Whether the measured speed is backwards.
    bool MovingInReverse() const;

    void SetReverseEngageEnabled(bool enabled);
    bool ReverseEngageEnabled() const;
    void SetReverseEngageAllowed(bool allowed);
    bool ReverseEngageAllowed() const;
    void SetLowSpeedEngageAllowed(bool allowed);
    bool LowSpeedEngageAllowed() const;
    /// How long steering stays engaged below the least speed. Refused unless finite and not
    /// negative.
    COutcome SetLowSpeedTimeout(double seconds);
    double LowSpeedTimeout() const;

    // Offsets, which move the line at once: metres, positive to its right, but the implement's
    // positive to the right of the direction in which the machine looks. Refused unless finite and
    // within 1000 m.

    COutcome SetNudge(double metres);
    double Nudge() const;
    COutcome SetFieldOffset(double metres);
    double FieldOffset() const;
    COutcome SetImplementOffset(double metres);
    double ImplementOffset() const;
    COutcome SetSplinesUseImplementOffset(bool use);
    bool SplinesUseImplementOffset() const;
    /// The whole shift of the line that is set: nudge + field offset + implement offset as it
    /// counts, to the right of the line. It changes when the machine turns round.
    double LineShift() const;
    /// The unit vector to the right of the line at the machine; nothing without a line.
    std::optional<Point> RightOfLine() const;
    /// The distance of the passes. Refused unless within 0.1 m and 100 m.
    COutcome SetImplementWidth(double metres);
    double ImplementWidth() const;

    // The controller.

    /// What is kept on the line; may be changed at any time. A machine with a trailed implement is
    /// itself kept on the line while it moves backwards.
    void SetGuide(EGuide guide);
    EGuide Guide() const;

    CTuning& Tuning();
    const CTuning& Tuning() const;
    /// Clears what the integral term has gathered.
    void ResetIntegral();
    /// The machine's target speed, metres per second, negative backwards. Refused unless within
    /// -5 m/s and 15 m/s.
    COutcome SetSpeedSetPoint(double metresPerSecond);
    double SpeedSetPoint() const;
    /// How far ahead on the line the machine aims, as seconds of driving. Refused unless within
    /// 0.2 s and 10 s.
    COutcome SetLookAheadTime(double seconds);
    double LookAheadTime() const;
    /// Over how many driven points a curve is smoothed; a curve that is set is smoothed anew, and
    /// the machine keeps its pass of it. Refused unless within 1 and 1001, and when nothing would
    /// be left of the set curve.
    COutcome SetCurveFilterSize(int points);
    int CurveFilterSize() const;
    /// Puts every setting (conditions, offsets, width, tuning and its limits, speed set point,
    /// look-ahead time, filter size) back to its start value. Navigation goes on. A curve of
    /// which nothing would be left when smoothed by the start value stays as it is.
    COutcome RestoreSettings();

    // Positions from outside.

    /// Takes a sample over as the machine's position. Refused, without effect, when it is not valid
    /// or holds a value that is not finite.
    COutcome Feed(const FedPosition& sample);
    /// Whether fed samples are the machine's position now.
    bool FedMode() const;

    // What may happen to the machine.

    /// Changes what is around the machine and in it, from the next step on.
    void SetConditions(const WorldConditions& conditions);
    const WorldConditions& Conditions() const;
    /// How the machine leans on the ground.
    Attitude Lean() const;

    // What the service knows.

    /// The last pose that the receiver measured.
    Pose MeasuredPose() const;
    /// What the receiver says beside that pose.
    ReceiverReport Reported() const;
    /// What guidance makes of the measurements; smoother, and what a driven line is recorded from.
    Pose EstimatedPose() const;
    /// Metres per second, negative backwards.
    double Speed() const;
    /// Radians, positive to the right, as the steering sensor says.
    double SteeringAngle() const;
    /// The angle that the steering was last commanded to, radians, positive to the right; 0 unless
    /// engaged.
    double SteeringCommand() const;
    /// From the estimated pose; of the line itself while navigation is not active, all 0 without a
    /// line.
    GuidanceStatus Status() const;
    /// Points of the followed pass every 2 m, from 50 m behind to 150 m ahead of the machine in the
    /// direction driven; fewer where the line ends, once round for a circle, none without a line.
    std::vector<Point> FollowedPoints() const;
    /// Of the implement's middle to the pass that it works, from the estimated pose, metres; 0
    /// without a line.
    double ImplementCrossTrackError() const;
    /// The implement's middle, from the estimated pose.
    Point ImplementPoint() const;
    /// Where the implement looks, radians clockwise from north.
    double ImplementHeading() const;
    /// Changes whenever another pass is followed, and whenever the followed one gets another place
    /// or shape.
    int FollowedPassRevision() const;
    /// The line and where its passes are. The shapes never change and may be kept, by other threads
    /// too.
    LineLayout Layout() const;
    /// The point of the followed pass that the machine aims at; nothing without a line.
    std::optional<Point> AimPoint() const;
    /// Whether the machine looks against the direction of the followed line, as guidance has it: it
    /// keeps to what it found when steering was engaged. False without a line.
    bool FacesAgainst() const;
    /// Whether a line that is set now is taken up at its pass nearest the machine, and not at
    /// itself.
    bool TakesNearestPass() const;

    // What only the simulation knows.

    Pose TruePose() const;
    /// Of the machine's reference point to the followed pass, metres; 0 without a line.
    double TrueCrossTrackError() const;
    /// Of the implement point to the pass that it works, which is the followed pass without the
    /// implement offset; 0 without a line.
    double TrueImplementCrossTrackError() const;
    /// The implement's middle, which is the implement offset to the left of its hanger.
    Point TrueImplementPoint() const;
    /// What the receiver's drift has of both errors, of which guidance can know nothing: by how
    /// much a machine is beside its line that is on it by all that it measures. The rest is
    /// guidance's. 0 without a line and in fed mode.
    double ReceiverDriftError() const;
    /// How many parts of the line have been looked at since the start, to find the machine on it.
    std::uint64_t Looks() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

#endif
