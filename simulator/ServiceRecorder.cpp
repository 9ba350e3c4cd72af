#include "simulator/ServiceRecorder.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "recording/RecordingClock.h"
#include "simulator/Version.h"

namespace {

constexpr std::size_t kMostWaitingBytes = std::size_t{64} * 1024 * 1024;
constexpr int kNewFile = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
constexpr std::uint16_t kStateChannel = LinkForm::kFirstOtherChannel;
constexpr std::uint16_t kPoseChannel = kStateChannel + 1;
constexpr std::uint16_t kStateSchema = LinkForm::kFirstOtherSchema;
constexpr std::uint16_t kPoseSchema = kStateSchema + 1;
constexpr double kRightAngle = 1.5707963267948966;

std::string StateText(const CSimulation& world)
{
    const Pose truth = world.TruePose();
    const Pose measured = world.MeasuredPose();
    std::array<char, 512> text{};
    std::snprintf(text.data(), text.size(),
                  R"({"time_s":%.2f,"x_m":%.4f,"y_m":%.4f,"heading_rad":%.6f,)"
                  R"("measured_x_m":%.4f,"measured_y_m":%.4f,"speed_mps":%.4f,)"
                  R"("steering_angle_rad":%.6f,"cross_track_error_m":%.5f,"engaged":%s})",
                  world.Time(), truth.position.x, truth.position.y, NormaliseHeading(truth.heading),
                  measured.position.x, measured.position.y, world.Speed(), world.SteeringAngle(),
                  world.TrueCrossTrackError(), world.Engaged() ? "true" : "false");
    return text.data();
}

std::string PoseText(const CSimulation& world, std::uint64_t time)
{
    const Pose truth = world.TruePose();
    // A heading goes clockwise from north, a viewer's angle the other way from east.
    const double half = (kRightAngle - truth.heading) / 2;
    std::array<char, 512> text{};
    std::snprintf(text.data(), text.size(),
                  R"({"timestamp":{"sec":%llu,"nsec":%llu},"frame_id":"field","pose":{)"
                  R"("position":{"x":%.4f,"y":%.4f,"z":0},)"
                  R"("orientation":{"x":0,"y":0,"z":%.9f,"w":%.9f}}})",
                  static_cast<unsigned long long>(time / 1'000'000'000U),
                  static_cast<unsigned long long>(time % 1'000'000'000U), truth.position.x,
                  truth.position.y, std::sin(half), std::cos(half));
    return text.data();
}

} // namespace

std::string ServiceRecorderC::Open(const std::string& path)
{
    CDescriptor file(::open(path.c_str(), kNewFile, 0600));
    if (!file.IsOpen()) {
        return "cannot write the recording " + path + ": " + std::generic_category().message(errno);
    }
    m_writer.emplace(std::move(file), kMostWaitingBytes);
    CMcapSink& sink = *this;
    m_recording = std::make_unique<CLinkRecording>(sink);
    m_recording->Begin({std::string("navigation-simulator ") + ProgramVersion(),
                        "navigation-simulator", std::to_string(::getpid()),
                        RecordingTimeText(RecordingTime()), "service"});
    CMcapWriter& writer = m_recording->Writer();
    const char* const form = R"({"type":"object"})";
    writer.AddSchema({kStateSchema, "kestrove.MachineState", "jsonschema", form});
    writer.AddSchema({kPoseSchema, "foxglove.PoseInFrame", "jsonschema", form});
    writer.AddChannel({kStateChannel, kStateSchema, "/machine/true_state", "json", {}});
    writer.AddChannel({kPoseChannel, kPoseSchema, "/machine/true_pose", "json", {}});
    return {};
}

bool ServiceRecorderC::Write(std::string_view head, std::string_view data)
{
    std::string record;
    record.reserve(head.size() + data.size());
    record.append(head).append(data);
    m_writer->Write(std::move(record));
    // A record that is left out would leave a hole in a stream of bytes.
    return m_writer->Error() == 0 && m_writer->TakeLeftOut() == 0;
}

void ServiceRecorderC::Stop()
{
    m_recording.reset();
    m_problem = m_writer->Error() != 0
                    ? "the recording cannot be written any more and ends here: " +
                          std::generic_category().message(m_writer->Error())
                    : "the recording ends here, since the disk does not take what is recorded";
    m_writer.reset();
}

void ServiceRecorderC::ClientConnected(ClientNumber client)
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
    if (!m_recording->State(RecordingTime(), link, client, ELinkState::Opened, "a client")) {
        Stop();
    }
}

void ServiceRecorderC::ClientDisconnected(ClientNumber client, const std::string& reason)
{
    const auto found = m_links.find(client);
    if (m_recording == nullptr || found == m_links.end()) {
        return;
    }
    const std::uint16_t link = found->second;
    m_links.erase(found);
    m_freeLinks.insert(link);
    if (!m_recording->State(RecordingTime(), link, client, ELinkState::Closed, reason)) {
        Stop();
    }
}

void ServiceRecorderC::Bytes(ClientNumber client, ELinkDirection direction, std::string_view bytes)
{
    const auto found = m_links.find(client);
    if (m_recording != nullptr && found != m_links.end() && !bytes.empty() &&
        !m_recording->Bytes(RecordingTime(), found->second, direction, bytes)) {
        Stop();
    }
}

void ServiceRecorderC::Machine(const CSimulation& world)
{
    if (m_recording == nullptr) {
        return;
    }
    const std::uint64_t time = RecordingTime();
    const std::string state = StateText(world);
    const std::string pose = PoseText(world, time);
    CMcapWriter& writer = m_recording->Writer();
    ++m_states;
    if (!writer.AddMessage({kStateChannel, m_states, time, time, state}) ||
        !writer.AddMessage({kPoseChannel, m_states, time, time, pose})) {
        Stop();
    }
}

std::string ServiceRecorderC::TakeProblem()
{
    return std::exchange(m_problem, {});
}

void ServiceRecorderC::Close(std::chrono::steady_clock::time_point deadline)
{
    if (m_recording != nullptr) {
        m_recording->Finish();
        m_recording.reset();
        m_writer->Finish(deadline);
        m_writer.reset();
    }
}
