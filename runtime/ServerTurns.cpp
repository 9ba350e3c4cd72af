#include "runtime/ServerState.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <asio/post.hpp>

#include "runtime/TurnClock.h"

namespace {

// With so much to be destroyed, what is large goes on when some of it is gone.
constexpr std::size_t kMostPending = std::size_t{32} * 1024 * 1024;
constexpr std::chrono::milliseconds kTurnsPause(2);

// What short requests take together before the loop looks at everything else again: most of what a
// piece of work may take, so that as few turns of those who have much to do come in between.
constexpr std::chrono::microseconds kFirstTurns(2000); // of processor time

// Unfinished messages are looked through no more often than so many times until one is over.
constexpr int kLooksAtUnfinished = 8;

// So many connections that are stuck end between two looks at the others, if there is time for
// them: what follows the end of each comes in handlers of its own, outside of any turn.
constexpr std::size_t kMostEndsPerTurn = 64;

} // namespace

/// In the order in which they came. A thousand at once are not served in one go.
void MPISocketServerC::StateC::FirstTurnWanted(ServerConnectionC& connection)
{
    m_firstTurns.push_back(connection.shared_from_this());
    if (m_firstTurns.size() == 1) {
        PostFirstTurns();
    }
}

void MPISocketServerC::StateC::PostFirstTurns()
{
    asio::post(m_loop, [self = shared_from_this()] { self->GiveFirstTurns(); });
}

void MPISocketServerC::StateC::GiveFirstTurns()
{
    const TurnClockC turns(kFirstTurns);
    while (!m_firstTurns.empty()) {
        const std::shared_ptr<ServerConnectionC> connection = m_firstTurns.front();
        connection->TakeFirstTurn();
        CatchUp();
        if (!m_firstTurns.empty()) { // it is, when the handler has ended the server
            m_firstTurns.pop_front();
        }
        if (!m_firstTurns.empty() && turns.IsOver()) {
            PostFirstTurns();
            return;
        }
    }
}

/// Those who have much to do share what one of them would have: a turn at a time, and whatever is
/// new in between.
void MPISocketServerC::StateC::TurnWanted(ServerConnectionC& connection)
{
    m_turns.push_back(connection.shared_from_this());
    if (m_turns.size() == 1) {
        PostTurn();
    }
}

void MPISocketServerC::StateC::PostTurn()
{
    asio::post(m_loop, [self = shared_from_this()] { self->GiveTurn(); });
}

void MPISocketServerC::StateC::DropClosedTurns()
{
    while (!m_turns.empty() && !m_turns.front()->IsOpen()) {
        m_turns.pop_front();
    }
}

void MPISocketServerC::StateC::GiveTurn()
{
    DropClosedTurns();
    if (m_turns.empty()) {
        return;
    }
    if (m_disposer->Pending() > kMostPending) {
        m_pause.expires_after(kTurnsPause);
        m_pause.async_wait(
            [self = shared_from_this()](const asio::error_code&) { self->GiveTurn(); });
        return;
    }
    // Who has just come is first, and does not wait for two turns of those who have much to do.
    m_hasYielded = !m_hasYielded && !m_firstTurns.empty();
    if (m_hasYielded) {
        PostTurn();
        return;
    }
    // Several short ones in the time of one.
    const TurnClockC turn(ServerConnectionC::kTurn);
    do {
        const std::shared_ptr<ServerConnectionC> connection = m_turns.front();
        connection->TakeTurn();
        CatchUp();
        if (!m_turns.empty()) { // it is, when the handler has ended the server
            m_turns.pop_front();
        }
        DropClosedTurns();
    } while (!m_turns.empty() && !turn.IsOver());
    if (!m_turns.empty()) {
        PostTurn();
    }
}

/// An event goes to all its subscribers; others are looked at after as many as a turn allows.
void MPISocketServerC::StateC::SendingWanted(ServerConnectionC& connection)
{
    m_senders.push_back(connection.shared_from_this());
    if (m_senders.size() == 1) {
        PostSending();
    }
}

void MPISocketServerC::StateC::PostSending()
{
    asio::post(m_loop, [self = shared_from_this()] { self->SendForATurn(); });
}

void MPISocketServerC::StateC::SendForATurn()
{
    const auto end = std::chrono::steady_clock::now() + ServerConnectionC::kTurn;
    while (!m_senders.empty()) {
        const std::shared_ptr<ServerConnectionC> connection = m_senders.front();
        connection->SendQueued();
        m_senders.pop_front();
        if (!m_senders.empty() && std::chrono::steady_clock::now() >= end) {
            PostSending();
            return;
        }
    }
}

void MPISocketServerC::StateC::ProgressAwaited(ServerConnectionC& /*connection*/)
{
    if (!m_isWatching) {
        Watch(m_limits.unfinished);
    }
}

/// Looks at the unfinished messages after a time. Without any there is no timer.
void MPISocketServerC::StateC::Watch(std::chrono::steady_clock::duration time)
{
    m_isWatching = true;
    m_watch.expires_after(time);
    m_watch.async_wait([weak = weak_from_this()](const asio::error_code& error) {
        const std::shared_ptr<StateC> self = weak.lock();
        if (!error && self != nullptr) {
            self->EndStuck();
        }
    });
}

/// Ends for a turn those whose clients have done nothing for too long. A thousand do not end in one
/// go.
void MPISocketServerC::StateC::EndStuck()
{
    const auto now = std::chrono::steady_clock::now();
    std::vector<std::shared_ptr<ServerConnectionC>> over;
    bool isAny = false;
    auto next = now + m_limits.unfinished;
    for (const auto& [client, connection] : m_clients) {
        if (!connection->IsUnfinished() && !connection->IsUnread()) {
            continue;
        }
        const auto end = connection->LastGrowth() + m_limits.unfinished;
        if (end <= now) {
            over.push_back(connection);
        } else {
            isAny = true;
            next = std::min(next, end);
        }
    }
    const TurnClockC turn(ServerConnectionC::kTurn);
    const std::size_t most = std::min(over.size(), kMostEndsPerTurn);
    std::size_t ended = 0;
    for (; ended < most && !turn.IsOver(); ++ended) {
        DropStuck(*over[ended]);
    }
    const bool areLeft = ended < over.size();
    m_isWatching = isAny || areLeft;
    if (areLeft) {
        asio::post(m_loop, [self = shared_from_this()] { self->EndStuck(); });
    } else if (isAny) {
        Watch(std::max<std::chrono::steady_clock::duration>(next - now, m_limits.unfinished /
                                                                            kLooksAtUnfinished));
    }
}

void MPISocketServerC::StateC::DropStuck(ServerConnectionC& connection)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(m_limits.unfinished);
    const char* const problem = connection.IsUnread()
                                    ? "the last replies were not taken for "
                                    : "an unfinished message that has not grown for ";
    Drop(connection, problem + std::to_string(seconds.count()) + " s", true);
}

void MPISocketServerC::StateC::HeldChanged(std::size_t before, std::size_t now)
{
    m_held = m_held - before + now;
    while (now > before && m_held > m_limits.memory && !m_clients.empty()) {
        DropGreediest();
    }
}

/// Of those that hold the same, the newest: the others were there before the trouble began.
std::shared_ptr<ServerConnectionC> MPISocketServerC::StateC::Greediest() const
{
    const auto holdsLess = [](const auto& left, const auto& right) {
        return left.second->Held() < right.second->Held() ||
               (left.second->Held() == right.second->Held() && left.first < right.first);
    };
    return std::max_element(m_clients.begin(), m_clients.end(), holdsLess)->second;
}

void MPISocketServerC::StateC::GiveUpGreediest()
{
    const auto greediest = m_clients.empty() ? nullptr : Greediest();
    if (greediest != nullptr && greediest->Held() > ServerConnectionC::kSilentBytes) {
        Drop(*greediest, "holds the most of the connections, and there is no memory left", true);
    }
}

void MPISocketServerC::StateC::DropGreediest()
{
    const std::size_t mebibytes = m_limits.memory >> 20U;
    Drop(*Greediest(),
         "holds the most of the connections, which together hold more than " +
             std::to_string(mebibytes) + " MiB of what is unfinished or waits",
         true);
}
