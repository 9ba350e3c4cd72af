#include "api/NavigationAPI.h"

#include <algorithm>
#include <cstddef>

#include "platform/MPICallback.h"
#include "wayline/TracePrinting.h"

using Core::Maths::Vector2;

/// What all setters share. `slot` is read anew by the handlers for every event.
template <typename Functor>
void CNavigationAPI::SetCallback(Functor*& slot, Functor* functor, const char* event,
                                 int (CNavigationAPI::*handler)(BListC*))
{
    if (slot != nullptr) {
        delete slot;
    } else {
        RequestCallback(event, new MPICallback<CNavigationAPI>(this, handler));
    }
    slot = functor;
}

void CNavigationAPI::SetEngageStatusCallback(
    Core::Functors::Functor5<void, bool, bool, bool, bool, bool>* functor)
{
    SetCallback(m_engageStatus, functor, "cb_engage_status", &CNavigationAPI::EngageStatusCallback);
}

void CNavigationAPI::SetGuidanceStatusCallback(
    Core::Functors::Functor4<void, int, double, double, double>* functor)
{
    SetCallback(m_guidanceStatus, functor, "cb_guidance_status",
                &CNavigationAPI::GuidanceStatusCallback);
}

void CNavigationAPI::SetOffsetCallback(Core::Functors::Functor1<void, double>* functor)
{
    SetCallback(m_offsets, functor, "cb_offsets", &CNavigationAPI::OffsetCallback);
}

void CNavigationAPI::SetWaylineStatusCallback(
    Core::Functors::Functor4<void, bool, bool, bool, Kestrove::EWaylineType>* functor)
{
    SetCallback(m_waylineStatus4, functor, "cb_wayline_status",
                &CNavigationAPI::WaylineStatusCallback);
}

void CNavigationAPI::SetWaylineStatusCallback(
    Core::Functors::Functor5<void, bool, bool, bool, Kestrove::EWaylineType, double>* functor)
{
    SetCallback(m_waylineStatus5, functor, "cb_wayline_status",
                &CNavigationAPI::WaylineStatusCallback);
}

void CNavigationAPI::SetImplementWidthCallback(Core::Functors::Functor1<void, double>* functor)
{
    SetCallback(m_implementWidth, functor, "cb_implement_width_changed",
                &CNavigationAPI::ImplementWidthChangedCallback);
}

void CNavigationAPI::SetTuningParameterChangedCallback(
    Core::Functors::Functor2<void, Kestrove::ETuningParameter, double>* functor)
{
    SetCallback(m_tuningParameter, functor, "cb_tuning_parameter_changed",
                &CNavigationAPI::TuningParameterChangedCallback);
}

void CNavigationAPI::SetRelativePositionCallback(
    Core::Functors::Functor2<void, const Vector2<double>&, double>* functor)
{
    SetCallback(m_relativePosition, functor, "cb_relative_position",
                &CNavigationAPI::RelativePositionCallback);
}

void CNavigationAPI::SetDrawPointsCallback(
    Core::Functors::Functor1<void, const std::vector<Vector2<double>>&>* functor)
{
    SetCallback(m_drawPoints, functor, "cb_draw_points", &CNavigationAPI::DrawPointsCallback);
}

// The handlers. The first three events have a fixed number of elements; the others may grow, so
// further elements are let pass. A functor may replace itself while it runs: nothing of it is used
// after its call.

int CNavigationAPI::EngageStatusCallback(BListC* payload)
{
    if (payload->Size() == 5 && m_engageStatus != nullptr) {
        (*m_engageStatus)(payload->GetInt(0) != 0, payload->GetInt(1) != 0, payload->GetInt(2) != 0,
                          payload->GetInt(3) != 0, payload->GetInt(4) != 0);
    }
    return 0;
}

int CNavigationAPI::GuidanceStatusCallback(BListC* payload)
{
    if (payload->Size() == 4 && m_guidanceStatus != nullptr) {
        (*m_guidanceStatus)(payload->GetInt(0), payload->GetDouble(1), payload->GetDouble(2),
                            payload->GetDouble(3));
    }
    return 0;
}

int CNavigationAPI::OffsetCallback(BListC* payload)
{
    if (payload->Size() == 1 && m_offsets != nullptr) {
        (*m_offsets)(payload->GetDouble(0));
    }
    return 0;
}

int CNavigationAPI::WaylineStatusCallback(BListC* payload)
{
    if (payload->Size() < 5) {
        return 0;
    }
    const bool complete = payload->GetInt(0) != 0;
    const bool recording = payload->GetInt(1) != 0;
    const bool active = payload->GetInt(2) != 0;
    const auto type = static_cast<Kestrove::EWaylineType>(payload->GetInt(3));
    if (m_waylineStatus4 != nullptr) {
        (*m_waylineStatus4)(complete, recording, active, type);
    }
    if (m_waylineStatus5 != nullptr) {
        (*m_waylineStatus5)(complete, recording, active, type, payload->GetDouble(4));
    }
    return 0;
}

int CNavigationAPI::ImplementWidthChangedCallback(BListC* payload)
{
    if (payload->Size() >= 1 && m_implementWidth != nullptr) {
        Kestrove::PrintTraceLine("CNavigationAPI::ImplementWidthChangedCallback\n");
        (*m_implementWidth)(payload->GetDouble(0));
    }
    return 0;
}

int CNavigationAPI::TuningParameterChangedCallback(BListC* payload)
{
    if (payload->Size() >= 2 && m_tuningParameter != nullptr) {
        Kestrove::PrintTraceLine("CNavigationAPI::TuningParameterChangedCallback\n");
        (*m_tuningParameter)(static_cast<Kestrove::ETuningParameter>(payload->GetInt(0)),
                             payload->GetDouble(1));
    }
    return 0;
}

int CNavigationAPI::RelativePositionCallback(BListC* payload)
{
    if (payload->Size() >= 3 && m_relativePosition != nullptr) {
        const Vector2<double> position(payload->GetDouble(0), payload->GetDouble(1));
        (*m_relativePosition)(position, payload->GetDouble(2));
    }
    return 0;
}

int CNavigationAPI::DrawPointsCallback(BListC* payload)
{
    if (payload->Size() < 1 || m_drawPoints == nullptr) {
        return 0;
    }
    const int announced = payload->GetInt(0);
    const int carried = (payload->Size() - 1) / 2;
    std::vector<Vector2<double>> points;
    // A negative number becomes the length error of reserve(). Room is made for what the payload
    // carries, so that a false announcement claims no memory.
    points.reserve(static_cast<std::size_t>(std::min(announced, carried)));
    for (int k = 0; k < announced && k < carried; ++k) {
        points.emplace_back(payload->GetDouble(2 * k + 1), payload->GetDouble(2 * k + 2));
    }
    (*m_drawPoints)(points);
    return 0;
}
