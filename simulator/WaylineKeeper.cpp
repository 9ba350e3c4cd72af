#include "simulator/WaylineKeeper.h"

#include <limits>
#include <optional>
#include <string>
#include <utility>

using Kestrove::EWaylineType;
using Kestrove::WaylinePtr;

COutcome WaylineKeeperC::Set(const BListC& listForm)
{
    std::string problem;
    const WaylinePtr wayline = ReadWayline(listForm, problem);
    if (!wayline)
        return COutcome::Refused(problem);
    COutcome outcome = Take(wayline, m_drives);
    if (outcome)
        m_builder.Finish();
    return outcome;
}

COutcome WaylineKeeperC::Begin(EWaylineType kind)
{
    if (kind == Kestrove::EWaylineTypeReplay) {
        COutcome outcome = Take(WaylinePtr(new Kestrove::CReplayWayline()), m_drives);
        if (outcome)
            m_builder.Finish();
        return outcome;
    }
    if (!m_builder.Begin(kind)) {
        return COutcome::Refused(std::to_string(kind) +
                                 " is no kind of wayline that can be started, allowed is 0 to 6");
    }
    Become(WaylinePtr());
    m_simulation.ClearLine();
    return COutcome::Done();
}

bool WaylineKeeperC::Clear()
{
    const bool had = m_wayline || m_builder.Kind() != Kestrove::EWaylineTypeEmpty;
    m_builder.Finish();
    Become(WaylinePtr());
    m_simulation.ClearLine();
    return had;
}

void WaylineKeeperC::ClearAll()
{
    Clear();
    m_builder.Clear();
}

COutcome WaylineKeeperC::SetWaypoint(int number, const Waypoint& waypoint)
{
    // A copy tries it out: waypoints that make no line change nothing.
    WaylineBuilderC changed = m_builder;
    const std::string problem = changed.Set(number, waypoint, Here());
    if (!problem.empty())
        return COutcome::Refused(problem);
    const WaylinePtr wayline = changed.Wayline();
    if (wayline) {
        RecordedDrives drives = DrivesWith(changed);
        COutcome outcome = Take(wayline, drives);
        if (!outcome)
            return outcome;
        m_drives = std::move(drives);
    }
    m_builder = std::move(changed);
    return COutcome::Done();
}

int WaylineKeeperC::RestoreWaypoints()
{
    const int count = m_builder.Restore();
    if (m_builder.Kind() == Kestrove::EWaylineTypeEmpty)
        return count;
    const WaylinePtr wayline = m_builder.Wayline();
    if (!wayline || !Take(wayline, DrivesWith(m_builder))) {
        Become(WaylinePtr());
        m_simulation.ClearLine();
    }
    return count;
}

void WaylineKeeperC::Record(double height)
{
    m_height = height;
    m_builder.Record(Here());
}

WaylineStatus WaylineKeeperC::Status() const
{
    WaylineStatus status;
    status.complete = static_cast<bool>(m_wayline);
    status.recording = m_builder.Recording();
    status.kind = m_wayline ? m_wayline->Type() : m_builder.Kind();
    status.length = status.recording ? m_builder.RecordedLength() : m_simulation.LineLength();
    return status;
}

double WaylineKeeperC::HeadingOf(const BListC& listForm) const
{
    std::string problem;
    const WaylinePtr wayline = ReadWayline(listForm, problem);
    const std::optional<LineDefinition> line = wayline ? LineOf(*wayline, m_drives) : std::nullopt;
    return line ? m_simulation.HeadingNearest(*line) : std::numeric_limits<double>::quiet_NaN();
}

Core::Maths::Vector3<double> WaylineKeeperC::Here() const
{
    const Point position = m_simulation.EstimatedPose().position;
    return {position.x, position.y, m_height};
}

COutcome WaylineKeeperC::Take(const WaylinePtr& wayline, const RecordedDrives& drives)
{
    const std::optional<LineDefinition> line = LineOf(*wayline, drives);
    if (!line)
        return COutcome::Refused("there is no recorded drive");
    COutcome outcome = m_simulation.SetLine(*line);
    if (outcome)
        Become(wayline);
    return outcome;
}

void WaylineKeeperC::Become(const WaylinePtr& wayline)
{
    m_wayline = wayline;
    ++m_revision;
}

RecordedDrives WaylineKeeperC::DrivesWith(const WaylineBuilderC& builder) const
{
    RecordedDrives drives = m_drives;
    if (!builder.Recorded().empty())
        drives.last = builder.Recorded();
    if (builder.Kind() == Kestrove::EWaylineTypePath)
        drives.path = builder.Recorded();
    return drives;
}
