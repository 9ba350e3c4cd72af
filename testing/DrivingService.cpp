#include "testing/DrivingService.h"

#include <cmath>
#include <future>
#include <stdexcept>
#include <thread>
#include <utility>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>

#include "runtime/SignalsBlocked.h"
#include "simulator/service/ServiceLink.h"

namespace Kestrove::Testing {
namespace {

constexpr std::uint16_t kPort = 5010;
constexpr double kTenth = 0.1;

EReceiver ReceiverOf(EDrivingReceiver receiver)
{
    switch (receiver) {
    case EDrivingReceiver::Ideal:
        return EReceiver::Ideal;
    case EDrivingReceiver::Sbas:
        return EReceiver::Sbas;
    case EDrivingReceiver::Rtk:
        break;
    }
    return EReceiver::Rtk;
}

SimulationOptions WorldOf(const CDrivingOptions& options)
{
    SimulationOptions world;
    world.seed = options.seed;
    world.ground = options.ground == EDrivingGround::Field ? EGround::Field : EGround::Firm;
    world.receiver = ReceiverOf(options.receiver);
    world.startPose = {{options.x, options.y}, NormaliseHeading(options.heading)};
    world.speed = options.speed;
    world.centreBias = options.centreBias;
    world.backlash = options.backlash;
    return world;
}

int StepsOf(double seconds)
{
    std::string problem;
    const std::optional<int> steps = CSimulatorOperations::WholeSteps(seconds, problem);
    if (!steps) {
        throw std::invalid_argument(problem);
    }
    return *steps;
}

} // namespace

/// The service on its thread, to which all of it belongs.
class CDrivingService::CState
{
public:
    explicit CState(const CDrivingOptions& options)
        : m_work(m_loop.get_executor()), m_link(m_loop, OptionsOf(options))
    {
        const std::string problem = m_link.Listen(kPort);
        if (!problem.empty()) {
            throw std::runtime_error(problem);
        }
        const SignalsBlockedC blocked;
        m_thread = std::thread([this] { m_loop.run(); });
    }

    ~CState()
    {
        m_loop.stop();
        m_thread.join();
    }

    /// Does something on the loop's thread and waits until it is done.
    template <typename Action>
    auto OnLoop(Action action)
    {
        using Task = std::packaged_task<std::invoke_result_t<Action>()>;
        const auto task = std::make_shared<Task>(std::move(action));
        auto result = task->get_future();
        asio::post(m_loop, [task] { (*task)(); });
        return result.get();
    }

    void Advance(int steps)
    {
        const auto advanced = std::make_shared<std::promise<void>>();
        asio::post(m_loop, [this, steps, advanced] { AdvanceOnceAllIsRead(steps, advanced); });
        advanced->get_future().get();
    }

    const CSimulation& World() { return m_link.Core().World(); }
    const std::vector<std::string>& Log() const { return m_log; }

private:
    ServiceCoreOptions OptionsOf(const CDrivingOptions& options)
    {
        ServiceCoreOptions made;
        made.simulation = WorldOf(options);
        made.log = [this](ELogLevel level, const std::string& line) {
            if (level <= ELogLevel::Info) {
                m_log.push_back(line);
            }
        };
        made.stepped = true;
        made.description = "a driving service inside a test, seed " + std::to_string(options.seed);
        return made;
    }

    /// What the test has sent, whose call has returned, is in the system at least.
    void AdvanceOnceAllIsRead(int steps, const std::shared_ptr<std::promise<void>>& advanced)
    {
        if (m_link.IsAdvancing() || m_link.HasUnread()) {
            asio::post(m_loop, [this, steps, advanced] { AdvanceOnceAllIsRead(steps, advanced); });
        } else {
            m_link.Advance(steps, [advanced] { advanced->set_value(); });
        }
    }

    asio::io_context m_loop;
    asio::executor_work_guard<asio::io_context::executor_type> m_work;
    std::vector<std::string> m_log;
    CServiceLink m_link;
    std::thread m_thread;
};

CDrivingService::CDrivingService(const CDrivingOptions& options)
    : m_state(std::make_unique<CState>(options))
{
}

CDrivingService::~CDrivingService() = default;

double CDrivingService::Advance(double seconds)
{
    m_state->Advance(StepsOf(seconds));
    return Time();
}

bool CDrivingService::AdvanceUntil(const std::function<bool()>& predicate, double limitSeconds)
{
    const double end = Time() + limitSeconds - kStepSeconds / 2.0;
    while (!predicate()) {
        if (Time() >= end) {
            return false;
        }
        Advance(kTenth);
    }
    return true;
}

double CDrivingService::Time() const
{
    return m_state->OnLoop([this] { return m_state->World().Time(); });
}

CTrueState CDrivingService::State() const
{
    return m_state->OnLoop([this] {
        const CSimulation& world = m_state->World();
        const Pose pose = world.TruePose();
        CTrueState state;
        state.time = world.Time();
        state.x = pose.position.x;
        state.y = pose.position.y;
        state.heading = NormaliseHeading(pose.heading);
        state.speed = world.Speed();
        state.steeringAngle = world.SteeringAngle();
        state.crossTrackError = world.TrueCrossTrackError();
        state.implementCrossTrackError = world.TrueImplementCrossTrackError();
        state.pass = world.Status().pass;
        state.isEngaged = world.Engaged();
        state.isNavigationActive = world.NavigationActive();
        state.dropReason = world.DropReason();
        return state;
    });
}

std::vector<std::string> CDrivingService::Log() const
{
    return m_state->OnLoop([this] { return m_state->Log(); });
}

} // namespace Kestrove::Testing
