#include "simulator/TrackRecorder.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t kMostWaitingTrackBytes = 4 * 1024 * 1024;
// Not blocking, or opening a pipe would wait for its reader.
constexpr int kTrackFlags = O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

/// Takes a file for this program alone, and everything out of it; pipes and devices stay as they
/// are.
///
/// @return an empty text on success, otherwise what stands in the way.
std::string EmptyFile(const CDescriptor& file)
{
    struct stat kind
    {
    };
    if (::fstat(file.Get(), &kind) != 0 || !S_ISREG(kind.st_mode)) {
        return {};
    }
    // Some file systems lock nothing.
    if (::flock(file.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        return "another program uses it";
    }
    return ::ftruncate(file.Get(), 0) == 0 ? std::string() : std::generic_category().message(errno);
}

} // namespace

std::string TrackRecorderC::Open(const std::string& path, const StateFileC* settings)
{
    const std::string failed = "cannot write the track file " + path + ": ";
    CDescriptor file(::open(path.c_str(), kTrackFlags));
    const bool isMade = !file.IsOpen() && errno == ENOENT;
    if (isMade) {
        file = CDescriptor(::open(path.c_str(), kTrackFlags | O_CREAT, 0666));
    }
    if (!file.IsOpen()) {
        return failed + (errno == ENXIO ? "it is a pipe that nobody reads"
                                        : std::generic_category().message(errno));
    }
    // Before anything of it is lost.
    const std::string refusal = settings != nullptr ? settings->Refusal(file, isMade) : "";
    if (!refusal.empty()) {
        return failed + refusal;
    }
    const std::string problem = EmptyFile(file);
    if (!problem.empty()) {
        return failed + problem;
    }
    m_writer.emplace(std::move(file), kMostWaitingTrackBytes);
    m_writer->Write(
        "time_s,true_x_m,true_y_m,true_heading_rad,measured_x_m,measured_y_m,speed_mps,"
        "steering_angle_rad,cross_track_error_m,implement_cross_track_error_m,pass,engaged,"
        "receiver_drift_error_m\n");
    return {};
}

std::string TrackRecorderC::Write(const CSimulation& simulation)
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
        line, sizeof line, "%.2f,%.4f,%.4f,%.6f,%.4f,%.4f,%.4f,%.6f,%.5f,%.5f,%d,%d,%.5f\n",
        simulation.Time(), truth.position.x, truth.position.y, NormaliseHeading(truth.heading),
        measured.position.x, measured.position.y, simulation.Speed(), simulation.SteeringAngle(),
        simulation.TrueCrossTrackError(), simulation.TrueImplementCrossTrackError(),
        simulation.Status().pass, simulation.Engaged() ? 1 : 0, simulation.ReceiverDriftError());
    m_writer->Write(line);
    const std::size_t leftOut = m_writer->TakeLeftOut();
    if (leftOut == 0 || m_writer->Error() != 0) {
        return {};
    }
    return "the track file lacks " + std::to_string(leftOut) +
           " lines that could not be written in time";
}

void TrackRecorderC::Close(std::chrono::steady_clock::time_point deadline)
{
    if (m_writer) {
        m_writer->Finish(deadline);
        m_writer.reset();
    }
}
