#include "simulator/http/LineDrawer.h"

#include <chrono>
#include <new>
#include <utility>

#include "runtime/SignalsBlocked.h"

namespace {

constexpr std::chrono::seconds kUntilThereIsMemory(1);

} // namespace

CLineDrawer::CLineDrawer(CEventFeed& feed) : m_feed(feed)
{
    const SignalsBlockedC blocked;
    m_thread = std::thread([this] { DrawLines(); });
}

CLineDrawer::~CLineDrawer()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void CLineDrawer::Draw(LineDrawing drawing)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_next = std::move(drawing);
    }
    m_changed.notify_one();
}

void CLineDrawer::DrawLines()
{
    std::optional<CLinePainter::TimePoint> goOnAt;
    std::optional<LineDrawing> next; // and those that there was no memory for
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        const auto isCalled = [this] { return m_ending || m_next; };
        if (goOnAt) {
            m_changed.wait_until(lock, *goOnAt, isCalled);
        } else {
            m_changed.wait(lock, isCalled);
        }
        if (m_ending) {
            return;
        }
        if (m_next) {
            next = std::exchange(m_next, std::nullopt);
        }
        lock.unlock();
        try {
            if (next) {
                m_painter.Take(*next);
                next.reset();
            }
            goOnAt = m_painter.Draw(std::chrono::steady_clock::now());
            m_feed.PublishLine(m_painter.Picture());
        } catch (const std::bad_alloc&) {
            goOnAt = std::chrono::steady_clock::now() + kUntilThereIsMemory;
        }
        lock.lock();
    }
}
