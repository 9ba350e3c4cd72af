#ifndef KESTROVE_SIMULATOR_HTTP_PAGEWATCH_H
#define KESTROVE_SIMULATOR_HTTP_PAGEWATCH_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include "simulator/http/EventFeed.h"
#include "simulator/http/LineDrawer.h"
#include "simulator/http/ShowDrive.h"
#include "simulator/service/ServiceCore.h"

/// Looks at the world while somebody views the page, and publishes what has changed. It only looks:
/// a run is the same with and without viewers.
///
/// Thread safety: none; used from the thread that runs the loop.
class CPageWatch
{
public:
    /// All must outlive this object.
    CPageWatch(asio::io_context& loop, const CServiceCore& core, CEventFeed& feed,
               CShowDrive& show);

    /// Starts; from now on the loop keeps the feed up to date.
    void Start();
    /// Publishes what is new.
    ///
    /// @param now the time of real clocks.
    void Look(std::chrono::steady_clock::time_point now);

private:
    /// What the drawing of a line depends on. Of the shapes, whose memory may be used again, the
    /// revision counts.
    using LineKey = std::tuple<int, int, int, bool, double, double, double, double, std::string>;

    void WaitForNextLook();
    bool StateIsDue(std::chrono::steady_clock::time_point now);
    LineKey KeyOfLine() const;
    void LookAtLine();
    bool HasGoneFar(double station) const;
    LineDrawing TakeDrawing();

    asio::steady_timer m_timer;
    const CServiceCore& m_core;
    CEventFeed& m_feed;
    CShowDrive& m_show;
    CLineDrawer m_drawer;
    std::optional<std::chrono::steady_clock::time_point> m_lastState;
    long m_lastControl = -1;
    std::uint64_t m_generation = 0;
    std::optional<LineKey> m_lineKey; ///< of the line drawn last
    LineShapePtr m_drawnLine;         ///< null when none has been drawn
    double m_drawnStation = 0.0;
    int m_revision = 0;
};

#endif
