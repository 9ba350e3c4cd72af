#ifndef KESTROVE_SIMULATOR_HTTP_LINEDRAWER_H
#define KESTROVE_SIMULATOR_HTTP_LINEDRAWER_H

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "simulator/http/EventFeed.h"
#include "simulator/http/LinePainter.h"

/// Has lines drawn on a thread of its own, since the passes beside a long curve take their time,
/// and publishes them. When lines come faster than they are drawn, the newest counts.
///
/// Thread safety: any thread.
class CLineDrawer
{
public:
    /// @param feed must outlive this object.
    explicit CLineDrawer(CEventFeed& feed);
    /// Waits for the drawing that is being made.
    ~CLineDrawer();
    CLineDrawer(const CLineDrawer&) = delete;
    CLineDrawer& operator=(const CLineDrawer&) = delete;

    /// Has a line drawn and published, and does not wait for that.
    void Draw(LineDrawing drawing);

private:
    void DrawLines();

    CEventFeed& m_feed;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    CLinePainter m_painter;            ///< the thread's own
    std::optional<LineDrawing> m_next; ///< guarded by m_mutex
    bool m_ending = false;             ///< guarded by m_mutex
    std::thread m_thread;
};

#endif
