#include "simulator/ServiceLink.h"

#include <utility>

/// Names a client as the one that is served, until the end of a scope.
class ServiceLinkC::WhileServingC
{
public:
    WhileServingC(const ServedSink& served, ClientNumber client) : m_served(served)
    {
        Tell(client);
    }
    ~WhileServingC() { Tell(0); }
    WhileServingC(const WhileServingC&) = delete;
    WhileServingC& operator=(const WhileServingC&) = delete;

private:
    void Tell(ClientNumber client) const
    {
        if (m_served) {
            m_served(client);
        }
    }

    const ServedSink& m_served;
};

ServiceLinkC::ServiceLinkC(asio::io_context& loop, ServiceCoreOptions options, ServedSink served)
    : m_log(options.log), m_served(std::move(served)), m_server(loop, *this),
      m_core(Publishing(std::move(options)))
{
}

ServiceCoreOptions ServiceLinkC::Publishing(ServiceCoreOptions options)
{
    options.publish = [this, also = std::move(options.publish)](const std::string& event,
                                                                const BListC& payload) {
        m_server.Push(event, payload);
        if (also)
            also(event, payload);
    };
    return options;
}

void ServiceLinkC::RequestReceived(ClientNumber client, std::uint64_t requestNumber,
                                   const std::string& name, const BListC& arguments)
{
    const WhileServingC serving(m_served, client);
    const Answer answer = m_core.Request(name, arguments);
    if (answer.error.empty()) {
        m_server.Reply(client, requestNumber, answer.value.get());
    } else {
        m_server.ReplyError(client, requestNumber, answer.error);
    }
}

void ServiceLinkC::NotificationReceived(ClientNumber client, const std::string& name,
                                        const BListC& arguments)
{
    const WhileServingC serving(m_served, client);
    m_core.Notify(name, arguments);
}

void ServiceLinkC::Subscribed(ClientNumber client, const std::string& event)
{
    const WhileServingC serving(m_served, client);
    m_log.Write(ELogLevel::Debug,
                "client " + std::to_string(client) + " subscribed: " + Printable(event));
    m_core.TellPresentState(event, [this, client](const std::string& name, const BListC& payload) {
        m_server.PushTo(client, name, payload);
    });
}

void ServiceLinkC::ClientConnected(ClientNumber client)
{
    const WhileServingC serving(m_served, client);
    m_log.Write(ELogLevel::Debug, "client " + std::to_string(client) + " connected");
}

void ServiceLinkC::ClientDropped(ClientNumber client, const std::string& reason)
{
    const WhileServingC serving(m_served, client);
    m_log.Write(ELogLevel::Warning, "client " + std::to_string(client) + " is dropped: " + reason);
}

void ServiceLinkC::ConnectionsWait(const std::string& reason)
{
    m_log.Write(ELogLevel::Warning, "connections have to wait: " + reason);
}

void ServiceLinkC::ClientDisconnected(ClientNumber client, const std::string& reason)
{
    const WhileServingC serving(m_served, client);
    m_log.Write(ELogLevel::Debug, "client " + std::to_string(client) + " is gone: " + reason);
}

void ServiceLinkC::HandlerFailed(ClientNumber client, const std::string& name,
                                 const std::string& reason)
{
    const WhileServingC serving(m_served, client);
    m_log.Write(ELogLevel::Warning, "notification of client " + std::to_string(client) +
                                        " failed: " + Printable(name) + ": " + reason);
}
