#ifndef KESTROVE_SIMULATOR_VIEW_DRIVEREADER_H
#define KESTROVE_SIMULATOR_VIEW_DRIVEREADER_H

#include <atomic>
#include <cstdint>
#include <string>

#include "simulator/http/History.h"

/// What a recording shows of a drive.
struct RecordedDrive
{
    HistoryView view;
    std::uint64_t start = 0; ///< of the recording, nanoseconds since 1970
    std::string problem;     ///< what is wrong with it, of which the rest is shown; or empty
};

/// How far a recording has been read, to be looked at from elsewhere.
struct ReadingProgress
{
    std::atomic<std::uint64_t> position{0}; ///< bytes
    std::atomic<std::uint64_t> size{0};
};

/// Reads a recording from its first byte to its last.
///
/// @param progress is kept up to date; may be read elsewhere meanwhile.
/// @throws std::exception where it is told to stop (EndWorkIfStopped()), or wants memory.
RecordedDrive ReadDrive(const std::string& path, ReadingProgress& progress);

/// What keeps a file from being read as a recording at all; empty when nothing does.
std::string ProblemOfRecording(const std::string& path);

/// Makes a recording of a part of one.
///
/// @param from, to seconds since the start of it.
/// @param problem receives why there is none.
std::string PartOfRecording(const std::string& path, double from, double to, std::string& problem);

#endif
