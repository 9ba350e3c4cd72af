#ifndef KESTROVE_SIMULATOR_SERVICE_SERVICELINK_H
#define KESTROVE_SIMULATOR_SERVICE_SERVICELINK_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "runtime/MPISocketServer.h"
#include "simulator/aside/WorkQueue.h"
#include "simulator/output/ServiceLog.h"
#include "simulator/service/ServiceCore.h"
#include "simulator/service/SteppedClock.h"

class CServiceRecorder;

/// The navigation service on the link: a service core and the server that carries messages between
/// it and its clients.
///
/// A request that takes long is held, and with it what its client sends behind it; the others are
/// served meanwhile. DisengageSteering overtakes all of that. What came before it and has not
/// taken effect is without effect then, if it is an EngageSteering or a change of the line that
/// takes long, whoever sent it. While time is moved on by request, what all clients send is held
/// (CSteppedClock). Thread safety: none; used from the thread that runs the loop.
class CServiceLink : private MPIServiceHandlerC
{
public:
    /// Called with whose message is about to be carried out, and with 0 when it has been.
    using ServedSink = std::function<void(ClientNumber)>;

    /// @param loop must outlive this object.
    /// @param options what the core is made with; its events go to the subscribers too.
    /// @param served may be empty.
    /// @param limits of what the clients may have it hold.
    CServiceLink(asio::io_context& loop, ServiceCoreOptions options, ServedSink served = {},
                 const MPIServerLimitsC& limits = {});
    ~CServiceLink() override;

    /// Starts to listen; see MPISocketServerC::Listen().
    std::string Listen(std::uint16_t port) { return m_server.Listen(port); }
    /// The port that is listened on.
    std::uint16_t Port() const { return m_server.Port(); }
    /// How many bytes its connections hold of what is unfinished or waits.
    std::size_t HeldBytes() const { return m_server.HeldBytes(); }
    /// Closes the connection that holds most of them, where that is much.
    void GiveUpGreediest() { m_server.GiveUpGreediest(); }
    CServiceCore& Core() { return m_core; }
    /// Whether any client has ever connected.
    bool HasHadClients() const { return m_hasHadClients; }
    /// Has something done when a client connects, before anything that it sends is served.
    void OnClient(std::function<void()> connected) { m_connected = std::move(connected); }
    /// Records what goes over the link and how the machine really drives; see
    /// CServiceRecorder::Open().
    std::string RecordTo(const std::string& path, const std::string& run = "");
    /// Ends the recording; see CServiceRecorder::Close().
    void EndRecording(std::chrono::steady_clock::time_point deadline);
    /// Whether clients have sent something that has not been read, or wait to be taken.
    bool HasUnread() const { return m_server.HasUnread(); }
    /// Whether time is being moved on.
    bool IsAdvancing() const { return m_clock.IsAdvancing(); }
    /// Moves time on as for a client that asks for it; not while that is being done.
    void Advance(int steps, std::function<void()> done)
    {
        m_clock.Advance(0, steps, std::move(done));
    }

private:
    void RequestReceived(ClientNumber client, std::uint64_t requestNumber, const std::string& name,
                         const BListC& arguments) override;
    void NotificationReceived(ClientNumber client, const std::string& name,
                              const BListC& arguments) override;
    void Subscribed(ClientNumber client, const std::string& event) override;
    void ClientConnected(ClientNumber client) override;
    void ClientDropped(ClientNumber client, const std::string& reason) override;
    void ConnectionsWait(const std::string& reason) override;
    void BytesReceived(ClientNumber client, std::string_view bytes) override;
    void BytesSent(ClientNumber client, std::string_view bytes) override;
    void ClientDisconnected(ClientNumber client, const std::string& reason) override;
    void HandlerFailed(ClientNumber client, const std::string& name,
                       const std::string& reason) override;

    bool Overtakes(const std::string& name) override;
    class CWhileServing;

    void Serve(ECall kind, ClientNumber client, std::uint64_t requestNumber,
               const std::string& name, const BListC& arguments);
    ServiceCoreOptions Publishing(ServiceCoreOptions options);
    void Queue(ECall kind, ClientNumber client, std::uint64_t requestNumber,
               const std::string& name);
    void Reply(ClientNumber client, std::uint64_t requestNumber, const Answer& answer);
    bool IsBeforeDisengaging() const { return m_server.Arrival() < m_disengaged; }
    bool IsOvertakenEngaging(const std::string& name);

    CServiceLog m_log;
    ServedSink m_served;
    std::function<void()> m_connected; // may be empty
    bool m_hasHadClients = false;
    std::unique_ptr<CServiceRecorder> m_recorder; // null: nothing is recorded
    MPISocketServerC m_server;
    CWorkQueue m_work;
    CServiceCore m_core;
    CSteppedClock m_clock;
    std::map<ClientNumber, CWorkQueue::Ticket> m_held; ///< whose requests are at their work
    /// The arrival after that of what last ended steering by hand, or of the last message before
    /// that, if it came from elsewhere.
    std::uint64_t m_disengaged = 0;
};

#endif
