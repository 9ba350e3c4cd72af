#include "simulator/lines/WaylineBuilder.h"

#include <algorithm>
#include <cmath>

using Core::Maths::Vector3;

namespace {

constexpr double kRecordingDistance = 0.5;
constexpr double kShortestDrive = 1.0;
constexpr std::size_t kMostRemembered = 64;

double Distance(const Vector3<double>& from, const Vector3<double>& to)
{
    return std::hypot(to.x - from.x, to.y - from.y);
}

} // namespace

bool CWaylineBuilder::Begin(Kestrove::EWaylineType kind)
{
    if (kind < Kestrove::EWaylineTypeAB || kind > Kestrove::EWaylineTypePath) {
        return false;
    }
    Clear();
    m_kind = kind;
    return true;
}

void CWaylineBuilder::Clear()
{
    Remember();
    m_waypoints = {};
    m_recorded.clear();
    m_recordedLength = 0.0;
    m_kind = Kestrove::EWaylineTypeEmpty;
}

std::string CWaylineBuilder::Set(int number, const Waypoint& waypoint, const Vector3<double>& here)
{
    if (number < 0 || number >= kMostWaypoints) {
        return std::to_string(number) + " is no waypoint, allowed is 0 to 2";
    }
    if (IsDriven() && number == 1) {
        std::string problem = EndRecording(here);
        if (!problem.empty()) {
            return problem;
        }
    }
    Remember();
    if (IsDriven() && number == 0) {
        StartRecording(here);
    }
    m_waypoints[static_cast<std::size_t>(number)] = waypoint;
    return {};
}

bool CWaylineBuilder::IsSet(int number) const
{
    return number >= 0 && number < kMostWaypoints &&
           m_waypoints[static_cast<std::size_t>(number)].has_value();
}

const Waypoint* CWaylineBuilder::At(int number) const
{
    return IsSet(number) ? &*m_waypoints[static_cast<std::size_t>(number)] : nullptr;
}

int CWaylineBuilder::Restore()
{
    if (!m_history.empty()) {
        m_waypoints = m_history.back();
        m_history.pop_back();
    }
    return Count();
}

int CWaylineBuilder::Count() const
{
    return static_cast<int>(
        std::count_if(m_waypoints.begin(), m_waypoints.end(),
                      [](const auto& waypoint) { return waypoint.has_value(); }));
}

void CWaylineBuilder::Record(const Vector3<double>& here)
{
    if (!Recording() || m_recorded.size() >= kMostRecordedPoints) {
        return;
    }
    // Nothing is recorded yet when it was a restored waypoint 0 that started the recording.
    const double distance = m_recorded.empty() ? 0.0 : Distance(m_recorded.back(), here);
    if (!m_recorded.empty() && distance < kRecordingDistance) {
        return;
    }
    m_recorded.push_back(here);
    m_recordedLength += distance;
}

bool CWaylineBuilder::Recording() const
{
    return IsDriven() && IsSet(0) && !IsSet(1);
}

Kestrove::WaylinePtr CWaylineBuilder::Wayline() const
{
    const auto at = [this](std::size_t number) { return m_waypoints[number]->position; };
    const bool drive = IsDriven() && IsSet(0) && IsSet(1) && m_recorded.size() > 1;
    if (m_kind == Kestrove::EWaylineTypeAB && IsSet(0) && IsSet(1)) {
        return Kestrove::WaylinePtr(new Kestrove::CABWayline(at(0), at(1)));
    }
    if (m_kind == Kestrove::EWaylineTypeAHeading && IsSet(0)) {
        return Kestrove::WaylinePtr(new Kestrove::CAHeadingWayline(at(0), m_waypoints[0]->heading));
    }
    if (m_kind == Kestrove::EWaylineTypeCircle && IsSet(0) && IsSet(1) && IsSet(2)) {
        return Kestrove::WaylinePtr(new Kestrove::CCircleWayline(at(0), at(1), at(2)));
    }
    if (m_kind == Kestrove::EWaylineTypeSpline && drive) {
        return Kestrove::WaylinePtr(new Kestrove::CSplineWayline(m_recorded));
    }
    if (m_kind == Kestrove::EWaylineTypeABCurve && drive) {
        return Kestrove::WaylinePtr(new Kestrove::CABCurveWayline(m_recorded));
    }
    if (m_kind == Kestrove::EWaylineTypePath && drive) {
        return Kestrove::WaylinePtr(new Kestrove::CPathWayline());
    }
    return {};
}

bool CWaylineBuilder::IsDriven() const
{
    return m_kind == Kestrove::EWaylineTypeSpline || m_kind == Kestrove::EWaylineTypeABCurve ||
           m_kind == Kestrove::EWaylineTypePath;
}

void CWaylineBuilder::StartRecording(const Vector3<double>& here)
{
    m_recorded.assign(1, here);
    m_recordedLength = 0.0;
    m_waypoints[1].reset();
}

std::string CWaylineBuilder::EndRecording(const Vector3<double>& here)
{
    if (!Recording() || m_recorded.empty()) {
        return "no drive is being recorded that waypoint 1 could end";
    }
    const double rest = Distance(m_recorded.back(), here);
    const double length = m_recordedLength + rest;
    if (length < kShortestDrive) {
        return "the recorded drive is " + std::to_string(length) +
               " m long, allowed is 1 m at least";
    }
    // The last piece is shorter than the others, but the line must end where the waypoint is.
    if (rest > 0.0 && m_recorded.size() < kMostRecordedPoints) {
        m_recorded.push_back(here);
        m_recordedLength = length;
    }
    return {};
}

void CWaylineBuilder::Remember()
{
    m_history.push_back(m_waypoints);
    if (m_history.size() > kMostRemembered) {
        m_history.erase(m_history.begin());
    }
}
