#ifndef KESTROVE_SIMULATOR_SERVICE_SERVICERECORDER_H
#define KESTROVE_SIMULATOR_SERVICE_SERVICERECORDER_H

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "recording/LinkRecording.h"
#include "runtime/MPISocketServer.h"
#include "simulator/service/RecordingThread.h"
#include "simulator/world/Faults.h"
#include "simulator/world/Simulation.h"

class CServiceRecording;

/// Records the links of all clients, with what they say in JSON, and beside them the true state of
/// the machine: as "/machine/true_state" in numbers, and as "/machine/true_pose" for viewers.
///
/// Decoding and a slow disk hold up nobody: what is recorded waits for them, up to 64 MiB, and the
/// bytes do not wait for the decoding of those before them. From
/// 16 MiB on the bytes alone are recorded; when there would be too much, or it cannot be written,
/// the recording ends. A client is recorded from its connection on; those beyond 16 000 at once are
/// not. Thread safety: none.
class CServiceRecorder
{
public:
    /// Begins a file, which must not be there yet; for its user alone.
    ///
    /// @param run what it takes to repeat the drive, for the recording to say; may be empty.
    /// @return an empty text on success, otherwise why it cannot be written.
    std::string Open(const std::string& path, const std::string& run = "");

    void ClientConnected(ClientNumber client);
    void ClientDisconnected(ClientNumber client, const std::string& reason);
    void Bytes(ClientNumber client, ELinkDirection direction, std::string_view bytes);
    /// Guidance has run.
    void Machine(const CSimulation& world, const CFaults& faults);
    /// Why the recording has ended by itself, or lacks something; given once, and empty otherwise.
    std::string TakeProblem();
    /// Ends the file with its summary, once all has been written or the deadline has come.
    void Close(std::chrono::steady_clock::time_point deadline);

private:
    template <typename Write>
    void Add(std::size_t bytes, CRecordingThread::EWhen when, Write write);

    std::optional<CRecordingThread> m_thread;
    std::shared_ptr<CServiceRecording> m_recording; // used by the thread; null: nothing is recorded
    std::map<ClientNumber, std::uint16_t> m_links;
    std::set<std::uint16_t> m_freeLinks; // of clients that have gone
    std::uint16_t m_lastLink = 0;
    bool m_isDecoding = true;
    std::string m_problem;
};

#endif
