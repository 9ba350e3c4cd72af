#include "simulator/service/ServiceRecording.h"

#include <utility>

#include <unistd.h>

#include "recording/RecordingClock.h"
#include "recording/decoding/JsonSchemas.h"
#include "recording/decoding/ViewerMessages.h"
#include "simulator/base/Version.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint64_t kBetweenLooksNanoseconds = 1'000'000'000;
constexpr std::uint16_t kStateChannel = LinkForm::kFirstOtherChannel;
constexpr std::uint16_t kPoseChannel = kStateChannel + 1;
constexpr std::uint16_t kStateSchema = LinkForm::kFirstOtherSchema;
constexpr std::uint16_t kPoseSchema = kStateSchema + 1;

/// What is not a number becomes null.
Json JsonOf(const MachineMoment& moment)
{
    return {{"time_s", moment.seconds},
            {"x_m", moment.east},
            {"y_m", moment.north},
            {"heading_rad", moment.heading},
            {"measured_x_m", moment.measuredEast},
            {"measured_y_m", moment.measuredNorth},
            {"speed_mps", moment.speed},
            {"steering_angle_rad", moment.steeringAngle},
            {"cross_track_error_m", moment.crossTrackError},
            {"implement_cross_track_error_m", moment.implementCrossTrackError},
            {"receiver_drift_error_m", moment.receiverDriftError},
            {"pass", moment.pass},
            {"engaged", moment.isEngaged},
            {"state", moment.state},
            {"drop_reason", moment.dropReason},
            {"navigating", moment.isNavigating},
            {"drives_against", moment.drivesAgainst},
            {"fed", moment.isFed},
            {"desired_steering_angle_rad", moment.desiredSteeringAngle},
            {"nudge_m", moment.nudge},
            {"fix", moment.fix},
            {"correction_age_s", moment.correctionAge},
            {"faults", moment.faults}};
}

} // namespace

bool CServiceRecording::Begin(const std::string& path, const std::string& run)
{
    if (!m_file.Create(path)) {
        return false;
    }
    const std::uint64_t now = RecordingTime();
    m_nextLook = now + kBetweenLooksNanoseconds;
    m_recording.Begin({std::string("navigation-simulator ") + ProgramVersion(),
                       "navigation-simulator", std::to_string(::getpid()), RecordingTimeText(now),
                       "service", run});
    CMcapWriter& writer = m_recording.Writer();
    for (const auto& [id, name] :
         {std::pair<std::uint16_t, const char*>{kStateSchema, "kestrove.MachineState"},
          {kPoseSchema, "foxglove.PoseInFrame"}}) {
        writer.AddSchema({id, name, "jsonschema", JsonSchemaOf(name)});
    }
    writer.AddChannel({kStateChannel, kStateSchema, "/machine/true_state", "json", {}});
    return writer.AddChannel({kPoseChannel, kPoseSchema, "/machine/true_pose", "json", {}});
}

bool CServiceRecording::State(std::uint64_t time, std::uint16_t link, std::uint64_t client,
                              ELinkState state, const std::string& text)
{
    return m_recording.State(time, link, client, state, text);
}

bool CServiceRecording::Bytes(std::uint64_t time, std::uint16_t link, ELinkDirection direction,
                              std::string_view bytes)
{
    return m_recording.Bytes(time, link, direction, bytes);
}

bool CServiceRecording::DecodeFor(std::uint16_t link, std::uint64_t client)
{
    m_items.Open(link, client);
    return true;
}

bool CServiceRecording::EndDecoding(std::uint16_t link)
{
    m_items.Close(link);
    return true;
}

bool CServiceRecording::Decode(std::uint64_t time, std::uint16_t link, ELinkDirection direction,
                               std::string_view bytes)
{
    m_items.Add(time, link, direction, bytes);
    bool isWritten = true;
    for (CRecordedItem item; isWritten && m_items.Next(item);) {
        isWritten = m_decoder.Add(item);
    }
    return isWritten;
}

bool CServiceRecording::Machine(std::uint64_t time, const MachineMoment& moment)
{
    const std::string state = JsonOf(moment).dump();
    const std::string pose = PoseInFrame(time, moment.east, moment.north, moment.heading).dump();
    CMcapWriter& writer = m_recording.Writer();
    ++m_moments;
    return IsStillThere(time) && writer.AddMessage({kStateChannel, m_moments, time, time, state}) &&
           writer.AddMessage({kPoseChannel, m_moments, time, time, pose});
}

/// Looks once a second.
bool CServiceRecording::IsStillThere(std::uint64_t time)
{
    if (time < m_nextLook) {
        return true;
    }
    m_nextLook = time + kBetweenLooksNanoseconds;
    return m_file.IsStillThere();
}

bool CServiceRecording::Finish()
{
    return m_decoder.Finish() && m_recording.Finish();
}
