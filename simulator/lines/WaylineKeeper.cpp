#include "simulator/lines/WaylineKeeper.h"

#include <optional>
#include <string>
#include <utility>

using Kestrove::EWaylineType;
using Kestrove::WaylinePtr;

namespace {

/// The drives with what a builder has recorded, if that is new.
std::shared_ptr<const RecordedDrives>
DrivesWith(const CWaylineBuilder& builder, const std::shared_ptr<const RecordedDrives>& drives)
{
    const bool isPath = builder.Kind() == Kestrove::EWaylineTypePath;
    if (builder.Recorded().empty() && !isPath) {
        return drives;
    }
    RecordedDrives with = *drives;
    if (!builder.Recorded().empty()) {
        with.last = builder.Recorded();
    }
    if (isPath) {
        with.path = builder.Recorded();
    }
    return std::make_shared<const RecordedDrives>(std::move(with));
}

LineDefinitionPtr SharedLineOf(const Kestrove::CWayline& wayline, const RecordedDrives& drives)
{
    std::optional<LineDefinition> line = LineOf(wayline, drives);
    return line ? std::make_shared<const LineDefinition>(std::move(*line)) : nullptr;
}

} // namespace

COutcome CWaylineKeeper::Set(const BListC& listForm)
try {
    const auto candidate =
        Made({"set_wayline", &listForm}, static_cast<std::size_t>(listForm.Size()),
             [list = &listForm, drives = m_drives] { return FromList(*list, drives); });
    if (!candidate->problem.empty()) {
        return COutcome::Refused(candidate->problem);
    }
    COutcome outcome = Take(*candidate);
    if (outcome) {
        m_builder.Finish();
    }
    return outcome;
} catch (const CWorkEnded& ended) {
    return COutcome::Overtaken(ended.what());
}

COutcome CWaylineKeeper::Begin(EWaylineType kind)
{
    if (kind == Kestrove::EWaylineTypeReplay) {
        return TakeReplay();
    }
    CWaylineBuilder begun = m_builder;
    if (!begun.Begin(kind)) {
        return COutcome::Refused(std::to_string(kind) +
                                 " is no kind of wayline that can be started, allowed is 0 to 6");
    }
    ChangeBuilder(begun);
    Become(nullptr);
    m_simulation.ClearLine();
    return COutcome::Done();
}

COutcome CWaylineKeeper::TakeReplay()
try {
    const auto candidate =
        Made({"replay", m_drives.get()}, m_drives->last.size(), [drives = m_drives] {
            Candidate replay;
            replay.wayline = Shared(WaylinePtr(new Kestrove::CReplayWayline()));
            replay.line = SharedLineOf(*replay.wayline, *drives);
            return replay;
        });
    COutcome outcome = Take(*candidate);
    if (outcome) {
        m_builder.Finish();
    }
    return outcome;
} catch (const CWorkEnded& ended) {
    return COutcome::Overtaken(ended.what());
}

bool CWaylineKeeper::Clear()
{
    const bool had = m_wayline || m_builder.Kind() != Kestrove::EWaylineTypeEmpty;
    m_builder.Finish();
    ++m_changes;
    Become(nullptr);
    m_simulation.ClearLine();
    return had;
}

void CWaylineKeeper::ClearAll()
{
    Clear();
    m_builder.Clear();
}

COutcome CWaylineKeeper::SetWaypoint(int number, const Waypoint& waypoint)
try {
    // A copy tries it out: waypoints that make no line change nothing.
    CWaylineBuilder changed = m_builder;
    const std::string problem = changed.Set(number, waypoint, Here());
    if (!problem.empty()) {
        return COutcome::Refused(problem);
    }
    const std::size_t recorded = changed.Recorded().size();
    const auto candidate =
        Made({"set_waypoint"}, recorded,
             [builder = std::make_shared<const CWaylineBuilder>(std::move(changed)),
              drives = m_drives, changes = m_changes] {
                 Candidate made = FromBuilder(*builder, drives);
                 made.changes = changes;
                 return made;
             });
    if (candidate->changes != m_changes) {
        return COutcome::Overtaken("the waypoints were changed meanwhile");
    }
    if (candidate->wayline) {
        COutcome outcome = Take(*candidate);
        if (!outcome) {
            return outcome;
        }
        m_drives = candidate->drives;
    }
    ChangeBuilder(candidate->builder);
    return COutcome::Done();
} catch (const CWorkEnded& ended) {
    return COutcome::Overtaken(ended.what());
}

int CWaylineKeeper::RestoreWaypoints()
try {
    CWaylineBuilder restored = m_builder;
    const int count = restored.Restore();
    if (restored.Kind() == Kestrove::EWaylineTypeEmpty) {
        ChangeBuilder(restored);
        return count;
    }
    const auto candidate =
        Made({"RestoreWaypoints"}, restored.Recorded().size(),
             [builder = std::make_shared<const CWaylineBuilder>(std::move(restored)),
              drives = m_drives, changes = m_changes] {
                 Candidate made = FromBuilder(*builder, drives);
                 made.changes = changes;
                 return made;
             });
    if (candidate->changes != m_changes) {
        return m_builder.Count();
    }
    const COutcome outcome = candidate->wayline ? Take(*candidate) : COutcome::Refused({});
    if (outcome.IsOvertaken()) {
        return m_builder.Count();
    }
    ChangeBuilder(candidate->builder);
    if (!outcome) {
        Become(nullptr);
        m_simulation.ClearLine();
    }
    return count;
} catch (const CWorkEnded&) {
    return m_builder.Count();
}

void CWaylineKeeper::Record(double height)
{
    m_height = height;
    m_builder.Record(Here());
}

WaylineStatus CWaylineKeeper::Status() const
{
    WaylineStatus status;
    status.complete = static_cast<bool>(m_wayline);
    status.recording = m_builder.Recording();
    status.kind = m_wayline ? m_wayline->Type() : m_builder.Kind();
    status.length = status.recording ? m_builder.RecordedLength() : m_simulation.LineLength();
    return status;
}

Core::Maths::Vector3<double> CWaylineKeeper::Here() const
{
    const Point position = m_simulation.EstimatedPose().position;
    return {position.x, position.y, m_height};
}

/// Of a pointer whose references are not counted for threads: this one keeps the only one.
CWaylineKeeper::SharedWayline CWaylineKeeper::Shared(const WaylinePtr& wayline)
{
    const auto kept = std::make_shared<WaylinePtr>(wayline);
    return {kept, kept->Get()};
}

CWaylineKeeper::Candidate CWaylineKeeper::FromList(const BListC& list,
                                                   const SharedDrivesPtr& drives)
{
    Candidate read;
    const WaylinePtr wayline = ReadWayline(list, read.problem);
    if (wayline) {
        read.line = SharedLineOf(*wayline, *drives);
        read.wayline = Shared(wayline);
    }
    return read;
}

CWaylineKeeper::Candidate CWaylineKeeper::FromBuilder(CWaylineBuilder builder,
                                                      const SharedDrivesPtr& drives)
{
    Candidate made;
    const WaylinePtr wayline = builder.Wayline();
    if (wayline) {
        made.drives = DrivesWith(builder, drives);
        made.line = SharedLineOf(*wayline, *made.drives);
        made.wayline = Shared(wayline);
    }
    made.builder = std::move(builder);
    return made;
}

template <typename TMake>
std::shared_ptr<const CWaylineKeeper::Candidate>
CWaylineKeeper::Made(const WorkKey& key, std::size_t points, TMake make) const
{
    return Calculated<Candidate>(m_work, key, EWork::Change, points, std::move(make));
}

COutcome CWaylineKeeper::Take(const Candidate& candidate)
{
    if (!candidate.line) {
        return COutcome::Refused("there is no recorded drive");
    }
    COutcome outcome = m_simulation.SetLine(candidate.line);
    if (outcome) {
        Become(candidate.wayline);
    }
    return outcome;
}

void CWaylineKeeper::Become(const SharedWayline& wayline)
{
    if (m_work != nullptr && m_wayline) {
        m_work->Discard(m_wayline);
    }
    m_wayline = wayline;
    ++m_revision;
}

void CWaylineKeeper::ChangeBuilder(const CWaylineBuilder& builder)
{
    m_builder = builder;
    ++m_changes;
}
