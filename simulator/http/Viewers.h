#ifndef KESTROVE_SIMULATOR_HTTP_VIEWERS_H
#define KESTROVE_SIMULATOR_HTTP_VIEWERS_H

#include <chrono>
#include <cstddef>
#include <list>
#include <memory>
#include <string>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include "simulator/http/EventFeed.h"
#include "simulator/http/HttpConnection.h"

/// Those who view the page: sends each the events that are new to it, at its own pace.
///
/// There are places for a few. When all are taken, who comes waits, in order, for one that is given
/// up or whose viewer has taken nothing for some time. Who has waited for long enough gets the
/// place of the viewer that has been there longest, once that has had a while: whether anybody
/// reads at the other end cannot be known here, and no page is to be locked out. So those who come
/// and go all the time, and do not wait, take no place from anybody.
///
/// Thread safety: none; lives on the thread that runs the loop.
class CViewers
{
public:
    struct Rules
    {
        std::size_t most;                    ///< viewers
        std::chrono::milliseconds heartbeat; ///< of silence, before a viewer is sent a comment
        std::chrono::milliseconds slow;      ///< without taking anything, before it gives way
        std::chrono::milliseconds wait;      ///< for a place, before an old viewer gives way
        std::chrono::milliseconds old;       ///< of viewing, before it gives way
    };

    /// @param loop, feed must outlive this object.
    CViewers(asio::io_context& loop, CEventFeed& feed, const Rules& rules);

    /// Starts to keep the time.
    void Start();
    /// Answers a connection with the events, or with the reason why not.
    void Add(const std::shared_ptr<CHttpConnection>& connection);
    /// Sends what is new.
    void Wake();

private:
    using Clock = std::chrono::steady_clock;
    struct Viewer;
    using ViewerPtr = std::shared_ptr<Viewer>;
    struct Coming
    {
        std::shared_ptr<CHttpConnection> connection;
        Clock::time_point since;
    };

    void WaitForTick();
    void WaitForPlaces();
    void GivePlaces();
    bool HasPlaceFor(const Coming& coming);
    void Begin(const std::shared_ptr<CHttpConnection>& connection);
    void Refuse(const std::shared_ptr<CHttpConnection>& connection) const;
    std::string Next(Viewer& viewer);

    CEventFeed& m_feed;
    Rules m_rules;
    asio::steady_timer m_timer;
    asio::steady_timer m_places;    ///< runs while somebody waits for one
    std::list<ViewerPtr> m_viewers; ///< the first to have come first
    std::list<Coming> m_coming;     ///< likewise
};

#endif
