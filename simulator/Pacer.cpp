#include "simulator/Pacer.h"

#include <algorithm>

namespace {

constexpr std::chrono::milliseconds kTick(20);
constexpr std::chrono::duration<double> kLongestHold(0.25);

} // namespace

PacerC::PacerC(asio::io_context& loop, ServiceCoreC& core, double speedFactor)
    : m_timer(loop), m_core(core), m_speedFactor(speedFactor)
{
}

void PacerC::Start()
{
    m_last = std::chrono::steady_clock::now();
    m_timer.expires_at(m_last);
    WaitForNextTick();
}

void PacerC::WaitForNextTick()
{
    // Counted from the tick before and not from now, so that delays do not add up.
    m_timer.expires_at(std::max(m_timer.expiry() + kTick, m_last));
    m_timer.async_wait([this](const auto& error) {
        if (!error)
            Tick();
    });
}

void PacerC::Tick()
{
    const auto now = std::chrono::steady_clock::now();
    const std::chrono::duration<double> passed =
        std::min<std::chrono::duration<double>>(now - m_last, kLongestHold);
    m_last = now;
    m_core.Advance(passed.count() * m_speedFactor);
    WaitForNextTick();
}
