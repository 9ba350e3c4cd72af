#include "simulator/output/LimitedLog.h"

#include <utility>

CLimitedLog::CLimitedLog(asio::io_context& loop, ELogLevel mostDetailed, LogSink onward)
    : m_timer(loop), m_mostDetailed(mostDetailed), m_limit(std::move(onward))
{
}

CLimitedLog::~CLimitedLog()
{
    m_limit.EndPeriods(CLogLimit::Instant::max());
}

LogSink CLimitedLog::Sink()
{
    return [this](ELogLevel level, const std::string& text) { Take(level, text); };
}

void CLimitedLog::Take(ELogLevel level, const std::string& text)
{
    if (level > m_mostDetailed) {
        return;
    }
    m_limit.Take(std::chrono::steady_clock::now(), m_client, level, text);
    if (!m_isWaiting && m_limit.HasPeriods()) {
        WaitForPeriods();
    }
}

void CLimitedLog::WaitForPeriods()
{
    m_isWaiting = true;
    m_timer.expires_after(CLogLimit::kPeriod);
    m_timer.async_wait([this](const auto& error) {
        if (error) {
            return;
        }
        m_isWaiting = false;
        m_limit.EndPeriods(std::chrono::steady_clock::now());
        if (m_limit.HasPeriods()) {
            WaitForPeriods();
        }
    });
}
