#include "simulator/http/LineDrawer.h"

#include <utility>

#include "simulator/SignalsBlocked.h"

LineDrawerC::LineDrawerC(EventFeedC& feed) : m_feed(feed)
{
    const SignalsBlockedC blocked;
    m_thread = std::thread([this] { DrawLines(); });
}

LineDrawerC::~LineDrawerC()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void LineDrawerC::Draw(LineDrawing drawing)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_next = std::move(drawing);
    }
    m_changed.notify_one();
}

void LineDrawerC::DrawLines()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_ending || m_next; });
        if (m_ending)
            return;
        const LineDrawing drawing = *std::exchange(m_next, std::nullopt);
        lock.unlock();
        m_feed.Publish(EFeedEvent::Line, LineJson(drawing));
        lock.lock();
    }
}
