#ifndef KESTROVE_SIMULATOR_EVENTS_H
#define KESTROVE_SIMULATOR_EVENTS_H

#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "platform/BElement.h"
#include "simulator/WaylineKeeper.h"
#include "simulator/world/Simulation.h"

/// Takes an event that is to be pushed.
using EventSink = std::function<void(const std::string& event, const BListC& payload)>;

/// Makes the service's events from what the simulation and the wayline are now.
///
/// Thread safety: none.
class EventsC
{
public:
    /// Both must outlive this object.
    EventsC(const CSimulation& simulation, const WaylineKeeperC& waylines);

    /// Whether there is an event of the name.
    static bool Exists(const std::string& event) { return Table().count(event) != 0; }

    /// The events that tell the present state, as a client gets them that subscribes: one, but for
    /// the tuning parameters one a parameter; none for a name that is no event's.
    void TellPresentState(const std::string& event, const EventSink& sink) const;

    /// The events whose values have changed since the last call, and guidance status, relative
    /// position and the points to draw when they are due.
    ///
    /// @param guidanceRan whether guidance ran since the last call.
    void TellChanges(bool guidanceRan, const EventSink& sink);

private:
    using Number = std::variant<int, double>;
    using Payload = std::vector<Number>;
    using Payloads = std::vector<Payload>;

    /// When an event is due apart from a client's subscribing.
    enum class EDue
    {
        OnChange,
        WithGuidance,
        ToDraw,
    };

    struct Event
    {
        EDue due;
        Payloads (EventsC::*tell)() const;
    };

    static const std::map<std::string, Event>& Table();
    static void Send(const std::string& event, const Payload& payload, const EventSink& sink);

    Payloads EngageStatus() const;
    Payloads GuidanceStatus() const;
    Payloads Offsets() const;
    Payloads WaylineStatus() const;
    Payloads ImplementWidth() const;
    Payloads TuningParameters() const;
    Payloads RelativePosition() const;
    Payloads DrawPoints() const;

    void TellChanged(const std::string& name, const Event& event, const EventSink& sink);
    bool DrawingDue(bool guidanceRan);

    const CSimulation& m_simulation;
    const WaylineKeeperC& m_waylines;
    std::map<std::string, Payloads> m_told;
    double m_drawnAt = 0.0;
    int m_drawnRevision = 0;
    bool m_drawn = false;
};

#endif
