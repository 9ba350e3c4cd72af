#include "tests/integration/EventClient.h"

#include <chrono>

using Core::Functors::Functor4;
using Core::Functors::Functor5;
using Core::Functors::MakeFunctor;
using Kestrove::ETuningParameter;
using Kestrove::EWaylineType;

void CEventClient::TakeEngageStatus()
{
    SetEngageStatusCallback(MakeFunctor(
        [this](bool a, bool b, bool c, bool d, bool e) { Note("engage", a, b, c, d, e); }));
}

void CEventClient::TakeGuidanceStatus()
{
    SetGuidanceStatusCallback(MakeFunctor(
        [this](int pass, double a, double b, double c) { Note("guidance", pass, a, b, c); }));
}

void CEventClient::TakeOffsets()
{
    SetOffsetCallback(MakeFunctor([this](double offset) { Note("offset", offset); }));
}

void CEventClient::TakeWaylineStatusOfFour()
{
    SetWaylineStatusCallback(MakeFunctor([this](bool a, bool b, bool c, EWaylineType type) {
        Note("wayline4", a, b, c, static_cast<int>(type));
    }));
}

void CEventClient::TakeWaylineStatusOfFive()
{
    SetWaylineStatusCallback(
        MakeFunctor([this](bool a, bool b, bool c, EWaylineType type, double length) {
            Note("wayline5", a, b, c, static_cast<int>(type), length);
        }));
}

void CEventClient::TakeImplementWidth()
{
    SetImplementWidthCallback(MakeFunctor([this](double width) { Note("width", width); }));
}

void CEventClient::TakeTuningParameter()
{
    SetTuningParameterChangedCallback(MakeFunctor([this](ETuningParameter parameter, double value) {
        Note("tuning", static_cast<int>(parameter), value);
    }));
}

void CEventClient::TakeRelativePosition()
{
    SetRelativePositionCallback(
        MakeFunctor([this](const Core::Maths::Vector2<double>& position, double heading) {
            Note("position", position.x, position.y, heading);
        }));
}

void CEventClient::TakeDrawPoints()
{
    SetDrawPointsCallback(MakeFunctor([this](const Points& points) {
        std::ostringstream text;
        for (const Core::Maths::Vector2<double>& point : points) {
            text << " (" << point.x << ' ' << point.y << ')';
        }
        m_calls.push_back("points" + text.str());
    }));
}

void CEventClient::TakeAll()
{
    TakeEngageStatus();
    TakeGuidanceStatus();
    TakeOffsets();
    TakeWaylineStatusOfFour();
    TakeWaylineStatusOfFive();
    TakeImplementWidth();
    TakeTuningParameter();
    TakeRelativePosition();
    TakeDrawPoints();
}

bool CEventClient::ProcessUntil(std::size_t calls)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (m_calls.size() < calls && std::chrono::steady_clock::now() < end) {
        ProcessMessages(true);
    }
    return m_calls.size() >= calls;
}

void CEventClient::ReleaseFunctors()
{
    // The client's destructor keeps the functors that it holds; a null one replaces and deletes
    // them.
    SetEngageStatusCallback(nullptr);
    SetGuidanceStatusCallback(nullptr);
    SetOffsetCallback(nullptr);
    SetWaylineStatusCallback(static_cast<Functor4<void, bool, bool, bool, EWaylineType>*>(nullptr));
    SetWaylineStatusCallback(
        static_cast<Functor5<void, bool, bool, bool, EWaylineType, double>*>(nullptr));
    SetImplementWidthCallback(nullptr);
    SetTuningParameterChangedCallback(nullptr);
    SetRelativePositionCallback(nullptr);
    SetDrawPointsCallback(nullptr);
}
