#include "simulator/operations/WaylineOperations.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include "platform/BEncoder.h"
#include "simulator/guidance/LineBuilder.h"

namespace {

/// The line that a list form stands for; nothing when it is not a line's.
std::optional<LineDefinition> LineIn(const BListC& list, const RecordedDrives& drives)
{
    std::string problem;
    const Kestrove::WaylinePtr wayline = ReadWayline(list, problem);
    return wayline ? LineOf(*wayline, drives) : std::nullopt;
}

/// How many points have to be looked at to make the lines of list forms, about.
std::size_t WorkIn(const BListC& lists, const RecordedDrives& drives)
{
    auto points = static_cast<std::size_t>(lists.Size());
    for (int index = 0; index < lists.Size() && points <= CWorkQueue::kPointsOnTheSpot; ++index) {
        const BListC& list = *lists.GetList(index);
        points += static_cast<std::size_t>(list.Size());
        if (points > CWorkQueue::kPointsOnTheSpot) {
            break;
        }
        // Two points can be far apart. A drive may be long, too.
        const int kind = list.GetInt(0);
        const bool isDrive =
            kind == Kestrove::EWaylineTypePath || kind == Kestrove::EWaylineTypeReplay;
        points += isDrive ? drives.path.size() + drives.last.size() : 0;
        if (points > CWorkQueue::kPointsOnTheSpot) {
            break;
        }
        const std::optional<LineDefinition> line = LineIn(list, drives);
        points += line ? WorkOf(*line) : 0;
    }
    return points;
}

std::size_t PointsIn(const Kestrove::CWayline& wayline)
{
    if (const auto* spline = dynamic_cast<const Kestrove::CSplineWayline*>(&wayline)) {
        return spline->points.size();
    }
    if (const auto* curve = dynamic_cast<const Kestrove::CABCurveWayline*>(&wayline)) {
        return curve->points.size();
    }
    return 0;
}

/// Answers with a value that takes the longer the more points there are: what takes long is made
/// aside as the bytes that cross the link, since to write them takes as long as the rest.
template <typename TMake>
Answer AnswerTo(CLongWork* work, const WorkKey& key, std::size_t points, const TMake& make)
{
    if (work == nullptr || work->OnTheSpot() || points <= CWorkQueue::kPointsOnTheSpot) {
        return {make(), {}, nullptr};
    }
    return {nullptr, {}, Calculated<std::string>(work, key, EWork::Query, points, [make] {
                BEncoderC encoder;
                // Nested two deep at most, which can always be written.
                static_cast<void>(encoder.Write(*make()));
                return std::string(encoder.Data(), encoder.Size());
            })};
}

} // namespace

void CWaylineOperations::Register(COperationTable& table)
{
    using Self = CWaylineOperations;
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

void CWaylineOperations::SetWaylineOrigin(double latitude, double longitude, double height)
{
    m_log.Carried("set_wayline_origin", m_feed.SetOrigin({latitude, longitude, height}));
}

Answer CWaylineOperations::CalculateHeadings(NestedLists waylines)
{
    const auto headings = [lists = &waylines.elements, drives = m_waylines.SharedDrives(),
                           filterSize = m_simulation.CurveFilterSize(),
                           place = m_simulation.EstimatedPose().position] {
        std::vector<double> found;
        found.reserve(static_cast<std::size_t>(lists->Size()));
        for (int index = 0; index < lists->Size(); ++index) {
            EndWorkIfStopped();
            const auto line = LineIn(*lists->GetList(index), *drives);
            found.push_back(line ? CSimulation::HeadingNearest(*line, filterSize, place)
                                 : std::numeric_limits<double>::quiet_NaN());
        }
        return ToValue(found);
    };
    return AnswerTo(m_work, {"calculate_headings", &waylines.elements},
                    WorkIn(waylines.elements, m_waylines.Drives()), headings);
}

Answer CWaylineOperations::GetWayline()
{
    const CWaylineKeeper::SharedWayline wayline = m_waylines.SharedCurrent();
    if (!wayline) {
        return {};
    }
    return AnswerTo(m_work, {"get_wayline", wayline.get()}, PointsIn(*wayline),
                    [wayline] { return Value(wayline->ToBList()); });
}

bool CWaylineOperations::SetWayline(WholeList wayline)
{
    return m_log.Carried("set_wayline", m_waylines.Set(wayline.elements));
}

bool CWaylineOperations::ClearWayline()
{
    const bool had = m_waylines.Clear();
    return m_log.Carried("clear_wayline",
                         had ? COutcome::Done() : COutcome::Refused("there is no wayline"));
}

bool CWaylineOperations::StartWayline(int kind)
{
    return m_log.Carried("start_wayline",
                         m_waylines.Begin(static_cast<Kestrove::EWaylineType>(kind)));
}

bool CWaylineOperations::SetWaypoint(int number, double x, double y, double z, double heading)
{
    for (const double value : {x, y, z, heading}) {
        if (!std::isfinite(value)) {
            return m_log.Carried("set_waypoint",
                                 COutcome::Refused(std::to_string(value) + " is no finite number"));
        }
    }
    return m_log.Carried("set_waypoint", m_waylines.SetWaypoint(number, {{x, y, z}, heading}));
}

bool CWaylineOperations::IsWaypointSet(int number)
{
    return m_waylines.IsWaypointSet(number);
}

int CWaylineOperations::RestoreWaypoints(LeadingOne)
{
    return m_waylines.RestoreWaypoints();
}
