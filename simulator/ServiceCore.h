#ifndef KESTROVE_SIMULATOR_SERVICECORE_H
#define KESTROVE_SIMULATOR_SERVICECORE_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/BElement.h"
#include "simulator/Events.h"
#include "simulator/KeptSettings.h"
#include "simulator/OffsetOperations.h"
#include "simulator/OperationTable.h"
#include "simulator/PositionFeed.h"
#include "simulator/PositionOperations.h"
#include "simulator/ServiceLog.h"
#include "simulator/SteeringOperations.h"
#include "simulator/TrackRecorder.h"
#include "simulator/TuningOperations.h"
#include "simulator/WaylineKeeper.h"
#include "simulator/WaylineOperations.h"
#include "simulator/WorkQueue.h"
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
    WorkQueueC* work = nullptr;
    KeepState keepState{}; ///< how far the saving of what `keep` took is; may be empty
    UnixClock clock{};     ///< the system's, to know how old fed positions are; may be empty
};

/// What a client sends.
enum class ECall
{
    Request,
    Notification,
};

/// The navigation service without its sockets: maps operation names to handlers, keeps the state
/// behind them, moves the simulated world on, and tells events.
///
/// Time comes in from outside, and nothing else that differs from run to run: the same options and
/// calls give the same answers and events. With a work queue, when the results come of what takes
/// long differs.
/// Thread safety: none.
class ServiceCoreC
{
public:
    explicit ServiceCoreC(ServiceCoreOptions options);
    ServiceCoreC(const ServiceCoreC&) = delete;
    ServiceCoreC& operator=(const ServiceCoreC&) = delete;

    /// Takes the answer to a call.
    using AnswerSink = std::function<void(Answer)>;
    /// Makes what is to be there while an attempt at a call is made. When it throws, the call is
    /// not carried out, and its answer is the reason.
    using ScopeMaker = std::function<std::shared_ptr<void>()>;

    /// Carries out a call, unless that takes long.
    ///
    /// @param answer receives the reply; as Request() returns it.
    /// @return false when it takes long: nothing has happened then, and it is to be queued.
    bool Try(ECall kind, const std::string& name, const BListC& arguments, Answer& answer);
    /// Queues a call that Try() has left; only with a work queue.
    ///
    /// @param done is called with the answer when the call has been carried out, from the loop.
    /// @param scope may be empty.
    WorkQueueC::Ticket Queue(ECall kind, const std::string& name, std::unique_ptr<BListC> arguments,
                             AnswerSink done, ScopeMaker scope = {},
                             WorkQueueC::EAsker asker = WorkQueueC::EAsker::Client);

    /// Carries out a request, however long it takes.
    ///
    /// @return the reply: a value, or an error whose text names the operation and what it wanted.
    Answer Request(const std::string& name, const BListC& arguments);
    /// Carries out a notification. One that cannot be carried out is logged.
    void Notify(const std::string& name, const BListC& arguments);
    /// Tells a new subscriber of an event the present state. A name that is no event's is logged.
    void TellPresentState(const std::string& event, const EventSink& subscriber) const;

    /// Moves the world on by so much time of its own clock, in whole steps; the rest is kept for
    /// the next call. Events are told as they happen.
    void Advance(double seconds);

    /// Writes the drive to a file from now on; see TrackRecorderC::Open().
    std::string RecordTrack(const std::string& path, const StateFileC* settings = nullptr)
    {
        return m_recorder.Open(path, settings);
    }
    /// Ends that file; see TrackRecorderC::Close().
    void EndTrack(std::chrono::steady_clock::time_point deadline) { m_recorder.Close(deadline); }
    /// The names of all operations.
    std::vector<std::string> OperationNames() const { return m_operations.Names(); }
    /// The wayline and the waypoints, to look at.
    const WaylineKeeperC& Waylines() const { return m_waylines; }
    /// The simulated world, to look at.
    const CSimulation& World() const { return m_simulation; }

private:
    Answer Call(ECall kind, const std::string& name, const BListC& arguments);
    Answer CallOnTheSpot(ECall kind, const std::string& name, const BListC& arguments);
    void Step();
    void TellChanges(bool guidanceRan);
    void LogDrop();

    ServiceLogC m_log;
    WorkQueueC* m_work;
    EventSink m_publish;
    CSimulation m_simulation;
    KeptSettingsC m_kept;
    WaylineKeeperC m_waylines;
    PositionFeedC m_feed;
    SteeringOperationsC m_steering;
    WaylineOperationsC m_waylineOperations;
    OffsetOperationsC m_offsets;
    PositionOperationsC m_positions;
    TuningOperationsC m_tuning;
    OperationTableC m_operations;
    EventsC m_events;
    TrackRecorderC m_recorder;
    double m_untakenSeconds = 0.0;
    bool m_wasDropped = false;
};

#endif
