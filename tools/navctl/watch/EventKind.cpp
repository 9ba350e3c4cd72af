#include "tools/navctl/watch/EventKind.h"

#include <utility>

#include "tools/navctl/Names.h"
#include "tools/navctl/NumberText.h"
#include "tools/navctl/files/Angle.h"

namespace {

using Core::Functors::MakeFunctor;
using Point = Core::Maths::Vector2<double>;

/// A name with yes or no behind it.
std::string Answer(const char* name, bool value)
{
    return std::string(name) + (value ? " yes" : " no");
}

/// A heading in degrees; what would be rounded to 360.0 is 0.0.
std::string HeadingText(double heading)
{
    const std::string text = Fixed(Degrees(heading), 1);
    return text == "360.0" || text == "-0.0" ? "0.0" : text;
}

/// Whether a wayline has no ends, so that its length, which is reported as 0, means nothing: a
/// straight line, whatever its points.
bool IsEndless(Kestrove::EWaylineType type, double length)
{
    return (type == Kestrove::EWaylineTypeAB || type == Kestrove::EWaylineTypeAHeading) &&
           length == 0.0;
}

std::string LengthText(Kestrove::EWaylineType type, double length)
{
    return IsEndless(type, length) ? "without ends" : "length " + Fixed(length, 1) + " m";
}

std::string PlaceText(const Point& point, int decimals)
{
    return Fixed(point.x, decimals) + ", " + Fixed(point.y, decimals);
}

void WatchEngageStatus(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetEngageStatusCallback(
        MakeFunctor([sink](bool engaged, bool possible, bool active, bool reversing, bool dropped) {
            sink({"engage-status",
                  {{"engaged", engaged},
                   {"possible", possible},
                   {"navigation_active", active},
                   {"reversing", reversing},
                   {"dropped", dropped}},
                  Answer("engaged", engaged) + ", " + Answer("possible", possible) + ", " +
                      Answer("navigation active", active) + ", " + Answer("reversing", reversing) +
                      ", " + Answer("dropped", dropped)});
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
                  "pass " + std::to_string(pass) + ", cross-track error " + Signed(crossTrack, 3) +
                      " m, heading error " + Signed(Degrees(heading), 2) + " degrees, curvature " +
                      Signed(curvature, 4) + " 1/m"});
        }));
}

void WatchOffsets(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetOffsetCallback(MakeFunctor([sink](double shift) {
        sink({"offsets", {{"shift_m", shift}}, "line shifted by " + Signed(shift, 3) + " m"});
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
                   {"length_m", IsEndless(type, length) ? nlohmann::ordered_json()
                                                        : nlohmann::ordered_json(length)}},
                  KindName(type) + ", " + Answer("complete", complete) + ", " +
                      Answer("recording", recording) + ", " + Answer("navigation active", active) +
                      ", " + LengthText(type, length)});
        }));
}

void WatchImplementWidth(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetImplementWidthCallback(MakeFunctor([sink](double width) {
        sink({"implement-width-changed", {{"width_m", width}}, "width " + Fixed(width, 3) + " m"});
    }));
}

void WatchTuningParameter(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetTuningParameterChangedCallback(
        MakeFunctor([sink](Kestrove::ETuningParameter parameter, double value) {
            sink({"tuning-parameter-changed",
                  {{"parameter", ParameterName(parameter)}, {"value", value}},
                  ParameterName(parameter) + " " + Fixed(value, 3)});
        }));
}

void WatchRelativePosition(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetRelativePositionCallback(
        MakeFunctor([sink](const Point& position, double heading) {
            sink({"relative-position",
                  {{"x_m", position.x}, {"y_m", position.y}, {"heading_rad", heading}},
                  "x " + Fixed(position.x, 3) + " m, y " + Fixed(position.y, 3) + " m, heading " +
                      HeadingText(heading) + " degrees"});
        }));
}

void WatchDrawPoints(CNavigationAPI& navigation, const EventSink& sink)
{
    navigation.SetDrawPointsCallback(MakeFunctor([sink](const std::vector<Point>& points) {
        Json places = Json::array();
        for (const Point& point : points) {
            places.push_back(Json::array({point.x, point.y}));
        }
        std::string text =
            std::to_string(points.size()) + (points.size() == 1 ? " point" : " points");
        if (!points.empty()) {
            text += " from " + PlaceText(points.front(), 1) + " to " + PlaceText(points.back(), 1);
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
        if (name == kind.name || name == kind.wireName) {
            return &kind;
        }
    }
    return nullptr;
}

CSubscription::CSubscription(CNavigationAPI& navigation, std::vector<const CEventKind*> kinds,
                             const EventSink& sink)
    : m_navigation(navigation), m_kinds(std::move(kinds))
{
    for (const CEventKind* const kind : m_kinds) {
        kind->subscribe(m_navigation, sink);
    }
}

CSubscription::~CSubscription()
{
    for (const CEventKind* const kind : m_kinds) {
        kind->end(m_navigation);
    }
}
