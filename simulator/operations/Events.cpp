#include "simulator/operations/Events.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

constexpr double kDrawingSeconds = 1.0;
// The clock is a sum of steps; a hair's breadth must not put off a drawing to the next one.
constexpr double kDrawingTolerance = 1e-6;

int Flag(bool value)
{
    return value ? 1 : 0;
}

} // namespace

CEvents::CEvents(const CSimulation& simulation, const CWaylineKeeper& waylines)
    : m_simulation(simulation), m_waylines(waylines)
{
    for (const auto& [name, event] : Table()) {
        if (event.due != EDue::OnChange) {
            continue;
        }
        for (Payload& payload : (this->*event.tell)()) {
            m_told[name].push_back({std::move(payload), false});
        }
    }
}

const std::map<std::string, CEvents::Event>& CEvents::Table()
{
    static const std::map<std::string, Event> table{
        {"cb_engage_status", {EDue::OnChange, &CEvents::EngageStatus}},
        {"cb_guidance_status", {EDue::WithGuidance, &CEvents::GuidanceStatus}},
        {"cb_offsets", {EDue::OnChange, &CEvents::Offsets}},
        {"cb_wayline_status", {EDue::OnChange, &CEvents::WaylineStatus}},
        {"cb_implement_width_changed", {EDue::OnChange, &CEvents::ImplementWidth}},
        {"cb_tuning_parameter_changed", {EDue::OnChange, &CEvents::TuningParameters}},
        {"cb_relative_position", {EDue::WithGuidance, &CEvents::RelativePosition}},
        {"cb_draw_points", {EDue::ToDraw, &CEvents::DrawPoints}},
    };
    return table;
}

void CEvents::TellPresentState(const std::string& event, const EventSink& sink)
{
    const auto found = Table().find(event);
    if (found == Table().end()) {
        return;
    }
    Send(event, found->second, sink);
    if (m_unwanted.erase(event) == 0 || found->second.due != EDue::OnChange) {
        return;
    }
    // Changes count from what has just been sent.
    std::vector<Told>& told = m_told[event];
    told.clear();
    for (Payload& payload : (this->*found->second.tell)()) {
        told.push_back({std::move(payload), false});
    }
}

void CEvents::TellChanges(bool guidanceRan, const EventSink& sink, const EventWish& wanted)
{
    const bool drawingDue = DrawingDue(guidanceRan);
    for (const auto& [name, event] : Table()) {
        if (wanted && !wanted(name)) {
            m_unwanted.insert(name);
        } else if (event.due == EDue::OnChange) {
            TellChanged(name, event, guidanceRan, sink);
        } else if (event.due == EDue::WithGuidance ? guidanceRan : drawingDue) {
            Send(name, event, sink);
        }
    }
}

void CEvents::TellChanged(const std::string& name, const Event& event, bool guidanceRan,
                          const EventSink& sink)
{
    std::vector<Told>& told = m_told[name];
    // What each call of a client's would only look at in vain is not even made.
    const auto mayBeTold = [guidanceRan](const Told& last) {
        return guidanceRan || !last.sinceGuidance;
    };
    if (std::none_of(told.begin(), told.end(), mayBeTold)) {
        return;
    }
    Payloads now = (this->*event.tell)();
    for (std::size_t index = 0; index < now.size(); ++index) {
        Told& last = told[index];
        if (!mayBeTold(last)) {
            continue;
        }
        last.sinceGuidance = now[index] != last.payload;
        if (last.sinceGuidance) {
            Send(name, now[index], sink);
            last.payload = std::move(now[index]);
        }
    }
}

bool CEvents::DrawingDue(bool guidanceRan)
{
    const int revision = m_simulation.FollowedPassRevision();
    const double waited = m_simulation.Time() - m_drawnAt;
    const bool timeIsUp =
        guidanceRan && (!m_drawn || waited >= kDrawingSeconds - kDrawingTolerance);
    const bool mayBeDrawn = guidanceRan || !m_drawnSinceGuidance;
    m_drawnSinceGuidance = !mayBeDrawn || timeIsUp || revision != m_drawnRevision;
    if (!mayBeDrawn || !m_drawnSinceGuidance) {
        return false;
    }
    m_drawn = true;
    m_drawnAt = m_simulation.Time();
    m_drawnRevision = revision;
    return true;
}

void CEvents::Send(const std::string& name, const Event& event, const EventSink& sink) const
{
    for (const Payload& payload : (this->*event.tell)()) {
        Send(name, payload, sink);
    }
}

void CEvents::Send(const std::string& event, const Payload& payload, const EventSink& sink)
{
    BListC list(nullptr);
    list.Reserve(static_cast<int>(payload.size()));
    for (const Number& number : payload) {
        if (const int* whole = std::get_if<int>(&number)) {
            list.AddInt(*whole);
        } else {
            list.AddDouble(std::get<double>(number));
        }
    }
    sink(event, list);
}

CEvents::Payloads CEvents::EngageStatus() const
{
    return {{Flag(m_simulation.Engaged()), Flag(m_simulation.WhyNotEngaged().empty()),
             Flag(m_simulation.NavigationActive()), Flag(m_simulation.MovingInReverse()),
             Flag(m_simulation.DroppedByService())}};
}

CEvents::Payloads CEvents::GuidanceStatus() const
{
    const ::GuidanceStatus status = m_simulation.Status();
    return {{status.pass, status.crossTrackError, status.headingError, status.commandedCurvature}};
}

CEvents::Payloads CEvents::Offsets() const
{
    return {{m_simulation.LineShift()}};
}

CEvents::Payloads CEvents::WaylineStatus() const
{
    const ::WaylineStatus status = m_waylines.Status();
    return {{Flag(status.complete), Flag(status.recording), Flag(m_simulation.NavigationActive()),
             static_cast<int>(status.kind), status.length}};
}

CEvents::Payloads CEvents::ImplementWidth() const
{
    return {{m_simulation.ImplementWidth()}};
}

CEvents::Payloads CEvents::TuningParameters() const
{
    Payloads payloads;
    for (int number = 0; number < kTuningParameters; ++number) {
        payloads.push_back({number, m_simulation.Tuning().Get(static_cast<ETuning>(number))});
    }
    return payloads;
}

CEvents::Payloads CEvents::RelativePosition() const
{
    const Pose pose = m_simulation.EstimatedPose();
    return {{pose.position.x, pose.position.y, NormaliseHeading(pose.heading)}};
}

CEvents::Payloads CEvents::DrawPoints() const
{
    const std::vector<Point> points = m_simulation.FollowedPoints();
    Payload payload{static_cast<int>(points.size())};
    for (const Point& point : points) {
        payload.emplace_back(point.x);
        payload.emplace_back(point.y);
    }
    return {payload};
}
