#ifndef KESTROVE_RUNTIME_LINKRECORDER_H
#define KESTROVE_RUNTIME_LINKRECORDER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

class CRecordingFiles;
enum class ELinkDirection : int;
enum class ELinkState : int;

/// Records the link of one connection object, when it is asked to or when the environment says so:
/// KESTROVE_RECORD names the folder, KESTROVE_RECORD_LIMIT the size of a file and how many there
/// may be.
///
/// Nothing of it can fail the connection: what goes wrong ends the recording, and Error() says so.
/// A child of a fork() leaves the file to its parent and begins one of its own with its first
/// connection. Thread safety: none.
class LinkRecorderC
{
public:
    LinkRecorderC();
    ~LinkRecorderC();
    LinkRecorderC(const LinkRecorderC&) = delete;
    LinkRecorderC& operator=(const LinkRecorderC&) = delete;

    /// Begins a recording in place of the present one.
    ///
    /// @param path the file, which must not be there yet.
    /// @param peer with whom there is a connection; empty where there is none.
    /// @return false when it cannot be written; Error() says why.
    bool Start(const std::string& path, const std::string& peer);
    /// Ends the recording; the environment begins no other.
    void Stop();
    /// Why there is no recording although one was asked for, or what it lacks; empty otherwise.
    const std::string& Error() const { return m_error; }

    /// A connection is about to be opened: the moment at which the environment is looked at.
    void Opening();
    void Opened(const std::string& peer);
    void Refused(const std::string& reason);
    /// The connection has been closed; counts once for each that was opened.
    void Closed(const std::string& reason);

    void Sent(const char* data, std::size_t size)
    {
        if (m_files != nullptr) {
            RecordSent(data, size);
        }
    }
    void Received(const char* data, std::size_t size)
    {
        if (m_files != nullptr) {
            RecordReceived(data, size);
        }
    }
    bool IsOn() const { return m_files != nullptr; }
    /// A moment between two messages in both directions.
    void BetweenMessages();

private:
    void Note(ELinkState state, const std::string& text);
    void RecordSent(const char* data, std::size_t size);
    void RecordReceived(const char* data, std::size_t size);
    void Record(ELinkDirection direction, const char* data, std::size_t size);
    template <typename Action>
    void Do(Action action);
    bool Begin(const std::string& path, const std::string& peer);
    void BeginByEnvironment();
    void LeaveToParent();

    std::unique_ptr<CRecordingFiles> m_files; // null: nothing is recorded
    std::uint64_t m_process = 0;              // whose files they are
    bool m_isOpen = false;                    // the connection
    bool m_looksAtEnvironment = true;
    std::string m_path;      // that was asked for; empty where the environment has
    bool m_isForked = false; // from a process that recorded
    std::string m_error;
};

#endif
