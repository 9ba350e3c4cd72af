#include "runtime/ServerState.h"

#include <algorithm>
#include <utility>

#include <asio/post.hpp>

namespace {

// So many turns of the loop are given to reading what has come, so that nobody keeps a pause from
// ending by sending without end.
constexpr int kMostLooksForUnread = 256;

} // namespace

void MPISocketServerC::StateC::Pause()
{
    m_isPaused = true;
    m_isCatchingUp = false;
    for (const auto& [client, connection] : m_clients) {
        connection->ServeUpTo(0);
    }
}

void MPISocketServerC::StateC::Resume()
{
    if (!m_isPaused || m_isCatchingUp) {
        return;
    }
    m_isCatchingUp = true;
    m_catchingUp = 0;
    // What a further pause has interrupted goes on first: who sends pauses in a row does not keep
    // the others from being served.
    if (!IsAnyWaiting(m_catchUpTo)) {
        m_catchUpTo = m_arrivals;
    }
    CatchUp();
}

bool MPISocketServerC::StateC::IsAnyWaiting(std::uint64_t arrival) const
{
    return std::any_of(m_clients.begin(), m_clients.end(), [arrival](const auto& client) {
        return client.second->HasWaiting(arrival);
    });
}

/// Whether a connection has its turn of serving what has waited, and is not through with it. Then
/// it asks for its next turn itself.
bool MPISocketServerC::StateC::IsCatchingUp(const ServerConnectionC& connection) const
{
    return connection.Number() == m_catchingUp &&
           (connection.IsHeld() || connection.HasWaiting(m_catchUpTo));
}

/// Gives the first connection a turn that has what has waited, once the last is through.
void MPISocketServerC::StateC::CatchUp()
{
    while (m_isCatchingUp) {
        const auto last = m_clients.find(m_catchingUp);
        if (last != m_clients.end() && IsCatchingUp(*last->second)) {
            return;
        }
        const auto next =
            std::find_if(m_clients.begin(), m_clients.end(), [this](const auto& client) {
                return client.second->HasWaiting(m_catchUpTo);
            });
        if (next != m_clients.end()) {
            m_catchingUp = next->first;
            next->second->ServeUpTo(m_catchUpTo);
            TurnWanted(*next->second);
            return;
        }
        if (IsAnyWaiting(ServerConnectionC::kAnyArrival)) { // what came meanwhile
            m_catchingUp = 0;
            m_catchUpTo = m_arrivals;
            continue;
        }
        m_isCatchingUp = false;
        m_isPaused = false;
        for (const auto& [client, connection] : m_clients) {
            connection->ServeUpTo(ServerConnectionC::kAnyArrival);
        }
    }
}

void MPISocketServerC::StateC::CatchUpLater()
{
    if (m_isCatchingUp || m_settled) {
        asio::post(m_loop, [self = shared_from_this()] {
            self->CatchUp();
            self->LookWhetherSettled();
        });
    }
}

void MPISocketServerC::StateC::Settle(std::function<void()> then)
{
    m_settled = std::move(then);
    m_untaken.clear();
    m_patience.cancel();
    m_looksForUnread = kMostLooksForUnread;
    LookLaterWhetherSettled();
}

void MPISocketServerC::StateC::LookLaterWhetherSettled()
{
    asio::post(m_loop, [self = shared_from_this()] { self->LookWhetherSettled(); });
}

/// Looks whether all that was sent has been taken; once more whenever a connection has sent what
/// was queued for it, or has ended. In a pause, what has come until then is read too: it came
/// meanwhile, and is served in the order of that, however short the pause was.
void MPISocketServerC::StateC::LookWhetherSettled()
{
    if (!m_settled || !m_events.empty()) {
        return;
    }
    const bool isAnyUntaken =
        std::any_of(m_clients.begin(), m_clients.end(),
                    [](const auto& client) { return client.second->Unsent() > 0; });
    if (isAnyUntaken && m_untaken.empty()) {
        WaitForTakers();
    } else if (!isAnyUntaken && m_isPaused && HasUnread() && m_looksForUnread-- > 0) {
        LookLaterWhetherSettled();
    } else if (!isAnyUntaken) {
        m_untaken.clear();
        m_patience.cancel();
        asio::post(m_loop, [then = std::exchange(m_settled, nullptr)] { then(); });
    }
}

void MPISocketServerC::StateC::WaitForTakers()
{
    m_untaken.clear();
    for (const auto& [client, connection] : m_clients) {
        if (connection->Unsent() > 0) {
            m_untaken.emplace(client, connection->Unsent());
        }
    }
    m_patience.expires_after(m_limits.untaken);
    m_patience.async_wait([weak = weak_from_this()](const asio::error_code& error) {
        const std::shared_ptr<StateC> self = weak.lock();
        if (!error && self != nullptr) {
            self->DropWhoTakeNothing();
        }
    });
}

void MPISocketServerC::StateC::DropWhoTakeNothing()
{
    const std::map<ClientNumber, std::size_t> before = std::exchange(m_untaken, {});
    for (const auto& [client, unsent] : before) {
        const auto found = m_clients.find(client);
        if (found != m_clients.end() && found->second->Unsent() >= unsent) {
            const std::shared_ptr<ServerConnectionC> connection = found->second;
            Drop(*connection, "everything waited for it to take what it is sent", true);
        }
    }
    LookWhetherSettled();
}

bool MPISocketServerC::StateC::HasUnread() const
{
    const auto isWaiting = [](const auto& listener) { return listener->IsOneWaiting(); };
    const auto hasBytes = [](const auto& client) { return client.second->HasUnreadBytes(); };
    return !m_firstTurns.empty() || !m_turns.empty() ||
           std::any_of(m_listeners.begin(), m_listeners.end(), isWaiting) ||
           std::any_of(m_clients.begin(), m_clients.end(), hasBytes);
}

/// Who has gone wants no events.
void MPISocketServerC::StateC::ForgetWishes(const ServerConnectionC& connection)
{
    for (const std::string& event : connection.Subscriptions()) {
        const auto found = m_wanted.find(event);
        if (--found->second == 0) {
            m_wanted.erase(found);
        }
    }
}
