#include "tools/navctl/watch/EventKind.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include "tools/navctl/Names.h"

namespace {

using Core::Functors::MakeFunctor;
using Point = Core::Maths::Vector2<double>;

constexpr double kDegreesARadian = 180.0 / M_PI;

template <typename... Values>
std::string Format(const char* form, Values... values)
{
    char text[200];
    std::snprintf(text, sizeof text, form, values...);
    return text;
}

const char* Word(bool value)
{
    return value ? "yes" : "no";
}

void WatchEngageStatus(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetEngageStatusCallback(MakeFunctor([sink](bool engaged, bool possible, bool active,
                                                          bool reversing, bool dropped) {
        sink({"engage-status",
              {{"engaged", engaged},
               {"possible", possible},
               {"navigation_active", active},
               {"reversing", reversing},
               {"dropped", dropped}},
              Format("engaged %s, possible %s, navigation active %s, reversing %s, dropped %s",
                     Word(engaged), Word(possible), Word(active), Word(reversing), Word(dropped))});
    }));
}

void WatchGuidanceStatus(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetGuidanceStatusCallback(
        MakeFunctor([sink](int pass, double crossTrack, double heading, double curvature) {
            sink({"guidance-status",
                  {{"pass", pass},
                   {"cross_track_error_m", crossTrack},
                   {"heading_error_rad", heading},
                   {"curvature_per_m", curvature}},
                  Format("pass %d, cross-track error %+.3f m, heading error %+.2f degrees, "
                         "curvature %+.4f 1/m",
                         pass, crossTrack, heading * kDegreesARadian, curvature)});
        }));
}

void WatchOffsets(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetOffsetCallback(MakeFunctor([sink](double shift) {
        sink({"offsets", {{"shift_m", shift}}, Format("line shifted by %+.3f m", shift)});
    }));
}

void WatchWaylineStatus(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetWaylineStatusCallback(
        MakeFunctor([sink](bool complete, bool recording, bool active, Kestrove::EWaylineType type,
                           double length) {
            sink({"wayline-status",
                  {{"complete", complete},
                   {"recording", recording},
                   {"navigation_active", active},
                   {"kind", KindName(type)},
                   {"length_m", length}},
                  Format("%s, complete %s, recording %s, navigation active %s, length %.1f m",
                         KindName(type).c_str(), Word(complete), Word(recording), Word(active),
                         length)});
        }));
}

void WatchImplementWidth(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetImplementWidthCallback(MakeFunctor([sink](double width) {
        sink({"implement-width-changed", {{"width_m", width}}, Format("width %.3f m", width)});
    }));
}

void WatchTuningParameter(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetTuningParameterChangedCallback(
        MakeFunctor([sink](Kestrove::ETuningParameter parameter, double value) {
            sink({"tuning-parameter-changed",
                  {{"parameter", ParameterName(parameter)}, {"value", value}},
                  Format("%s %.3f", ParameterName(parameter).c_str(), value)});
        }));
}

void WatchRelativePosition(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetRelativePositionCallback(
        MakeFunctor([sink](const Point& position, double heading) {
            sink({"relative-position",
                  {{"x_m", position.x}, {"y_m", position.y}, {"heading_rad", heading}},
                  Format("x %.3f m, y %.3f m, heading %.1f degrees", position.x, position.y,
                         heading * kDegreesARadian)});
        }));
}

void WatchDrawPoints(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetDrawPointsCallback(MakeFunctor([sink](const std::vector<Point>& points) {
        Json places = Json::array();
        for (const Point& point : points)
            places.push_back(Json::array({point.x, point.y}));
        std::string text = Format("%zu points", points.size());
        if (!points.empty()) {
            text += Format(" from %.1f, %.1f to %.1f, %.1f", points.front().x, points.front().y,
                           points.back().x, points.back().y);
        }
        sink({"draw-points", {{"points_m", places}}, text});
    }));
}

using WaylineStatusFunctor =
    Core::Functors::Functor5<void, bool, bool, bool, Kestrove::EWaylineType, double>;

} // namespace

const std::vector<CEventKind>& EventKinds()
{
    static const std::vector<CEventKind> kKinds{
        {"engage-status", "cb_engage_status", "engaging: whether it is, could be, was dropped",
         WatchEngageStatus, [](CNavigationAPI& api) { api.SetEngageStatusCallback(nullptr); }},
        {"guidance-status", "cb_guidance_status", "pass, cross-track error, heading error",
         WatchGuidanceStatus, [](CNavigationAPI& api) { api.SetGuidanceStatusCallback(nullptr); }},
        {"offsets", "cb_offsets", "the whole shift of the line", WatchOffsets,
         [](CNavigationAPI& api) { api.SetOffsetCallback(nullptr); }},
        {"wayline-status", "cb_wayline_status", "kind and length of the wayline, and its making",
         WatchWaylineStatus,
         [](CNavigationAPI& api) {
             api.SetWaylineStatusCallback(static_cast<WaylineStatusFunctor*>(nullptr));
         }},
        {"implement-width-changed", "cb_implement_width_changed", "the implement width",
         WatchImplementWidth, [](CNavigationAPI& api) { api.SetImplementWidthCallback(nullptr); }},
        {"tuning-parameter-changed", "cb_tuning_parameter_changed", "a tuning parameter",
         WatchTuningParameter,
         [](CNavigationAPI& api) { api.SetTuningParameterChangedCallback(nullptr); }},
        {"relative-position", "cb_relative_position", "where the machine is, and its heading",
         WatchRelativePosition,
         [](CNavigationAPI& api) { api.SetRelativePositionCallback(nullptr); }},
        {"draw-points", "cb_draw_points", "the followed pass near the machine, to be drawn",
         WatchDrawPoints, [](CNavigationAPI& api) { api.SetDrawPointsCallback(nullptr); }},
    };
    return kKinds;
}

const CEventKind* FindEventKind(const std::string& name)
{
    for (const CEventKind& kind : EventKinds()) {
        if (name == kind.name || name == kind.wireName)
            return &kind;
    }
    return nullptr;
}

CSubscription::CSubscription(CNavigationAPI& navigation, std::vector<const CEventKind*> kinds,
                             const EventSink& sink)
    : m_navigation(navigation), m_kinds(std::move(kinds))
{
    for (const CEventKind* const kind : m_kinds)
        kind->subscribe(m_navigation, sink);
}

CSubscription::~CSubscription()
{
    for (const CEventKind* const kind : m_kinds)
        kind->end(m_navigation);
}
