#include "simulator/http/PageResources.h"

#include <chrono>
#include <cmath>
#include <optional>
#include <utility>

#include "simulator/http/PageValues.h"

namespace {

// The trail grows as often, at the speed of time.
constexpr std::chrono::milliseconds kTrailIsFresh(100);
// A report of an hour takes a part of a second to work out.
constexpr std::chrono::milliseconds kReportIsFresh(1000);

} // namespace

CLoopGate::Then WhenDone(CSharedAnswer::Reply reply, std::function<void()> then)
{
    return [reply = std::move(reply), then = std::move(then)](CLoopGate::EOutcome outcome) {
        if (outcome == CLoopGate::EOutcome::Done) {
            DoOrRefuse(reply, then);
        } else if (outcome == CLoopGate::EOutcome::Failed) {
            reply(RefusalOf(500, kFailed));
        } else {
            reply(RefusalOf(503, "the service does not answer"));
        }
    };
}

CPageResources::CPageResources(asio::io_context& loop, CLoopGate& gate, CPageAside& aside,
                               CServiceCore& core, const CTrail& trail)
    : m_gate(gate), m_aside(aside), m_core(core), m_trail(trail),
      m_sharedTrail([this](const Reply& reply) { GiveTrail(reply); }, kTrailIsFresh),
      m_sharedWayline([this](const Reply& reply) { GiveWayline(reply); }), m_waylineText(loop),
      m_sharedReport([this](const Reply& reply) { GiveReport(reply); }, kReportIsFresh)
{
    m_core.OnGuidance([drive = m_drive](const CSimulation& world) { drive->Add(world); });
}

bool CPageResources::Give(const std::shared_ptr<CHttpConnection>& connection)
{
    const std::string& path = connection->Request().path;
    if (const auto file = m_files.AnswerTo(connection->Request())) {
        connection->Answer(*file);
    } else if (path == "/trail") {
        m_sharedTrail.Give(connection);
    } else if (path == "/wayline") {
        m_sharedWayline.Give(connection);
    } else if (path == "/report") {
        m_sharedReport.Give(connection);
    } else {
        return false;
    }
    return true;
}

void CPageResources::GiveTrail(const Reply& reply)
{
    const auto positions = std::make_shared<TrailText>();
    const auto end = std::make_shared<double>(0.0);
    m_gate.Run(
        [this, positions, end](const CLoopGate::Done& done) {
            *positions = m_trail.Text();
            const double intervals = m_core.World().Time() / CTrail::kInterval;
            *end = std::floor(intervals + 1e-6) * CTrail::kInterval;
            done();
        },
        WhenDone(reply, [this, reply, positions, end] {
            reply(JsonAnswer(200, TrailJson(*positions, *end, m_run)));
        }));
}

/// Where it is the wayline of the last time, the text is that of the last time too.
void CPageResources::GiveWayline(const Reply& reply)
{
    const auto wayline = std::make_shared<CWaylineKeeper::SharedWayline>();
    const auto write = [wayline] {
        return TextJson(*wayline ? (*wayline)->ToString() : std::string());
    };
    m_gate.Run(
        [this, wayline](const CLoopGate::Done& done) {
            *wayline = m_core.Waylines().SharedCurrent();
            done();
        },
        WhenDone(reply, [this, reply, wayline, write] {
            if (const std::optional<ServedAnswer> kept = m_waylineText.Of(*wayline)) {
                reply(*kept);
                return;
            }
            m_aside.Do(write, [this, reply, wayline](const std::shared_ptr<std::string>& text) {
                if (!text) {
                    reply(RefusalOf(500, kFailed));
                    return;
                }
                DoOrRefuse(reply, [&] {
                    const ServedAnswer answer = JsonAnswer(200, std::move(*text));
                    m_waylineText.Keep(*wayline, answer);
                    reply(answer);
                });
            });
        }));
}

void CPageResources::GiveReport(const Reply& reply)
{
    const auto drive = std::make_shared<std::vector<DrivePiece>>();
    m_gate.Run(
        [this, drive](const CLoopGate::Done& done) {
            *drive = m_drive->Pieces();
            done();
        },
        WhenDone(reply, [this, reply, drive] {
            m_aside.Do([this, drive] { return ReportAnswer(*drive, m_core.DriveCommand()); },
                       [reply](const std::shared_ptr<ServedAnswer>& answer) {
                           reply(answer ? *answer : RefusalOf(500, kFailed));
                       });
        }));
}
