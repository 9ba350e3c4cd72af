#ifndef KESTROVE_SIMULATOR_SERVICERECORDER_H
#define KESTROVE_SIMULATOR_SERVICERECORDER_H

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "recording/LinkRecording.h"
#include "runtime/MPISocketServer.h"
#include "simulator/LineWriter.h"
#include "simulator/world/Simulation.h"

/// Records the links of all clients, and beside them the true state of the machine: as
/// "/machine/true_state" in numbers, and as "/machine/true_pose" for viewers.
///
/// A slow disk holds up nobody: records wait for it, up to 64 MiB. When there would be more, or
/// one cannot be written, the recording ends. A client is recorded from its connection on; those
/// beyond 16 000 at once are not. Thread safety: none.
class ServiceRecorderC : private CMcapSink
{
public:
    /// Begins a file, which must not be there yet; for its user alone.
    ///
    /// @return an empty text on success, otherwise why it cannot be written.
    std::string Open(const std::string& path);

    void ClientConnected(ClientNumber client);
    void ClientDisconnected(ClientNumber client, const std::string& reason);
    void Bytes(ClientNumber client, ELinkDirection direction, std::string_view bytes);
    /// Guidance has run.
    void Machine(const CSimulation& world);
    /// Why the recording has ended by itself; told once, and empty otherwise.
    std::string TakeProblem();
    /// Ends the file with its summary, once all has been written or the deadline has come.
    void Close(std::chrono::steady_clock::time_point deadline);

private:
    bool Write(std::string_view head, std::string_view data) override;
    void Stop();

    std::optional<CLineWriter> m_writer;
    std::unique_ptr<CLinkRecording> m_recording; // null: nothing is recorded
    std::map<ClientNumber, std::uint16_t> m_links;
    std::set<std::uint16_t> m_freeLinks; // of clients that have gone
    std::uint16_t m_lastLink = 0;
    std::uint32_t m_states = 0;
    std::string m_problem;
};

#endif
