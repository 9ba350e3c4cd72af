#ifndef KESTROVE_RECORDING_RECORDINGFILES_H
#define KESTROVE_RECORDING_RECORDINGFILES_H

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "recording/LinkRecording.h"
#include "recording/LiveFile.h"

/// How much a recording may take of the disk.
struct CRecordingLimits
{
    std::uint64_t fileBytes = 100'000'000;
    unsigned files = 10; ///< when there would be more, the oldest goes
};

/// Reads limits as KESTROVE_RECORD_LIMIT has them: "SIZE" or "SIZE,FILES", the size in bytes or
/// with k, M or G behind it (thousands, millions, billions).
///
/// @param limits receives them; left as it is where the text is not a limit.
/// @return false where the text is not one: a size from 4096 to 10^12 bytes, 1 to 10000 files.
bool ReadRecordingLimits(const std::string& text, CRecordingLimits& limits);

/// The name of a further file of a recording: "drive.mcap" is followed by "drive.2.mcap".
std::string NumberedPath(const std::string& path, const std::string& number);

/// A recording of one application's link, in one file after the other.
///
/// A file that has reached its size is closed between two messages, or at twice its size and more
/// wherever that is, and the next begun; each can be read without the others. When something fails
/// the recording ends, and what was written before stays.
///
/// Thread safety: none. Lifetime: closes the file, with its summary.
class CRecordingFiles
{
public:
    CRecordingFiles(CRecordingOrigin origin, const CRecordingLimits& limits)
        : m_origin(std::move(origin)), m_limits(limits)
    {
    }
    ~CRecordingFiles() { End(); }
    CRecordingFiles(const CRecordingFiles&) = delete;
    CRecordingFiles& operator=(const CRecordingFiles&) = delete;

    /// Begins the first file.
    ///
    /// @param peer with whom there is a connection already; empty where there is none.
    bool Begin(const std::string& path, const std::string& peer);
    /// The connection has been opened, closed or refused.
    void State(ELinkState state, std::string_view text);
    /// Bytes have gone.
    void Bytes(ELinkDirection direction, std::string_view bytes);
    /// A moment between two messages, in both directions: the place to go on to the next file.
    void BetweenMessages();
    /// Ends the recording with a summary; nothing happens where it has ended.
    void End() noexcept;
    /// Leaves the file to the process that this one was forked from.
    void Abandon() noexcept;

    bool IsOn() const { return m_recording != nullptr; }
    /// Why the recording could not begin or has ended; empty while it goes on.
    const std::string& Problem() const { return m_problem; }

private:
    bool BeginFile(const std::string& path);
    void NextFile();
    void Stop();
    void LookAfterFile(std::uint64_t now);

    CRecordingOrigin m_origin;
    CRecordingLimits m_limits;
    std::string m_path;
    unsigned m_number = 0; // of the present file
    std::deque<std::unique_ptr<CLiveFile>> m_files;
    std::unique_ptr<CLinkRecording> m_recording;
    std::uint64_t m_client = 0; // the number of the connection
    bool m_isOpen = false;      // the connection
    std::string m_peer;
    std::uint64_t m_nextLook = 0;
    std::uint64_t m_limitAsked = 0; // when
    std::string m_problem;
};

#endif
