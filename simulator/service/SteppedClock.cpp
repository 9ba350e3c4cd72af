#include "simulator/service/SteppedClock.h"

#include <chrono>
#include <utility>

namespace {

/// How long the world is moved on in one turn of the loop; a step takes microseconds.
constexpr std::chrono::milliseconds kPiece(4);

} // namespace

void CSteppedClock::Advance(ClientNumber client, int steps, std::function<void()> done)
{
    m_server.Pause(); // so there is one advance at a time
    m_server.Hold(client);
    m_client = client;
    m_stepsLeft = steps;
    m_done = std::move(done);
    m_work.AddInPieces([this] { return TakePiece(); });
}

void CSteppedClock::ClientGone(ClientNumber client)
{
    if (IsAdvancing() && client == m_client) {
        m_stepsLeft = 0;
    }
}

/// Makes steps for a turn, or until something has to be calculated before the next one.
bool CSteppedClock::TakePiece()
{
    const auto end = std::chrono::steady_clock::now() + kPiece;
    while (m_stepsLeft > 0 && !m_work.IsToPrepare()) {
        m_core.Step();
        --m_stepsLeft;
        if (std::chrono::steady_clock::now() >= end) {
            break;
        }
    }
    if (m_stepsLeft > 0) {
        return false;
    }
    m_server.Settle([this, alive = m_alive] {
        if (*alive) {
            Finish();
        }
    });
    return true;
}

void CSteppedClock::Finish()
{
    const ClientNumber client = std::exchange(m_client, 0);
    std::exchange(m_done, nullptr)();
    m_server.Release(client);
    m_server.Resume();
}
