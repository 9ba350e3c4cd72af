#ifndef KESTROVE_SIMULATOR_SERVICE_TRACKRECORDER_H
#define KESTROVE_SIMULATOR_SERVICE_TRACKRECORDER_H

#include <chrono>
#include <optional>
#include <string>

#include "simulator/output/LineWriter.h"
#include "simulator/settings/StateFile.h"
#include "simulator/world/Simulation.h"

/// Writes the drive as comma-separated values, a line each time that guidance ran.
///
/// Columns: time_s; true_x_m, true_y_m, true_heading_rad; measured_x_m, measured_y_m;
/// speed_mps; steering_angle_rad; cross_track_error_m and implement_cross_track_error_m, both true;
/// pass; engaged; receiver_drift_error_m; run, which is empty but for the first line.
/// A slow disk or reader holds up nobody: lines wait for it, up to 4 MiB, and beyond that are left
/// out. Thread safety: none.
class CTrackRecorder
{
public:
    /// Starts a new file, in place of what stood there.
    ///
    /// @param settings the state file, which is not to be overwritten whatever the path of the
    ///        track file is; null for none.
    /// @param run what it takes to repeat the drive; may be empty.
    /// @return an empty text on success, otherwise why the file cannot be written: it stands as it
    ///         was then.
    std::string Open(const std::string& path, const CStateFile* settings = nullptr,
                     const std::string& run = "");
    /// Has the present line written; nothing happens without a file.
    ///
    /// @return an empty text, or what has become of earlier lines: that some were left out, or that
    ///         one could not be written, and the file is closed then.
    std::string Write(const CSimulation& simulation);
    /// Ends the file, once all lines have been written or the deadline has come.
    void Close(std::chrono::steady_clock::time_point deadline);

private:
    std::optional<CLineWriter> m_writer;
    std::string m_run; ///< for the next line; empty once it has been written
};

#endif
