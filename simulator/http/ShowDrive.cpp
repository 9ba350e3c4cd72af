#include "simulator/http/ShowDrive.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

#include <nlohmann/json.hpp>

#include "simulator/http/PageValues.h"

namespace {

constexpr double kSpeed = 3.0;    // metres per second
constexpr double kBeside = 0.8;   // metres from the machine to the line
constexpr double kLength = 300.0; // metres
constexpr double kEngaging = 8.0; // seconds after the beginning, as those that follow
constexpr double kShortOutage = 20.0;
constexpr double kShortOutageEnd = 23.0;
constexpr double kLongOutage = 32.0;
constexpr double kLongOutageEnd = 38.5;
constexpr double kEngagingAgain = 44.0;
constexpr double kSummary = 52.0;
constexpr int kDropped = 5; // the step that begins when steering is dropped

/// When the steps begin, that after the drop left out.
constexpr double kSteps[] = {0.0, kEngaging, kShortOutage, kShortOutageEnd, kLongOutage};

template <typename... Values>
std::unique_ptr<BListC> ListOf(Values... values)
{
    auto list = std::make_unique<BListC>(nullptr);
    [[maybe_unused]] const auto add = [&list](auto value) {
        if constexpr (std::is_same_v<decltype(value), int>) {
            list->AddInt(value);
        } else if constexpr (std::is_same_v<decltype(value), double>) {
            list->AddDouble(value);
        } else {
            list->AddString(value);
        }
    };
    (add(values), ...);
    return list;
}

} // namespace

std::string CShowDrive::WhyNot() const
{
    const CSimulation& world = m_core.World();
    if (!m_hasHadClients) {
        return "it is not offered";
    }
    if (m_isRunning) {
        return "it is being shown already";
    }
    if (m_hasHadClients()) {
        return "an application is using the service, or has been";
    }
    if (m_core.HasScenario()) {
        return "a scenario is planned";
    }
    if (world.Engaged() || world.NavigationActive()) {
        return "navigation is active";
    }
    const WaylineStatus line = m_core.Waylines().Status();
    if (world.HasLine() || line.complete || line.recording ||
        m_core.Waylines().WaypointAt(0) != nullptr) {
        return "there is a line already";
    }
    if (world.FedMode() || !m_core.Faults().Now().empty() || world.Nudge() != 0.0) {
        return "something is set already";
    }
    return {};
}

std::string CShowDrive::Begin()
{
    const std::string why = WhyNot();
    if (!why.empty()) {
        return why;
    }
    m_isRunning = true;
    m_step = 0;
    m_ended.clear();
    m_begin = m_core.World().Time();
    m_speedBefore = m_core.World().SpeedSetPoint();
    m_lastSeen = Clock::now();
    m_core.StartScenario(Plan());
    return {};
}

Scenario CShowDrive::Plan() const
{
    const CSimulation& world = m_core.World();
    const Pose pose = world.EstimatedPose();
    const double aside = std::min(kBeside, world.ImplementWidth() / 4.0);
    const Point ahead{std::sin(pose.heading), std::cos(pose.heading)};
    const Point a{pose.position.x + aside * ahead.y, pose.position.y - aside * ahead.x};
    const Point b{a.x + kLength * ahead.x, a.y + kLength * ahead.y};
    Scenario plan;
    const auto call = [&](double at, const char* operation, std::unique_ptr<BListC> arguments) {
        plan.events.push_back(
            {m_begin + at, 0,
             ScenarioCall{operation, std::shared_ptr<const BListC>(std::move(arguments))}});
    };
    const auto outage = [&](double at, double until) {
        plan.events.push_back(
            {m_begin + at, 0, ScenarioFault{"gnss-outage", std::string("on"), until - at}});
    };
    call(0.0, "SetVelocitySetPoint", ListOf(kSpeed));
    call(0.0, "set_wayline", ListOf(0, a.x, a.y, 0.0, b.x, b.y, 0.0));
    call(kEngaging, "StartNavigation", ListOf(1, 0));
    call(kEngaging, "EngageSteering", ListOf(1));
    outage(kShortOutage, kShortOutageEnd);
    outage(kLongOutage, kLongOutageEnd);
    call(kEngagingAgain, "EngageSteering", ListOf(1));
    return plan;
}

void CShowDrive::Do(const char* operation, std::unique_ptr<BListC> arguments)
{
    m_core.Request(operation, *arguments);
}

void CShowDrive::End(const std::string& why)
{
    if (!m_isRunning) {
        return;
    }
    m_isRunning = false;
    m_ended = why;
    m_core.StartScenario({});
    Do("simulator_fault", ListOf("gnss-outage", "off", 0.0));
    Do("DisengageSteering", ListOf(1));
    Do("StopNavigation", ListOf(1));
    Do("clear_wayline", ListOf());
    Do("SetVelocitySetPoint", ListOf(m_speedBefore));
}

int CShowDrive::StepNow() const
{
    const double since = m_core.World().Time() - m_begin;
    if (since >= kSummary) {
        return kDropped + 2;
    }
    if (since >= kEngagingAgain && m_core.World().Engaged()) {
        return kDropped + 1;
    }
    if (since >= kLongOutage && m_core.World().DroppedByService()) {
        return kDropped;
    }
    const auto next = std::upper_bound(std::begin(kSteps), std::end(kSteps), since);
    return static_cast<int>(next - std::begin(kSteps)) - 1;
}

void CShowDrive::Look(bool isSeen, Clock::time_point now)
{
    if (!m_isRunning) {
        return;
    }
    m_lastSeen = isSeen ? now : m_lastSeen;
    m_step = std::max(m_step, StepNow());
    if (m_core.World().Time() - m_begin >= kSeconds) {
        End("That was all.");
    } else if (now - m_lastSeen > kUnseen) {
        End("Nobody looked any more.");
    }
}

std::string CShowDrive::Json() const
{
    if (!m_hasHadClients) {
        return {};
    }
    return JsonText({{"offered", WhyNot().empty()},
                     {"running", m_isRunning},
                     {"begin", m_begin},
                     {"seconds", kSeconds},
                     {"step", m_step},
                     {"ended", m_ended}});
}
