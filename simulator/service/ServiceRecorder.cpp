#include "simulator/service/ServiceRecorder.h"

#include <utility>
#include <vector>

#include "recording/RecordingClock.h"
#include "simulator/service/ServiceRecording.h"

namespace {

constexpr std::size_t kMostWaitingToBeRecorded = std::size_t{64} * 1024 * 1024;
/// From then on the bytes alone are recorded, which takes the least time.
constexpr std::size_t kTooManyToDecode = kMostWaitingToBeRecorded / 4;

using EWhen = CRecordingThread::EWhen;

std::string StateWord(const CSimulation& world)
{
    if (world.Engaged()) {
        return "engaged";
    }
    if (world.DroppedByService()) {
        return "dropped";
    }
    return world.WhyNotEngaged().empty() ? "ready" : "not ready";
}

const char* FixWord(EFix fix)
{
    static const char* const words[] = {"none", "single", "differential", "float", "fixed"};
    return words[static_cast<std::size_t>(fix)];
}

std::vector<std::string> NamesOf(const CFaults& faults)
{
    std::vector<std::string> names;
    for (const auto& [name, active] : faults.Now()) {
        names.push_back(name);
    }
    return names;
}

MachineMoment MomentOf(const CSimulation& world, const CFaults& faults)
{
    const ReceiverReport report = world.Reported();
    const Pose truth = world.TruePose();
    const Pose measured = world.MeasuredPose();
    return {world.Time(),
            truth.position.x,
            truth.position.y,
            NormaliseHeading(truth.heading),
            measured.position.x,
            measured.position.y,
            world.Speed(),
            world.SteeringAngle(),
            world.TrueCrossTrackError(),
            world.TrueImplementCrossTrackError(),
            world.ReceiverDriftError(),
            world.Status().pass,
            world.Engaged(),
            world.SteeringCommand(),
            world.Nudge(),
            world.NavigationActive(),
            world.FacesAgainst(),
            world.FedMode(),
            StateWord(world),
            world.DropReason(),
            FixWord(report.fix),
            report.correctionAge,
            NamesOf(faults)};
}

} // namespace

std::string CServiceRecorder::Open(const std::string& path, const std::string& run)
{
    const auto recording = std::make_shared<CServiceRecording>();
    if (!recording->Begin(path, run)) {
        return "cannot write the recording " + recording->Problem();
    }
    m_thread.emplace(kMostWaitingToBeRecorded);
    m_recording = recording;
    return {};
}

/// Has the thread write something, of which false comes where it cannot.
template <typename Write>
void CServiceRecorder::Add(std::size_t bytes, CRecordingThread::EWhen when, Write write)
{
    if (m_recording == nullptr) {
        return;
    }
    const bool isTaken =
        m_thread->Add(bytes, when, [recording = m_recording, write = std::move(write)] {
            return write(*recording) ? std::string() : recording->Problem();
        });
    if (!isTaken) {
        m_recording.reset();
        m_problem = "the recording ends here: " + m_thread->Problem();
    }
}

void CServiceRecorder::ClientConnected(ClientNumber client)
{
    if (m_recording == nullptr || (m_freeLinks.empty() && m_lastLink == LinkForm::kMostLinks)) {
        return;
    }
    std::uint16_t link = 0;
    if (m_freeLinks.empty()) {
        link = ++m_lastLink;
    } else {
        link = *m_freeLinks.begin();
        m_freeLinks.erase(link);
    }
    m_links[client] = link;
    Add(0, EWhen::Next, [time = RecordingTime(), link, client](CServiceRecording& recording) {
        return recording.State(time, link, client, ELinkState::Opened, "a client");
    });
    Add(0, EWhen::Meanwhile,
        [link, client](CServiceRecording& recording) { return recording.DecodeFor(link, client); });
}

void CServiceRecorder::ClientDisconnected(ClientNumber client, const std::string& reason)
{
    const auto found = m_links.find(client);
    if (m_recording == nullptr || found == m_links.end()) {
        return;
    }
    const std::uint16_t link = found->second;
    m_links.erase(found);
    m_freeLinks.insert(link);
    Add(reason.size(), EWhen::Next,
        [time = RecordingTime(), link, client, reason](CServiceRecording& recording) {
            return recording.State(time, link, client, ELinkState::Closed, reason);
        });
    Add(0, EWhen::Meanwhile,
        [link](CServiceRecording& recording) { return recording.EndDecoding(link); });
}

void CServiceRecorder::Bytes(ClientNumber client, ELinkDirection direction, std::string_view bytes)
{
    const auto found = m_links.find(client);
    if (m_recording == nullptr || found == m_links.end() || bytes.empty()) {
        return;
    }
    if (m_isDecoding && m_thread->WaitingBytes() > kTooManyToDecode) {
        m_isDecoding = false;
        m_problem = "more is recorded than can be decoded meanwhile: the recording goes on without "
                    "JSON of what clients say, which navctl recording decode adds";
    }
    const auto copy = std::make_shared<const std::string>(bytes);
    const std::uint64_t time = RecordingTime();
    const std::uint16_t link = found->second;
    // Whoever decodes them holds them longest.
    Add(m_isDecoding ? 0 : bytes.size(), EWhen::Next,
        [time, link, direction, copy](CServiceRecording& recording) {
            return recording.Bytes(time, link, direction, *copy);
        });
    if (m_isDecoding) {
        Add(bytes.size(), EWhen::Meanwhile,
            [time, link, direction, copy](CServiceRecording& recording) {
                return recording.Decode(time, link, direction, *copy);
            });
    }
}

void CServiceRecorder::Machine(const CSimulation& world, const CFaults& faults)
{
    if (m_recording == nullptr) {
        return;
    }
    Add(0, EWhen::Meanwhile,
        [time = RecordingTime(), moment = MomentOf(world, faults)](CServiceRecording& recording) {
            return recording.Machine(time, moment);
        });
}

std::string CServiceRecorder::TakeProblem()
{
    return std::exchange(m_problem, {});
}

void CServiceRecorder::Close(std::chrono::steady_clock::time_point deadline)
{
    if (m_recording != nullptr) {
        Add(0, EWhen::Meanwhile, [](CServiceRecording& recording) { return recording.Finish(); });
        m_thread->Finish(deadline);
        m_recording.reset();
    }
}
