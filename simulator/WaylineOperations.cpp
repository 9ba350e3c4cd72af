#include "simulator/WaylineOperations.h"

#include <cmath>

void WaylineOperationsC::Register(OperationTableC& table)
{
    using Self = WaylineOperationsC;
    table.Add("set_wayline_origin", *this, &Self::SetWaylineOrigin);
    table.Add("calculate_headings", *this, &Self::CalculateHeadings);
    table.Add("get_wayline", *this, &Self::GetWayline);
    table.Add("set_wayline", *this, &Self::SetWayline);
    table.Add("clear_wayline", *this, &Self::ClearWayline);
    table.Add("start_wayline", *this, &Self::StartWayline);
    table.Add("set_waypoint", *this, &Self::SetWaypoint);
    table.Add("is_waypoint_set", *this, &Self::IsWaypointSet);
    table.Add("RestoreWaypoints", *this, &Self::RestoreWaypoints);
}

void WaylineOperationsC::SetWaylineOrigin(double latitude, double longitude, double height)
{
    m_log.Carried("set_wayline_origin", m_feed.SetOrigin({latitude, longitude, height}));
}

std::vector<double> WaylineOperationsC::CalculateHeadings(NestedLists waylines)
{
    std::vector<double> headings;
    headings.reserve(static_cast<std::size_t>(waylines.elements.Size()));
    for (int index = 0; index < waylines.elements.Size(); ++index)
        headings.push_back(m_waylines.HeadingOf(*waylines.elements.GetList(index)));
    return headings;
}

Value WaylineOperationsC::GetWayline()
{
    const Kestrove::CWayline* wayline = m_waylines.Current();
    return Value(wayline != nullptr ? wayline->ToBList() : nullptr);
}

bool WaylineOperationsC::SetWayline(WholeList wayline)
{
    return m_log.Carried("set_wayline", m_waylines.Set(wayline.elements));
}

bool WaylineOperationsC::ClearWayline()
{
    const bool had = m_waylines.Clear();
    return m_log.Carried("clear_wayline",
                         had ? COutcome::Done() : COutcome::Refused("there is no wayline"));
}

bool WaylineOperationsC::StartWayline(int kind)
{
    return m_log.Carried("start_wayline",
                         m_waylines.Begin(static_cast<Kestrove::EWaylineType>(kind)));
}

bool WaylineOperationsC::SetWaypoint(int number, double x, double y, double z, double heading)
{
    for (const double value : {x, y, z, heading}) {
        if (!std::isfinite(value)) {
            return m_log.Carried("set_waypoint",
                                 COutcome::Refused(std::to_string(value) + " is no finite number"));
        }
    }
    return m_log.Carried("set_waypoint", m_waylines.SetWaypoint(number, {{x, y, z}, heading}));
}

bool WaylineOperationsC::IsWaypointSet(int number)
{
    return m_waylines.IsWaypointSet(number);
}

int WaylineOperationsC::RestoreWaypoints(LeadingOne)
{
    return m_waylines.RestoreWaypoints();
}
