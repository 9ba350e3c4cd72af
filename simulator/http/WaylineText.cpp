#include "simulator/http/WaylineText.h"

std::optional<ServedAnswer> CWaylineText::Of(const CWaylineKeeper::SharedWayline& wayline)
{
    if (!m_answer || wayline != m_wayline) {
        return std::nullopt;
    }
    WaitToForget();
    return m_answer;
}

void CWaylineText::Keep(const CWaylineKeeper::SharedWayline& wayline, const ServedAnswer& answer)
{
    m_wayline = wayline;
    m_answer = answer;
    WaitToForget();
}

void CWaylineText::WaitToForget()
{
    m_timer.expires_after(kUnasked);
    m_timer.async_wait([this](const asio::error_code& error) {
        if (!error && m_timer.expiry() <= std::chrono::steady_clock::now()) {
            m_wayline.reset();
            m_answer.reset();
        }
    });
}
