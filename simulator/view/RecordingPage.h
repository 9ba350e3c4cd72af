#ifndef KESTROVE_SIMULATOR_VIEW_RECORDINGPAGE_H
#define KESTROVE_SIMULATOR_VIEW_RECORDINGPAGE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <asio/io_context.hpp>

/// Serves the page with a recording in place of a service: nothing drives, and nothing is carried
/// out. The recording is read on a thread of its own, and so is each part of it that somebody
/// saves, one after the other.
///
/// Thread safety: none; used from the thread that runs the loop.
class CRecordingPage
{
public:
    /// @param loop must outlive this object.
    /// @param path of a file that ProblemOfRecording() finds nothing wrong with.
    /// @param log takes a line about a recording that is not whole; may be empty.
    CRecordingPage(asio::io_context& loop, std::string path,
                   std::function<void(const std::string&)> log = {});
    /// Stops.
    ~CRecordingPage();
    CRecordingPage(const CRecordingPage&) = delete;
    CRecordingPage& operator=(const CRecordingPage&) = delete;

    /// Starts to listen, and to read. Port 0 takes a free one.
    ///
    /// @return an empty text on success, otherwise the reason.
    std::string Listen(std::uint16_t port);
    std::uint16_t Port() const;
    /// Ends all connections and the thread.
    void Stop();

private:
    class CState;
    std::unique_ptr<CState> m_state;
};

#endif
