#include "simulator/http/Viewers.h"

#include <algorithm>
#include <utility>

struct ViewersC::Viewer
{
    std::shared_ptr<HttpConnectionC> connection;
    EventFeedC::Seen seen;
    Clock::time_point since = Clock::now();
    Clock::time_point lastSent = Clock::now();
    bool greeted = false;
};

ViewersC::ViewersC(asio::io_context& loop, EventFeedC& feed, const Rules& rules)
    : m_feed(feed), m_rules(rules), m_timer(loop)
{
}

void ViewersC::Start()
{
    WaitForTick();
}

void ViewersC::WaitForTick()
{
    m_timer.expires_after(m_rules.heartbeat / 4);
    m_timer.async_wait([this](const asio::error_code& error) {
        if (!error) {
            Wake();
            WaitForTick();
        }
    });
}

void ViewersC::Wake()
{
    // A connection that turns out to be lost takes its viewer off the list.
    const std::list<ViewerPtr> viewers = m_viewers;
    for (const ViewerPtr& viewer : viewers) {
        viewer->connection->Wake();
    }
}

void ViewersC::MakeRoom()
{
    const std::list<ViewerPtr> viewers = m_viewers;
    // A page that is loaded anew may come before the end of its predecessor has been looked at.
    for (const ViewerPtr& viewer : viewers) {
        if (viewer->connection->HasGone()) {
            viewer->connection->Close();
        }
    }
    if (m_viewers.size() < m_rules.most) {
        return;
    }
    auto leaving = std::find_if(m_viewers.begin(), m_viewers.end(), [this](const ViewerPtr& one) {
        return one->connection->Untaken() >= m_rules.slow;
    });
    if (leaving == m_viewers.end() && Clock::now() - m_viewers.front()->since >= m_rules.old) {
        leaving = m_viewers.begin();
    }
    if (leaving != m_viewers.end()) {
        const ViewerPtr viewer = *leaving;
        viewer->connection->Close();
    }
}

void ViewersC::Add(const std::shared_ptr<HttpConnectionC>& connection)
{
    if (m_viewers.size() >= m_rules.most) {
        MakeRoom();
    }
    if (m_viewers.size() >= m_rules.most) {
        ServedAnswer answer =
            RefusalOf(503, std::to_string(m_rules.most) + " viewers are there already");
        answer.headers.emplace_back("Retry-After", "5");
        connection->Answer(answer);
        return;
    }
    const auto viewer = std::make_shared<Viewer>();
    viewer->connection = connection;
    m_viewers.push_back(viewer);
    m_feed.Enter();
    connection->Stream([this, viewer] { return Next(*viewer); }, m_peers,
                       [this, viewer] {
                           viewer->connection.reset();
                           m_viewers.remove(viewer);
                           m_feed.Leave();
                       });
}

std::string ViewersC::Next(Viewer& viewer)
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
