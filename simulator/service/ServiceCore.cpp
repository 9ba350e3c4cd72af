#include "simulator/service/ServiceCore.h"

#include <exception>
#include <utility>

namespace {

// Ten tenths of a second are as many steps as one second, whatever their sum rounds to.
constexpr double kStepTolerance = 1e-9;

/// Applied before anything looks at the settings, so that nothing is told as a change of them.
CSimulation& WithKept(CSimulation& simulation, const CKeptSettings& kept, const CServiceLog& log)
{
    log.Carried("kept setting", kept.ApplyTo(simulation));
    return simulation;
}

} // namespace

CServiceCore::CServiceCore(ServiceCoreOptions options)
    : m_log(std::move(options.log)), m_work(options.work), m_publish(std::move(options.publish)),
      m_wanted(std::move(options.wanted)), m_simulation(options.simulation, m_work),
      m_kept(std::move(options.kept), std::move(options.keep), std::move(options.keepState)),
      m_waylines(WithKept(m_simulation, m_kept, m_log), m_work),
      m_feed(m_simulation, std::move(options.clock)),
      m_steering(m_simulation, m_waylines, m_kept, m_log),
      m_waylineOperations(m_simulation, m_waylines, m_feed, m_log, m_work),
      m_offsets(m_simulation, m_log, m_work), m_positions(m_feed, m_log),
      m_tuning(m_simulation, m_kept, m_log),
      m_simulatorOperations(m_simulation, m_kept, Stepping(options.stepped), m_work,
                            std::move(options.description)),
      m_faults(m_simulation), m_faultOperations(m_faults), m_events(m_simulation, m_waylines)
{
    m_steering.Register(m_operations);
    m_waylineOperations.Register(m_operations);
    m_offsets.Register(m_operations);
    m_positions.Register(m_operations);
    m_tuning.Register(m_operations);
    m_simulatorOperations.Register(m_operations);
    m_faultOperations.Register(m_operations);
}

/// How the simulator's own operations move the world on; empty where time passes by itself.
CSimulatorOperations::Step CServiceCore::Stepping(bool stepped)
{
    return stepped ? [this] { Step(); } : CSimulatorOperations::Step();
}

Answer CServiceCore::Call(ECall kind, const std::string& name, const BListC& arguments)
{
    Answer answer = m_operations.Call(name, arguments);
    if (!answer.error.empty() && kind == ECall::Request) {
        m_log.Write(ELogLevel::Info, "request refused: " + answer.error);
    }
    if (!answer.error.empty() && kind == ECall::Notification) {
        m_log.Write(ELogLevel::Warning, "notification ignored: " + answer.error);
    }
    TellChanges(false);
    return answer;
}

bool CServiceCore::Try(ECall kind, const std::string& name, const BListC& arguments, Answer& answer)
try {
    // Between two pieces of an advance nothing else takes effect, but for the operator's hand.
    if (m_work != nullptr && m_work->IsInPieces() && name != CSteeringOperations::kDisengage) {
        return false;
    }
    answer = Call(kind, name, arguments);
    return true;
} catch (const CWorkPending&) {
    return false;
}

CWorkQueue::Ticket CServiceCore::Queue(ECall kind, const std::string& name,
                                       std::unique_ptr<BListC> arguments, AnswerSink done,
                                       ScopeMaker scope, CWorkQueue::EAsker asker)
{
    auto attempt = [this, kind, name, done = std::move(done), scope = std::move(scope),
                    list = m_work->Keep(std::move(arguments))] {
        std::shared_ptr<void> during;
        Answer answer;
        try {
            during = scope ? scope() : nullptr;
            answer = Call(kind, name, *list);
        } catch (const CWorkPending&) {
            throw;
        } catch (const std::exception& error) {
            answer.error = error.what();
        }
        done(std::move(answer));
    };
    return m_work->Add(std::move(attempt), asker);
}

Answer CServiceCore::CallOnTheSpot(ECall kind, const std::string& name, const BListC& arguments)
{
    Answer answer;
    const auto call = [&] { answer = Call(kind, name, arguments); };
    if (m_work != nullptr) {
        m_work->CallOnTheSpot(call);
    } else {
        call();
    }
    return answer;
}

Answer CServiceCore::Request(const std::string& name, const BListC& arguments)
{
    return CallOnTheSpot(ECall::Request, name, arguments);
}

void CServiceCore::Notify(const std::string& name, const BListC& arguments)
{
    CallOnTheSpot(ECall::Notification, name, arguments);
}

void CServiceCore::TellPresentState(const std::string& event, const EventSink& subscriber)
{
    if (!CEvents::Exists(event)) {
        m_log.Write(ELogLevel::Warning,
                    "subscribe: there is no event \"" + Printable(event) + "\"");
    }
    m_events.TellPresentState(event, subscriber);
}

void CServiceCore::Advance(double seconds)
{
    m_untakenSeconds += seconds;
    while (m_untakenSeconds >= CSimulation::kStepSeconds - kStepTolerance) {
        m_untakenSeconds -= CSimulation::kStepSeconds;
        Step();
    }
}

void CServiceCore::StartScenario(Scenario scenario)
{
    m_scenario.Start(std::move(scenario), [this](const ScenarioEvent& event) { return Do(event); });
}

std::string CServiceCore::Do(const ScenarioEvent& event)
{
    if (const auto* const fault = std::get_if<ScenarioFault>(&event.what)) {
        return m_faults.Set(fault->name, fault->value, fault->seconds).Reason();
    }
    const auto& call = std::get<ScenarioCall>(event.what);
    return CallOnTheSpot(ECall::Request, call.operation, *call.arguments).error;
}

void CServiceCore::Step()
{
    for (const std::string& refused : m_scenario.Look(m_simulation.Time())) {
        m_log.Write(ELogLevel::Warning, refused);
    }
    m_faults.Look();
    m_simulation.Step();
    if (m_onStep) {
        m_onStep(m_simulation, m_feed.Origin());
    }
    if (!m_simulation.ControlRan()) {
        return;
    }
    m_waylines.Record(m_feed.Height());
    for (const auto& sink : m_guided) {
        sink(m_simulation);
    }
    const std::string problem = m_recorder.Write(m_simulation);
    if (!problem.empty()) {
        m_log.Write(ELogLevel::Error, problem);
    }
    LogDrop();
    TellChanges(true);
}

void CServiceCore::TellChanges(bool guidanceRan)
{
    if (m_publish) {
        m_events.TellChanges(guidanceRan, m_publish, m_wanted);
    }
}

void CServiceCore::LogDrop()
{
    const bool dropped = m_simulation.DroppedByService();
    if (dropped && !m_wasDropped) {
        m_log.Write(ELogLevel::Warning, "steering dropped: " + m_simulation.DropReason());
    }
    m_wasDropped = dropped;
}
