#include "simulator/service/Pacer.h"

#include <algorithm>

namespace {

constexpr std::chrono::milliseconds kTick(20);
constexpr std::chrono::duration<double> kLongestHold(0.25);
/// How long the world is moved on in one turn of the loop, looked at after so many of its seconds.
constexpr std::chrono::milliseconds kTurn(4);
constexpr double kSliceSeconds = 0.25;

} // namespace

CPacer::CPacer(asio::io_context& loop, CServiceCore& core, double speedFactor)
    : m_timer(loop), m_core(core), m_speedFactor(speedFactor)
{
}

void CPacer::Start()
{
    m_last = std::chrono::steady_clock::now();
    WaitUntil(m_last);
}

void CPacer::WaitUntil(std::chrono::steady_clock::time_point time)
{
    m_timer.expires_at(time);
    m_timer.async_wait([this](const auto& error) {
        if (!error) {
            Tick();
        }
    });
}

void CPacer::Tick()
{
    const auto now = std::chrono::steady_clock::now();
    const std::chrono::duration<double> passed =
        std::min<std::chrono::duration<double>>(now - m_last, kLongestHold);
    m_last = now;
    m_owedSeconds = std::min(m_owedSeconds + passed.count() * m_speedFactor,
                             kLongestHold.count() * m_speedFactor);
    // Before anything that might throw: the world goes on, whatever becomes of this tick. Counted
    // from the tick before and not from now, so that delays do not add up.
    WaitUntil(std::max(m_timer.expiry() + kTick, m_last));
    AdvanceForATurn(now + kTurn);
    if (m_owedSeconds > 0.0) {
        WaitUntil(m_last); // at once, after whatever else the loop has to do
    }
}

void CPacer::AdvanceForATurn(std::chrono::steady_clock::time_point end)
{
    do {
        const double slice = std::min(m_owedSeconds, kSliceSeconds);
        m_core.Advance(slice);
        m_owedSeconds -= slice;
    } while (m_owedSeconds > 0.0 && std::chrono::steady_clock::now() < end);
}
