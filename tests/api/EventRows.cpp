#include "tests/api/ContractTable.h"

namespace Contract {

namespace {

using Core::Functors::MakeFunctor;
using Core::Maths::Vector2;
using Points = std::vector<Vector2<double>>;

/// What a functor was called with: each argument's text, in brackets.
template <typename... Values>
std::string CallText(Values... values)
{
    std::string text;
    ((text += (text.empty() ? "(" : ", ") + Text(values)), ...);
    return text + ")";
}

std::string PointsText(const Points& points)
{
    std::string text;
    for (const Vector2<double>& point : points) {
        text += CallText(point.x, point.y);
    }
    return "[" + text + "]";
}

void SetEngageStatus(CNavigationAPI& api, std::string* text)
{
    api.SetEngageStatusCallback(
        text == nullptr ? nullptr : MakeFunctor([text](bool a, bool b, bool c, bool d, bool e) {
            *text += CallText(a, b, c, d, e);
        }));
}

void SetGuidanceStatus(CNavigationAPI& api, std::string* text)
{
    api.SetGuidanceStatusCallback(
        text == nullptr ? nullptr : MakeFunctor([text](int pass, double a, double b, double c) {
            *text += CallText(pass, a, b, c);
        }));
}

void SetOffset(CNavigationAPI& api, std::string* text)
{
    api.SetOffsetCallback(text == nullptr ? nullptr : MakeFunctor([text](double offset) {
        *text += CallText(offset);
    }));
}

void SetWaylineStatus4(CNavigationAPI& api, std::string* text)
{
    using Functor = Core::Functors::Functor4<void, bool, bool, bool, Kestrove::EWaylineType>;
    Functor* none = nullptr;
    api.SetWaylineStatusCallback(
        text == nullptr ? none
                        : MakeFunctor([text](bool a, bool b, bool c, Kestrove::EWaylineType type) {
                              *text += CallText(a, b, c, static_cast<int>(type));
                          }));
}

void SetWaylineStatus5(CNavigationAPI& api, std::string* text)
{
    using Functor =
        Core::Functors::Functor5<void, bool, bool, bool, Kestrove::EWaylineType, double>;
    Functor* none = nullptr;
    api.SetWaylineStatusCallback(
        text == nullptr ? none
                        : MakeFunctor([text](bool a, bool b, bool c, Kestrove::EWaylineType type,
                                             double length) {
                              *text += CallText(a, b, c, static_cast<int>(type), length);
                          }));
}

void SetImplementWidth(CNavigationAPI& api, std::string* text)
{
    api.SetImplementWidthCallback(text == nullptr ? nullptr : MakeFunctor([text](double width) {
        *text += CallText(width);
    }));
}

void SetTuningParameterChanged(CNavigationAPI& api, std::string* text)
{
    api.SetTuningParameterChangedCallback(
        text == nullptr ? nullptr
                        : MakeFunctor([text](Kestrove::ETuningParameter parameter, double value) {
                              *text += CallText(static_cast<int>(parameter), value);
                          }));
}

void SetRelativePosition(CNavigationAPI& api, std::string* text)
{
    api.SetRelativePositionCallback(
        text == nullptr ? nullptr
                        : MakeFunctor([text](const Vector2<double>& position, double heading) {
                              *text += CallText(position.x, position.y, heading);
                          }));
}

void SetDrawPoints(CNavigationAPI& api, std::string* text)
{
    api.SetDrawPointsCallback(text == nullptr ? nullptr : MakeFunctor([text](const Points& points) {
        *text += PointsText(points);
    }));
}

template <typename... Values>
std::function<std::unique_ptr<BListC>()> Payload(Values... values)
{
    return [values...] { return ListOf(values...); };
}

std::vector<EventRow> ExactRows()
{
    return {
        {"void SetEngageStatusCallback(Core::Functors::Functor5<void, bool, bool, bool, bool, "
         "bool>* functor)",
         "cb_engage_status", "[int 1, int 0, int 2, int 0, int -1]", true,
         "(true, false, true, false, true)", SetEngageStatus, Payload(1, 0, 2, 0, -1), ""},
        {"void SetGuidanceStatusCallback(Core::Functors::Functor4<void, int, double, double, "
         "double>* functor)",
         "cb_guidance_status", "[int -2, double 0.1, double 1.1, double 2.1]", true,
         "(-2, 0.1, 1.1, 2.1)", SetGuidanceStatus, Payload(-2, 0.1, 1.1, 2.1), ""},
        {"void SetOffsetCallback(Core::Functors::Functor1<void, double>* functor)", "cb_offsets",
         "[double 0.2]", true, "(0.2)", SetOffset, Payload(0.2), ""},
    };
}

std::vector<EventRow> GrowingRows()
{
    return {
        {"void SetWaylineStatusCallback(Core::Functors::Functor4<void, bool, bool, bool, "
         "Kestrove::EWaylineType>* functor)",
         "cb_wayline_status", "[int 1, int 1, int 0, int 4, double 12.1]", false,
         "(true, true, false, 4)", SetWaylineStatus4, Payload(1, 1, 0, 4, 12.1), ""},
        {"void SetWaylineStatusCallback(Core::Functors::Functor5<void, bool, bool, bool, "
         "Kestrove::EWaylineType, double>* functor)",
         "cb_wayline_status", "[int 1, int 1, int 0, int 4, double 12.1]", false,
         "(true, true, false, 4, 12.1)", SetWaylineStatus5, Payload(1, 1, 0, 4, 12.1), ""},
        {"void SetImplementWidthCallback(Core::Functors::Functor1<void, double>* functor)",
         "cb_implement_width_changed", "[double 24.1]", false, "(24.1)", SetImplementWidth,
         Payload(24.1), "CNavigationAPI::ImplementWidthChangedCallback\n"},
        {"void SetTuningParameterChangedCallback(Core::Functors::Functor2<void, "
         "Kestrove::ETuningParameter, double>* functor)",
         "cb_tuning_parameter_changed", "[int 3, double 0.2]", false, "(3, 0.2)",
         SetTuningParameterChanged, Payload(3, 0.2),
         "CNavigationAPI::TuningParameterChangedCallback\n"},
        {"void SetRelativePositionCallback(Core::Functors::Functor2<void, const "
         "Core::Maths::Vector2<double>&, double>* functor)",
         "cb_relative_position", "[double 1.1, double 2.1, double 0.1]", false, "(1.1, 2.1, 0.1)",
         SetRelativePosition, Payload(1.1, 2.1, 0.1), ""},
        {"void SetDrawPointsCallback(Core::Functors::Functor1<void, const "
         "std::vector<Core::Maths::Vector2<double>>&>* functor)",
         "cb_draw_points", "[int 0]", false, "[]", SetDrawPoints, Payload(0), ""},
    };
}

} // namespace

const std::vector<EventRow>& EventTable()
{
    static const std::vector<EventRow> table = [] {
        std::vector<EventRow> all = ExactRows();
        const std::vector<EventRow> growing = GrowingRows();
        all.insert(all.end(), growing.begin(), growing.end());
        return all;
    }();
    return table;
}

} // namespace Contract
