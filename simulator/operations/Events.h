#ifndef KESTROVE_SIMULATOR_OPERATIONS_EVENTS_H
#define KESTROVE_SIMULATOR_OPERATIONS_EVENTS_H

#include <functional>
#include <map>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "platform/BElement.h"
#include "simulator/lines/WaylineKeeper.h"
#include "simulator/world/Simulation.h"

/// Answers whether anybody wants an event.
using EventWish = std::function<bool(const std::string& event)>;
/// Takes an event that is to be pushed.
using EventSink = std::function<void(const std::string& event, const BListC& payload)>;

/// Makes the service's events from what the simulation and the wayline are now.
///
/// A value that has changed is sent at once, unless it has been sent since guidance last ran: then
/// what it is when guidance runs next. So no value is sent more often than guidance runs, however
/// often clients change it, the last one is always sent, and what guidance itself changes, such as
/// that it drops steering, is never left out.
///
/// Thread safety: none.
class CEvents
{
public:
    /// Both must outlive this object.
    CEvents(const CSimulation& simulation, const CWaylineKeeper& waylines);

    /// Whether there is an event of the name.
    static bool Exists(const std::string& event) { return Table().count(event) != 0; }

    /// The events that carry the present state, as a client gets them that subscribes: one, but for
    /// the tuning parameters one a parameter; none for a name that is not an event's.
    void TellPresentState(const std::string& event, const EventSink& sink);

    /// The events whose values have changed since they were sent, and guidance status, relative
    /// position and the points to draw, as far as they are due.
    ///
    /// @param guidanceRan whether guidance ran since the last call.
    /// @param wanted of an event that nobody wants not even the values are looked at; empty where
    ///        all are wanted. Whoever comes to want one is sent the present state first.
    void TellChanges(bool guidanceRan, const EventSink& sink, const EventWish& wanted = {});

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

    /// What subscribers have been sent last.
    struct Told
    {
        Payload payload;
        bool sinceGuidance; ///< sent since guidance last ran, so that a further change waits
    };

    struct Event
    {
        EDue due;
        Payloads (CEvents::*tell)() const;
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

    void TellChanged(const std::string& name, const Event& event, bool guidanceRan,
                     const EventSink& sink);
    void Send(const std::string& name, const Event& event, const EventSink& sink) const;
    bool DrawingDue(bool guidanceRan);

    const CSimulation& m_simulation;
    const CWaylineKeeper& m_waylines;
    std::map<std::string, std::vector<Told>> m_told; ///< one a parameter of tuning
    std::set<std::string> m_unwanted; ///< whose values have not been looked at since they were sent
    double m_drawnAt = 0.0;
    int m_drawnRevision = 0;
    bool m_drawn = false;
    bool m_drawnSinceGuidance = false;
};

#endif
