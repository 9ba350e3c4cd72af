// Who goes when there are too many connections.

#include "runtime/ServerState.h"

#include <chrono>

namespace {

/// Such a part of the connections may be new.
constexpr std::size_t kShareOfNew = 8;

} // namespace

/// Whether the next connection would take the place of one whose first message waits to be read.
bool MPISocketServerC::StateC::IsFullOfUnread() const
{
    if (m_clients.size() < m_limits.connections) {
        return false;
    }
    bool isAnyUnread = false;
    for (const auto& [client, connection] : m_clients) {
        if (!connection->HasSentAMessage()) {
            if (!connection->HasUnreadMessage()) {
                return false;
            }
            isAnyUnread = true;
        }
    }
    return isAnyUnread;
}

/// Who has sent nothing loses nothing, and who asks now and then connects anew for the next
/// question. Of the others those stay that were there before the trouble began.
std::shared_ptr<ServerConnectionC> MPISocketServerC::StateC::LeastWorthy() const
{
    const auto quietSince = std::chrono::steady_clock::now() - m_limits.quiet;
    std::shared_ptr<ServerConnectionC> oldestSilent;
    std::shared_ptr<ServerConnectionC> silent; // the oldest of whom nothing waits to be read
    std::shared_ptr<ServerConnectionC> quiet;  // the longest
    std::shared_ptr<ServerConnectionC> newest;
    std::size_t silentOnes = 0;
    for (const auto& [client, connection] : m_clients) {
        if (!connection->HasSentAMessage()) {
            oldestSilent = oldestSilent == nullptr ? connection : oldestSilent;
            // What it says may have come already, and wait for the connection's first turn.
            silent = silent == nullptr && !connection->HasUnreadMessage() ? connection : silent;
            ++silentOnes;
        } else if (connection->Subscriptions().empty() && connection->LastGrowth() < quietSince) {
            const bool isQuieter =
                quiet == nullptr || connection->LastGrowth() < quiet->LastGrowth();
            quiet = isQuieter ? connection : quiet;
        } else {
            newest = connection;
        }
    }
    silent = silent == nullptr ? oldestSilent : silent;
    // Those that have just come may be about to send.
    const bool areNew = silentOnes <= m_clients.size() / kShareOfNew && silent != nullptr &&
                        silent->LastGrowth() >= quietSince;
    const auto& other = quiet != nullptr ? quiet : newest;
    return silent != nullptr && (!areNew || other == nullptr) ? silent : other;
}

void MPISocketServerC::StateC::DropLeastWorthy()
{
    Drop(*LeastWorthy(), "there are too many connections, and others are served better", true);
}
