#ifndef KESTROVE_SIMULATOR_SERVICELINK_H
#define KESTROVE_SIMULATOR_SERVICELINK_H

#include <cstdint>
#include <string>

#include "runtime/MPISocketServer.h"
#include "simulator/Log.h"
#include "simulator/ServiceCore.h"

/// Carries messages between the service core and its clients.
/// Thread safety: none; used from the thread that runs the loop.
class ServiceLinkC : private MPIServiceHandlerC
{
public:
    /// Both must outlive this object.
    ServiceLinkC(asio::io_context& loop, ServiceCoreC& core, LogSink log);

    /// Starts to listen; see MPISocketServerC::Listen().
    std::string Listen(std::uint16_t port) { return m_server.Listen(port); }
    /// The port that is listened on.
    std::uint16_t Port() const { return m_server.Port(); }

private:
    void RequestReceived(ClientNumber client, std::uint64_t requestNumber, const std::string& name,
                         const BListC& arguments) override;
    void NotificationReceived(ClientNumber client, const std::string& name,
                              const BListC& arguments) override;
    void ClientConnected(ClientNumber client) override;
    void ClientDisconnected(ClientNumber client, const std::string& reason) override;

    ServiceCoreC& m_core;
    LogSink m_log;
    MPISocketServerC m_server;
};

#endif
