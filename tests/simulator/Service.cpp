#include "tests/simulator/Service.h"

#include <utility>

#include "tests/simulator/Values.h"

SimulationOptions IdealWorld(double speed)
{
    SimulationOptions world;
    world.receiver = EReceiver::Ideal;
    world.speed = speed;
    return world;
}

Service::Service(double speed) : Service(IdealWorld(speed)) {}

Service::Service(SimulationOptions world, KeptValues kept)
{
    ServiceCoreOptions options;
    options.simulation = world;
    options.kept = std::move(kept);
    options.keep = [this](const KeptValues& values) {
        m_kept = values;
        ++m_timesKept;
    };
    options.publish = [this](const std::string& event, const BListC& payload) {
        m_events.push_back({event, TextOf(&payload)});
    };
    options.log = [this](ELogLevel, const std::string& line) { m_log += line + "\n"; };
    options.stepped = true;
    m_core = std::make_unique<CServiceCore>(std::move(options));
}

std::string Service::Request(const std::string& name, const std::string& arguments)
{
    const Answer answer = m_core->Request(name, *ListFrom(arguments));
    return answer.error.empty() ? TextOf(answer.value.get()) : "error: " + answer.error;
}

void Service::Notify(const std::string& name, const std::string& arguments)
{
    m_core->Notify(name, *ListFrom(arguments));
}

bool Service::AdvanceUntil(const std::string& name, const std::string& arguments,
                           const std::string& reply, double atMostSeconds)
{
    const double end = World().Time() + atMostSeconds;
    while (Request(name, arguments) != reply) {
        if (World().Time() >= end) {
            return false;
        }
        Advance(0.1);
    }
    return true;
}

std::vector<std::string> Service::Subscribe(const std::string& event) const
{
    std::vector<std::string> told;
    m_core->TellPresentState(event, [&told](const std::string& name, const BListC& payload) {
        told.push_back(name + " " + TextOf(&payload));
    });
    return told;
}

std::vector<std::string> Service::Told(const std::string& event, EKeep keep)
{
    std::vector<std::string> payloads;
    for (const Event& told : m_events) {
        if (told.name == event) {
            payloads.push_back(told.payload);
        }
    }
    if (keep == EKeep::Nothing) {
        m_events.clear();
    }
    return payloads;
}

void Service::Forget()
{
    m_events.clear();
    m_log.clear();
}

void Service::NavigateNorth()
{
    Request("set_wayline", "[0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]");
    Request("StartNavigation", "[1, 1]");
    Forget();
}
