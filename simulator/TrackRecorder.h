#ifndef KESTROVE_SIMULATOR_TRACKRECORDER_H
#define KESTROVE_SIMULATOR_TRACKRECORDER_H

#include <fstream>
#include <string>

#include "simulator/world/Simulation.h"

/// Writes the drive as comma-separated values, a line each time that guidance ran.
///
/// Columns: time_s; true_x_m, true_y_m, true_heading_rad; measured_x_m, measured_y_m;
/// speed_mps; steering_angle_rad; cross_track_error_m and implement_cross_track_error_m, both true;
/// pass; engaged.
/// Thread safety: none.
class TrackRecorderC
{
public:
    /// Starts a new file, in place of what stood there.
    ///
    /// @return an empty text on success, otherwise why the file cannot be written.
    std::string Open(const std::string& path);
    /// Writes the present line; nothing happens without a file.
    ///
    /// @return false when the line could not be written; the file is closed then.
    bool Write(const CSimulation& simulation);

private:
    std::ofstream m_file;
};

#endif
