#ifndef KESTROVE_TOOLS_NAVCTL_REPORT_DRIVESOURCE_H
#define KESTROVE_TOOLS_NAVCTL_REPORT_DRIVESOURCE_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "report/DriveReport.h"
#include "tools/navctl/feed/FeedProgress.h"
#include "tools/navctl/files/LineReader.h"

/// What was found beside the samples of a drive.
struct DriveReading
{
    std::string problem; ///< why it cannot be used, without the file's name; empty when it can
    std::string run;     ///< what it takes to repeat the drive; empty where that is not said
    bool isTrue = false; ///< whether errors are true ones, and not what guidance took for them
    std::vector<std::string> remarks{}; ///< on how it was read
};

/// Shows how far the reading of a long file is.
class CReadingProgress
{
public:
    /// @param length of the file, bytes; 0 where it is not known.
    explicit CReadingProgress(std::uint64_t length);
    /// To be called for each row or record.
    void Show(std::uint64_t bytesUsed, const char* what);

private:
    std::unique_ptr<CFeedProgress> m_progress; ///< null for what is read before anybody wonders
    std::uint64_t m_length;
    std::uint64_t m_count = 0;
    double m_start = 0.0;
};

/// Reads a track file or a recording, whichever it is by its first bytes, in bounded memory.
///
/// @param path the file's name; "-" for the standard input.
/// @param report receives the samples, and is finished.
DriveReading ReadDrive(const std::string& path, CDriveReport& report);

/// Reads a track file: comma-separated values whose first line names the columns.
DriveReading ReadTrack(CLineReader& lines, CReadingProgress& progress, CDriveReport& report);

/// Reads a recording.
///
/// @param head what has been read of it already.
/// @param descriptor the rest.
DriveReading ReadRecording(std::string head, int descriptor, CReadingProgress& progress,
                           CDriveReport& report);

#endif
