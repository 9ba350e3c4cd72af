#include "simulator/http/PageWatch.h"

#include <cmath>
#include <utility>

#include "simulator/http/WorldJson.h"

namespace {

constexpr std::chrono::milliseconds kLook(20);
// A little less than the tenth of a second in which guidance runs, so that the two do not drift
// apart and leave one out.
constexpr std::chrono::milliseconds kStateInterval(90);
// When the world moves slowly, what viewers do must show all the same.
constexpr std::chrono::milliseconds kLongestStateInterval(200);
// A quarter of what is drawn is left ahead when the machine gets there.
constexpr double kDrawnAgainAfter = 1000.0;

} // namespace

CPageWatch::CPageWatch(asio::io_context& loop, const CServiceCore& core, CEventFeed& feed,
                       CShowDrive& show)
    : m_timer(loop), m_core(core), m_feed(feed), m_show(show), m_drawer(feed)
{
}

void CPageWatch::Start()
{
    WaitForNextLook();
}

void CPageWatch::WaitForNextLook()
{
    m_timer.expires_after(kLook);
    m_timer.async_wait([this](const auto& error) {
        if (error) {
            return;
        }
        WaitForNextLook(); // first, whatever becomes of this one
        Look(std::chrono::steady_clock::now());
    });
}

void CPageWatch::Look(std::chrono::steady_clock::time_point now)
{
    m_show.Look(m_feed.HasViewers(), now);
    if (!m_feed.HasViewers()) {
        return;
    }
    if (m_generation != m_feed.Generation()) {
        m_generation = m_feed.Generation();
        m_lastState.reset();
        m_lineKey.reset();
    }
    if (!StateIsDue(now)) {
        return;
    }
    if (const std::string show = m_show.Json(); !show.empty()) {
        m_feed.Publish(EFeedEvent::Show, show);
    }
    m_feed.Publish(EFeedEvent::Settings, SettingsJson(m_core.World()));
    LookAtLine();
    m_feed.Publish(EFeedEvent::State, StateJson(m_core.World()));
}

bool CPageWatch::StateIsDue(std::chrono::steady_clock::time_point now)
{
    const CSimulation& world = m_core.World();
    const long control =
        std::lround(world.Time() / CSimulation::kStepSeconds) / CSimulation::kStepsPerControl;
    if (m_lastState) {
        const auto waited = now - *m_lastState;
        const auto interval = control != m_lastControl ? kStateInterval : kLongestStateInterval;
        if (waited < interval) {
            return false;
        }
    }
    m_lastState = now;
    m_lastControl = control;
    return true;
}

CPageWatch::LineKey CPageWatch::KeyOfLine() const
{
    const CSimulation& world = m_core.World();
    const CWaylineKeeper& waylines = m_core.Waylines();
    const WaylineStatus status = waylines.Status();
    std::string labels;
    for (int number = 0; !status.complete && number < CWaylineBuilder::kMostWaypoints; ++number) {
        if (const Waypoint* waypoint = waylines.WaypointAt(number)) {
            labels += std::to_string(number) + ":" + std::to_string(waypoint->position.x) + "," +
                      std::to_string(waypoint->position.y) + ";";
        }
    }
    return {world.FollowedPassRevision(),
            waylines.Revision(),
            static_cast<int>(status.kind),
            status.recording,
            world.Nudge(),
            world.FieldOffset(),
            world.ImplementOffset(),
            world.ImplementWidth(),
            labels};
}

bool CPageWatch::HasGoneFar(double station) const
{
    return std::abs(station - m_drawnStation) > kDrawnAgainAfter;
}

void CPageWatch::LookAtLine()
{
    LineKey key = KeyOfLine();
    if (key == m_lineKey && !HasGoneFar(m_core.World().Layout().station)) {
        return;
    }
    m_lineKey = std::move(key);
    m_drawer.Draw(TakeDrawing());
}

LineDrawing CPageWatch::TakeDrawing()
{
    const CSimulation& world = m_core.World();
    LineDrawing drawing;
    drawing.revision = ++m_revision;
    const CWaylineKeeper& waylines = m_core.Waylines();
    drawing.status = waylines.Status();
    drawing.wayline = waylines.SharedCurrent();
    drawing.drives = waylines.SharedDrives();
    if (!drawing.wayline) {
        drawing.waypoints = WaypointLabels(waylines);
    }
    drawing.layout = world.Layout();
    drawing.nudge = world.Nudge();
    drawing.fieldOffset = world.FieldOffset();
    drawing.implementOffset = world.ImplementOffset();
    if (m_drawnLine != drawing.layout.line || HasGoneFar(drawing.layout.station)) {
        m_drawnLine = drawing.layout.line;
        m_drawnStation = drawing.layout.station;
    }
    drawing.station = m_drawnStation;
    return drawing;
}
