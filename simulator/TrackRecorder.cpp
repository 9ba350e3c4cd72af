#include "simulator/TrackRecorder.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace {

/// Whether a file is a pipe that nobody reads, which could not be opened before somebody does.
bool IsUnreadPipe(const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_fifo(path, error))
        return false;
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    const bool unread = descriptor < 0 && errno == ENXIO;
    if (descriptor >= 0)
        ::close(descriptor);
    return unread;
}

} // namespace

std::string TrackRecorderC::Open(const std::string& path)
{
    const std::string failed = "cannot write the track file " + path + ": ";
    if (IsUnreadPipe(path))
        return failed + "it is a pipe that nobody reads";
    errno = 0;
    m_file.open(path, std::ios::trunc);
    if (!m_file)
        return failed + std::generic_category().message(errno != 0 ? errno : EIO);
    m_file << "time_s,true_x_m,true_y_m,true_heading_rad,measured_x_m,measured_y_m,speed_mps,"
              "steering_angle_rad,cross_track_error_m,implement_cross_track_error_m,pass,engaged\n";
    return {};
}

bool TrackRecorderC::Write(const CSimulation& simulation)
{
    if (!m_file.is_open())
        return true;
    const Pose truth = simulation.TruePose();
    const Pose measured = simulation.MeasuredPose();
    char line[512];
    std::snprintf(line, sizeof line, "%.2f,%.4f,%.4f,%.6f,%.4f,%.4f,%.4f,%.6f,%.5f,%.5f,%d,%d\n",
                  simulation.Time(), truth.position.x, truth.position.y,
                  NormaliseHeading(truth.heading), measured.position.x, measured.position.y,
                  simulation.Speed(), simulation.SteeringAngle(), simulation.TrueCrossTrackError(),
                  simulation.TrueImplementCrossTrackError(), simulation.Status().pass,
                  simulation.Engaged() ? 1 : 0);
    m_file << line << std::flush;
    if (m_file)
        return true;
    m_file.close();
    return false;
}
