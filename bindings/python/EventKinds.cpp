#include "bindings/python/EventKinds.h"

#include "api/NavigationAPI.h"
#include "bindings/python/Casters.h"
#include "bindings/python/Client.h"

namespace py = pybind11;

namespace Kestrove::Python {
namespace {

/// A setter of the library's client, for any functor.
template <template <typename...> class Functor, typename... Arguments>
using Setter = void (CNavigationAPI::*)(Functor<void, Arguments...>*);

template <std::size_t Kind, template <typename...> class Functor, typename... Arguments>
void Set(CNavigationAPI& api, CClient* client, Setter<Functor, Arguments...> setter)
{
    Functor<void, Arguments...>* functor = nullptr;
    if (client != nullptr) {
        functor = Core::Functors::MakeFunctor([client](Arguments... arguments) {
            client->Deliver(Kind, [&] {
                const auto values = py::module_::import("kestrove_navigation._values");
                return py::object(values.attr(kEventKinds[Kind].type)(arguments...));
            });
        });
    }
    (api.*setter)(functor);
}

template <std::size_t Kind, auto Setter>
void Listen(CNavigationAPI& api, CClient* client)
{
    Set<Kind>(api, client, Setter);
}

using WaylineStatusFunctor =
    Core::Functors::Functor5<void, bool, bool, bool, Kestrove::EWaylineType, double>;
constexpr void (CNavigationAPI::*kSetWaylineStatus)(WaylineStatusFunctor*) =
    &CNavigationAPI::SetWaylineStatusCallback;

} // namespace

const std::array<EventKind, kEventKindCount> kEventKinds = {{
    {"on_engage_status", "EngageStatus", "engaged, possible, active, reversing, dropped",
     &Listen<0, &CNavigationAPI::SetEngageStatusCallback>},
    {"on_guidance_status", "GuidanceStatus",
     "pass_number, cross_track_error, heading_error, curvature",
     &Listen<1, &CNavigationAPI::SetGuidanceStatusCallback>},
    {"on_offset", "Offset", "shift", &Listen<2, &CNavigationAPI::SetOffsetCallback>},
    // Of the library's two setters the one whose functor is told more.
    {"on_wayline_status", "WaylineStatus", "complete, recording, active, kind, length",
     &Listen<3, kSetWaylineStatus>},
    {"on_implement_width", "ImplementWidth", "width",
     &Listen<4, &CNavigationAPI::SetImplementWidthCallback>},
    {"on_tuning_parameter_changed", "TuningParameterChange", "parameter, value",
     &Listen<5, &CNavigationAPI::SetTuningParameterChangedCallback>},
    {"on_relative_position", "RelativePosition", "position, heading",
     &Listen<6, &CNavigationAPI::SetRelativePositionCallback>},
    {"on_draw_points", "DrawPoints", "points", &Listen<7, &CNavigationAPI::SetDrawPointsCallback>},
}};

} // namespace Kestrove::Python
