#include "runtime/ServerConnection.h"

#include <algorithm>
#include <array>

#include <asio/buffer.hpp>
#include <asio/error.hpp>

#include "runtime/TurnClock.h"

namespace {

// What is read ahead of decoding: so much at once, and no more than a message may take.
constexpr std::size_t kAheadPortion = 64U * 1024U;
constexpr std::size_t kMostAhead = 32U * 1024U * 1024U;

} // namespace

/// Reads for a turn at most.
///
/// @return true when there may be more.
bool ServerConnectionC::ReadAhead()
{
    const TurnClockC turn(kTurn);
    std::array<char, kAheadPortion> portion;
    // What follows the message waits in the system, which holds its sender up.
    const std::uint64_t most = std::min<std::uint64_t>(kMostAhead, m_decoder.LeastMissing());
    bool mayHaveMore = m_aheadBytes < most;
    while (mayHaveMore && !turn.IsOver()) {
        asio::error_code error;
        const std::size_t count = m_socket.read_some(asio::buffer(portion), error);
        if (count > 0) {
            m_lastGrowth = std::chrono::steady_clock::now();
            TellRead(portion.data(), count);
            m_ahead.emplace_back(portion.data(), count);
            m_aheadBytes += count;
        } else if (error != asio::error::would_block && error != asio::error::try_again) {
            m_end = error;
        }
        mayHaveMore = !error && m_aheadBytes < most;
    }
    CountHeld();
    return mayHaveMore;
}

void ServerConnectionC::TellRead(const char* bytes, std::size_t count)
{
    if (const std::shared_ptr<ServerConnectionOwnerC> owner = m_owner.lock()) {
        owner->BytesRead(*this, {bytes, count});
    }
}

/// @return how many bytes, read ahead, have been put where the decoder wants them.
std::size_t ServerConnectionC::TakeAhead(char* space, std::size_t room)
{
    std::string& first = m_ahead.front();
    const std::size_t count = first.copy(space, room, m_aheadTaken);
    m_aheadTaken += count;
    m_aheadBytes -= count;
    if (m_aheadTaken == first.size()) {
        m_ahead.pop_front();
        m_aheadTaken = 0;
    }
    return count;
}
