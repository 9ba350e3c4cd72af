#include "simulator/http/Viewers.h"

#include <algorithm>
#include <iterator>
#include <utility>

struct CViewers::Viewer
{
    std::shared_ptr<CHttpConnection> connection;
    CEventFeed::Seen seen;
    Clock::time_point since = Clock::now();
    Clock::time_point lastSent = Clock::now();
    bool greeted = false;
};

namespace {

// Between two looks for places that somebody waits for.
constexpr std::chrono::milliseconds kLookForPlaces(50);
// So many times the waiting for a place, who has got none is refused.
constexpr int kMostWaits = 3;

} // namespace

CViewers::CViewers(asio::io_context& loop, CEventFeed& feed, const Rules& rules)
    : m_feed(feed), m_rules(rules), m_timer(loop), m_places(loop)
{
}

void CViewers::Start()
{
    WaitForTick();
}

void CViewers::WaitForTick()
{
    m_timer.expires_after(m_rules.heartbeat / 4);
    m_timer.async_wait([this](const asio::error_code& error) {
        if (!error) {
            WaitForTick(); // first, whatever becomes of this one
            Wake();
        }
    });
}

void CViewers::Wake()
{
    // A connection that turns out to be lost takes its viewer off the list.
    const std::list<ViewerPtr> viewers = m_viewers;
    for (const ViewerPtr& viewer : viewers) {
        viewer->connection->Wake();
    }
}

void CViewers::Add(const std::shared_ptr<CHttpConnection>& connection)
{
    connection->Keep();
    m_coming.push_back({connection, Clock::now()});
    GivePlaces();
    // As many wait as there are places. Those who have waited stay ahead of who comes.
    if (m_coming.size() > m_rules.most) {
        const Coming last = m_coming.back();
        m_coming.pop_back();
        Refuse(last.connection);
    }
    if (!m_coming.empty()) {
        WaitForPlaces();
    }
}

void CViewers::WaitForPlaces()
{
    m_places.expires_after(std::min(kLookForPlaces, m_rules.wait));
    m_places.async_wait([this](const asio::error_code& error) {
        if (error) {
            return;
        }
        GivePlaces();
        if (!m_coming.empty()) {
            WaitForPlaces();
        }
    });
}

void CViewers::GivePlaces()
{
    // A page that is loaded anew may come before the end of its predecessor has been looked at.
    const std::list<ViewerPtr> viewers = m_viewers;
    for (const ViewerPtr& viewer : viewers) {
        if (viewer->connection->HasGone()) {
            viewer->connection->Close();
        }
    }
    for (auto one = m_coming.begin(); one != m_coming.end();) {
        const bool hasGone = one->connection->HasGone();
        if (hasGone) {
            one->connection->Close();
        }
        one = hasGone ? m_coming.erase(one) : std::next(one);
    }
    const Clock::time_point latest = Clock::now() - kMostWaits * m_rules.wait;
    while (!m_coming.empty()) {
        const Coming first = m_coming.front();
        const bool hasPlace = HasPlaceFor(first);
        if (!hasPlace && first.since > latest) {
            return;
        }
        m_coming.pop_front();
        if (hasPlace) {
            Begin(first.connection);
        } else {
            Refuse(first.connection);
        }
    }
}

/// Whether there is a place, or a viewer has given way.
bool CViewers::HasPlaceFor(const Coming& coming)
{
    if (m_viewers.size() < m_rules.most) {
        return true;
    }
    auto leaving = std::find_if(m_viewers.begin(), m_viewers.end(), [this](const ViewerPtr& one) {
        return one->connection->Untaken() >= m_rules.slow;
    });
    const Clock::time_point now = Clock::now();
    if (leaving == m_viewers.end() && now - coming.since >= m_rules.wait &&
        now - m_viewers.front()->since >= m_rules.old) {
        leaving = m_viewers.begin();
    }
    if (leaving == m_viewers.end()) {
        return false;
    }
    const ViewerPtr viewer = *leaving;
    viewer->connection->Close();
    return true;
}

void CViewers::Refuse(const std::shared_ptr<CHttpConnection>& connection) const
{
    ServedAnswer answer =
        RefusalOf(503, std::to_string(m_rules.most) + " viewers are there already");
    answer.headers.emplace_back("Retry-After", "1");
    connection->Answer(answer);
}

void CViewers::Begin(const std::shared_ptr<CHttpConnection>& connection)
{
    const auto viewer = std::make_shared<Viewer>();
    viewer->connection = connection;
    m_viewers.push_back(viewer);
    m_feed.Enter();
    connection->Stream([this, viewer] { return Next(*viewer); },
                       [this, viewer] {
                           viewer->connection.reset();
                           m_viewers.remove(viewer);
                           m_feed.Leave();
                       });
}

std::string CViewers::Next(Viewer& viewer)
{
    const Clock::time_point now = Clock::now();
    std::string text = viewer.greeted ? m_feed.Take(viewer.seen) : "retry: 1000\n\n";
    viewer.greeted = true;
    if (text.empty() && now - viewer.lastSent >= m_rules.heartbeat) {
        text = ": heartbeat\n\n";
    }
    if (!text.empty()) {
        viewer.lastSent = now;
    }
    return text;
}
