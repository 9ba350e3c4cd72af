#include "tools/navctl/doctor/Observation.h"

#include <chrono>
#include <cmath>

#include "tools/navctl/watch/EventKind.h"
#include "tools/navctl/watch/EventLoop.h"

namespace {

using Clock = std::chrono::steady_clock;

/// Two positions closer in time than that give no speed.
constexpr std::chrono::duration<double> kLeastInterval(0.25);

/// Gathers the observation from the events.
class CObserver
{
public:
    void Take(const CEvent& event)
    {
        const std::string name = event.name;
        if (name == "engage-status") {
            m_seen.isPossible = event.fields["possible"].get<bool>();
            m_seen.isReversing = event.fields["reversing"].get<bool>();
        } else if (name == "guidance-status") {
            m_seen.crossTrackError = event.fields["cross_track_error_m"].get<double>();
            m_seen.headingError = event.fields["heading_error_rad"].get<double>();
        } else if (name == "relative-position") {
            TakePosition(event.fields["x_m"].get<double>(), event.fields["y_m"].get<double>());
        }
    }

    bool IsComplete() const { return m_seen.isPossible && m_seen.crossTrackError && m_seen.speed; }
    const CObservation& Seen() const { return m_seen; }

private:
    void TakePosition(double x, double y)
    {
        const Clock::time_point now = Clock::now();
        // The state at the time of subscribing may be old: the events that follow are on time.
        if (++m_positions == 2) {
            m_firstX = x;
            m_firstY = y;
            m_firstTime = now;
        } else if (m_positions > 2 && now - m_firstTime >= kLeastInterval) {
            const std::chrono::duration<double> seconds = now - m_firstTime;
            m_seen.speed = std::hypot(x - m_firstX, y - m_firstY) / seconds.count();
        }
    }

    CObservation m_seen;
    int m_positions = 0;
    double m_firstX = 0.0;
    double m_firstY = 0.0;
    Clock::time_point m_firstTime;
};

} // namespace

CObservation Observe(CNavigationAPI& navigation, double seconds)
{
    CObserver observer;
    const CSubscription subscription(navigation,
                                     {FindEventKind("engage-status"),
                                      FindEventKind("guidance-status"),
                                      FindEventKind("relative-position")},
                                     [&](const CEvent& event) { observer.Take(event); });
    CEventLoop loop(navigation, -1);
    loop.Run({[&] { return observer.IsComplete(); }, {}, {}},
             std::chrono::duration<double>(seconds));
    return observer.Seen();
}
