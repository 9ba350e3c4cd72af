#include "runtime/ServerState.h"

#include <utility>

#include <asio/post.hpp>

#include "runtime/TurnClock.h"

namespace {

// The first element of a notification.
constexpr int kNotification = 2;

} // namespace

bool MPISocketServerC::StateC::EncodeEvent(const std::string& event, const BListC& payload)
{
    m_encoder.Clear();
    m_encoder.WriteListHeader(3);
    m_encoder.WriteInteger(kNotification);
    m_encoder.WriteString(event.data(), event.size());
    return m_encoder.Write(payload);
}

/// A thousand subscribers are not served in one go: an event is kept until each has it.
void MPISocketServerC::StateC::Push(const std::string& event)
{
    m_events.push_back({event, std::string(m_encoder.Data(), m_encoder.Size())});
    if (m_events.size() == 1) {
        StartTelling();
    }
}

/// Begins a round, at whose end all clients have the events that there are now.
void MPISocketServerC::StateC::StartTelling()
{
    m_roundEnd = m_toldEvents + m_events.size();
    m_toldLast = 0;
    PostTelling();
}

void MPISocketServerC::StateC::PostTelling()
{
    asio::post(m_loop, [self = shared_from_this()] { self->TellForATurn(); });
}

void MPISocketServerC::StateC::TellForATurn()
{
    const TurnClockC turn(ServerConnectionC::kTurn);
    // Sending may disconnect this client and others, which takes their entries away.
    for (auto next = m_clients.upper_bound(m_toldLast); next != m_clients.end();
         next = m_clients.upper_bound(m_toldLast)) {
        if (turn.IsOver()) {
            PostTelling();
            return;
        }
        m_toldLast = next->first;
        const std::shared_ptr<ServerConnectionC> connection = next->second;
        TellEvents(*connection);
    }
    while (m_toldEvents < m_roundEnd) {
        m_events.pop_front();
        ++m_toldEvents;
    }
    if (!m_events.empty()) {
        StartTelling();
    } else {
        LookWhetherSettled();
    }
}

/// Queues for a client what it has not been sent, so that the order of all it gets is that in which
/// it came about.
void MPISocketServerC::StateC::TellEvents(ServerConnectionC& connection)
{
    const std::uint64_t end = m_toldEvents + m_events.size();
    const std::uint64_t first = connection.NextEvent();
    connection.SetNextEvent(end);
    for (std::uint64_t number = first; number < end; ++number) {
        const Event& event = m_events[static_cast<std::size_t>(number - m_toldEvents)];
        if (connection.Wants(event.name)) {
            KeepIf(connection.Queue(event.bytes.data(), event.bytes.size()), connection);
        }
    }
}
