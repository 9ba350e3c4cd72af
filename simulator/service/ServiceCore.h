#ifndef KESTROVE_SIMULATOR_SERVICE_SERVICECORE_H
#define KESTROVE_SIMULATOR_SERVICE_SERVICECORE_H

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/BElement.h"
#include "simulator/aside/WorkQueue.h"
#include "simulator/lines/WaylineKeeper.h"
#include "simulator/operations/Events.h"
#include "simulator/operations/FaultOperations.h"
#include "simulator/operations/OffsetOperations.h"
#include "simulator/operations/OperationTable.h"
#include "simulator/operations/PositionFeed.h"
#include "simulator/operations/PositionOperations.h"
#include "simulator/operations/SimulatorOperations.h"
#include "simulator/operations/SteeringOperations.h"
#include "simulator/operations/TuningOperations.h"
#include "simulator/operations/WaylineOperations.h"
#include "simulator/output/ServiceLog.h"
#include "simulator/service/Scenario.h"
#include "simulator/service/TrackRecorder.h"
#include "simulator/settings/KeptSettings.h"
#include "simulator/world/Simulation.h"

/// What a service core is made with.
struct ServiceCoreOptions
{
    SimulationOptions simulation;
    KeptValues kept;   ///< settings kept by an earlier run
    KeepSink keep;     ///< takes the settings to keep each time that they change; may be empty
    EventSink publish; ///< takes the events for all subscribers; may be empty
    LogSink log;       ///< takes the log lines; may be empty
    /// Makes what takes long, and must outlive the core; null to have it made on the spot.
    CWorkQueue* work = nullptr;
    KeepState keepState{}; ///< how far the saving of what `keep` took is; may be empty
    /// Time stands until it is asked to advance by "simulator_advance".
    bool stepped = false;
    /// What it takes to repeat the run, but for the time, in a line for people.
    std::string description{};
    /// The same, but for what the drive does not depend on.
    std::string driveCommand{};
    /// Which events `publish` is to be given; empty for all.
    EventWish wanted{};
    UnixClock clock{}; ///< the system's, to know how old fed positions are; may be empty
};

/// What a client sends.
enum class ECall
{
    Request,
    Notification,
};

/// The navigation service without its sockets: maps operation names to handlers, keeps the state
/// behind them, moves the simulated world on, and sends events.
///
/// Time comes in from outside, and nothing else that differs from run to run: the same options and
/// calls give the same answers and events. With a work queue, when the results come of what takes
/// long differs.
/// Thread safety: none.
class CServiceCore
{
public:
    explicit CServiceCore(ServiceCoreOptions options);
    CServiceCore(const CServiceCore&) = delete;
    CServiceCore& operator=(const CServiceCore&) = delete;

    using StepSink =
        std::function<void(const CSimulation&, const std::optional<GeodeticPlace>& origin)>;

    /// Takes the answer to a call.
    using AnswerSink = std::function<void(Answer)>;
    /// Makes what is to be there while an attempt at a call is made. When it throws, the call is
    /// not carried out, and its answer is the reason.
    using ScopeMaker = std::function<std::shared_ptr<void>()>;

    /// Carries out a call, unless that takes long.
    ///
    /// @param answer receives the reply; as Request() returns it.
    /// @return false when it takes long: nothing has happened then, and it is to be queued.
    /// @throws CStepsPending for an advance: nothing has happened either.
    bool Try(ECall kind, const std::string& name, const BListC& arguments, Answer& answer);
    /// Queues a call that Try() has left; only with a work queue.
    ///
    /// @param done is called with the answer when the call has been carried out, from the loop.
    /// @param scope may be empty.
    CWorkQueue::Ticket Queue(ECall kind, const std::string& name, std::unique_ptr<BListC> arguments,
                             AnswerSink done, ScopeMaker scope = {},
                             CWorkQueue::EAsker asker = CWorkQueue::EAsker::Client);

    /// Carries out a request, however long it takes.
    ///
    /// @return the reply: a value, or an error whose text names the operation and what it wanted.
    Answer Request(const std::string& name, const BListC& arguments);
    /// Carries out a notification. One that cannot be carried out is logged.
    void Notify(const std::string& name, const BListC& arguments);
    /// Sends a new subscriber of an event the present state. A name that is not an event's is
    /// logged.
    void TellPresentState(const std::string& event, const EventSink& subscriber);

    /// Moves the world on by so much time of its own clock, in whole steps; the rest is kept for
    /// the next call. Events are sent as they happen.
    void Advance(double seconds);
    /// Moves it on by one step.
    void Step();

    /// Writes the drive to a file from now on; see CTrackRecorder::Open().
    std::string RecordTrack(const std::string& path, const CStateFile* settings = nullptr,
                            const std::string& run = "")
    {
        return m_recorder.Open(path, settings, run);
    }
    /// Has the world handed on each time that guidance has run, to all who have asked for it.
    void OnGuidance(std::function<void(const CSimulation&)> sink)
    {
        m_guided.push_back(std::move(sink));
    }
    /// What it takes to repeat the drive, in a line for people.
    const std::string& DriveCommand() const { return m_driveCommand; }
    /// Has a scenario happen from now on. What it calls is made on the spot, so that it repeats;
    /// what is refused is logged.
    void StartScenario(Scenario scenario);
    /// Whether a scenario has something planned still.
    bool HasScenario() const { return m_scenario.IsPlanned(); }
    /// Has the world handed on after each of its steps, with where its frame lies on the earth.
    void OnStep(StepSink sink) { m_onStep = std::move(sink); }
    /// Ends that file; see CTrackRecorder::Close().
    void EndTrack(std::chrono::steady_clock::time_point deadline) { m_recorder.Close(deadline); }
    /// The names of all operations.
    std::vector<std::string> OperationNames() const { return m_operations.Names(); }
    /// The wayline and the waypoints, to look at.
    const CWaylineKeeper& Waylines() const { return m_waylines; }
    /// What is made to happen to the machine, to look at.
    const CFaults& Faults() const { return m_faults; }
    /// The simulated world, to look at.
    const CSimulation& World() const { return m_simulation; }

private:
    CSimulatorOperations::Step Stepping(bool stepped);
    Answer Call(ECall kind, const std::string& name, const BListC& arguments);
    Answer CallOnTheSpot(ECall kind, const std::string& name, const BListC& arguments);
    std::string Do(const ScenarioEvent& event);
    void TellChanges(bool guidanceRan);
    void LogDrop();

    CServiceLog m_log;
    CWorkQueue* m_work;
    EventSink m_publish;
    EventWish m_wanted;
    CSimulation m_simulation;
    CKeptSettings m_kept;
    CWaylineKeeper m_waylines;
    CPositionFeed m_feed;
    CSteeringOperations m_steering;
    CWaylineOperations m_waylineOperations;
    COffsetOperations m_offsets;
    CPositionOperations m_positions;
    CTuningOperations m_tuning;
    CSimulatorOperations m_simulatorOperations;
    CFaults m_faults;
    CFaultOperations m_faultOperations;
    CScenarioRun m_scenario;
    COperationTable m_operations;
    CEvents m_events;
    CTrackRecorder m_recorder;
    std::vector<std::function<void(const CSimulation&)>> m_guided;
    const std::string m_driveCommand;
    StepSink m_onStep;
    double m_untakenSeconds = 0.0;
    bool m_wasDropped = false;
};

#endif
