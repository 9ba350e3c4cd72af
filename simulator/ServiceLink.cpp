#include "simulator/ServiceLink.h"

#include <utility>

ServiceLinkC::ServiceLinkC(asio::io_context& loop, ServiceCoreC& core, LogSink log)
    : m_core(core), m_log(std::move(log)), m_server(loop, *this)
{
}

void ServiceLinkC::RequestReceived(ClientNumber client, std::uint64_t requestNumber,
                                   const std::string& name, const BListC& arguments)
{
    const Answer answer = m_core.Request(name, arguments);
    if (answer.error.empty())
        m_server.Reply(client, requestNumber, answer.value.get());
    else
        m_server.ReplyError(client, requestNumber, answer.error);
}

void ServiceLinkC::NotificationReceived(ClientNumber, const std::string& name,
                                        const BListC& arguments)
{
    m_core.Notify(name, arguments);
}

void ServiceLinkC::ClientConnected(ClientNumber client)
{
    m_log(ELogLevel::Debug, "client " + std::to_string(client) + " connected");
}

void ServiceLinkC::ClientDisconnected(ClientNumber client, const std::string& reason)
{
    m_log(ELogLevel::Debug, "client " + std::to_string(client) + " is gone: " + reason);
}
