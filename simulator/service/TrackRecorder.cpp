#include "simulator/service/TrackRecorder.h"

#include <cstddef>
#include <cstdio>
#include <utility>

#include "simulator/service/LineFile.h"

namespace {

constexpr std::size_t kMostWaitingTrackBytes = 4 * 1024 * 1024;

/// A text as a value between commas.
std::string QuotedForCsv(const std::string& text)
{
    std::string quoted = "\"";
    for (const char letter : text) {
        quoted += letter == '"' ? std::string("\"\"") : std::string(1, letter);
    }
    return quoted + "\"";
}

} // namespace

std::string CTrackRecorder::Open(const std::string& path, const CStateFile* settings,
                                 const std::string& run)
{
    CDescriptor file;
    const std::string problem = OpenLineFile(path, settings, file);
    if (!problem.empty()) {
        return "cannot write the track file " + path + ": " + problem;
    }
    m_writer.emplace(std::move(file), kMostWaitingTrackBytes);
    m_writer->Write(
        "time_s,true_x_m,true_y_m,true_heading_rad,measured_x_m,measured_y_m,speed_mps,"
        "steering_angle_rad,cross_track_error_m,implement_cross_track_error_m,pass,engaged,"
        "receiver_drift_error_m,run\n");
    m_run = run.empty() ? run : QuotedForCsv(run);
    return {};
}

std::string CTrackRecorder::Write(const CSimulation& simulation)
{
    if (!m_writer) {
        return {};
    }
    if (m_writer->Error() != 0) {
        m_writer.reset();
        return "the track file cannot be written any more and ends here";
    }
    const Pose truth = simulation.TruePose();
    const Pose measured = simulation.MeasuredPose();
    char line[512];
    std::snprintf(
        line, sizeof line, "%.2f,%.4f,%.4f,%.6f,%.4f,%.4f,%.4f,%.6f,%.5f,%.5f,%d,%d,%.5f,",
        simulation.Time(), truth.position.x, truth.position.y, NormaliseHeading(truth.heading),
        measured.position.x, measured.position.y, simulation.Speed(), simulation.SteeringAngle(),
        simulation.TrueCrossTrackError(), simulation.TrueImplementCrossTrackError(),
        simulation.Status().pass, simulation.Engaged() ? 1 : 0, simulation.ReceiverDriftError());
    m_writer->Write(line + std::exchange(m_run, {}) + "\n");
    const std::size_t leftOut = m_writer->TakeLeftOut();
    if (leftOut == 0 || m_writer->Error() != 0) {
        return {};
    }
    return "the track file lacks " + std::to_string(leftOut) +
           " lines that could not be written in time";
}

void CTrackRecorder::Close(std::chrono::steady_clock::time_point deadline)
{
    if (m_writer) {
        m_writer->Finish(deadline);
        m_writer.reset();
    }
}
