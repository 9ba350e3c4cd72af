#include "simulator/ServiceLink.h"

#include <utility>

namespace {

const char* const kEngage = "EngageSteering";

} // namespace

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

ServiceLinkC::ServiceLinkC(asio::io_context& loop, ServiceCoreOptions options, ServedSink served,
                           const MPIServerLimitsC& limits)
    : m_log(options.log), m_served(std::move(served)), m_server(loop, *this, limits), m_work(loop),
      m_core(Publishing(std::move(options))), m_clock(m_server, m_work, m_core)
{
    m_work.OnDisengaged([this] { m_disengaged = m_server.Arrival() + 1; });
}

ServiceCoreOptions ServiceLinkC::Publishing(ServiceCoreOptions options)
{
    // Who else takes events takes all of them.
    options.wanted = [this,
                      isAllWanted = static_cast<bool>(options.publish)](const std::string& event) {
        return isAllWanted || m_server.IsWanted(event);
    };
    options.publish = [this, also = std::move(options.publish)](const std::string& event,
                                                                const BListC& payload) {
        m_server.Push(event, payload);
        if (also)
            also(event, payload);
    };
    options.work = &m_work;
    if (options.stepped)
        m_work.PrepareBeforePieces();
    return options;
}

bool ServiceLinkC::Overtakes(const std::string& name)
{
    return name == SteeringOperationsC::kDisengage;
}

/// An EngageSteering that waited while steering was ended by hand, and so must not bring it back.
bool ServiceLinkC::IsOvertakenEngaging(const std::string& name)
{
    return name == kEngage && IsBeforeDisengaging() &&
           !m_log.Carried(kEngage, COutcome::Overtaken("steering was ended by hand after it"));
}

void ServiceLinkC::RequestReceived(ClientNumber client, std::uint64_t requestNumber,
                                   const std::string& name, const BListC& arguments)
{
    Serve(ECall::Request, client, requestNumber, name, arguments);
}

void ServiceLinkC::NotificationReceived(ClientNumber client, const std::string& name,
                                        const BListC& arguments)
{
    Serve(ECall::Notification, client, 0, name, arguments);
}

void ServiceLinkC::Serve(ECall kind, ClientNumber client, std::uint64_t requestNumber,
                         const std::string& name, const BListC& arguments)
try {
    const WhileServingC serving(m_served, client);
    Answer answer;
    if (IsOvertakenEngaging(name)) {
        answer.value = ToValue(false);
    } else if (!m_core.Try(kind, name, arguments, answer)) {
        Queue(kind, client, requestNumber, name);
        return;
    }
    if (kind == ECall::Request)
        Reply(client, requestNumber, answer);
} catch (const CStepsPending& pending) {
    m_clock.Advance(client, pending.Steps(), [this, kind, client, requestNumber] {
        if (kind == ECall::Request)
            Reply(client, requestNumber, {ToValue(m_core.World().Time()), {}, nullptr});
    });
}

void ServiceLinkC::Queue(ECall kind, ClientNumber client, std::uint64_t requestNumber,
                         const std::string& name)
{
    std::unique_ptr<BListC> arguments = m_server.Hold(client);
    if (!arguments)
        return;
    m_held[client] = m_core.Queue(
        kind, name, std::move(arguments),
        [this, kind, client, requestNumber](const Answer& answer) {
            m_held.erase(client);
            if (kind == ECall::Request)
                Reply(client, requestNumber, answer);
            m_server.Release(client);
        },
        [this, client] { return std::make_shared<WhileServingC>(m_served, client); });
    if (IsBeforeDisengaging())
        m_work.EndAsDisengaged(m_held[client]);
}

void ServiceLinkC::Reply(ClientNumber client, std::uint64_t requestNumber, const Answer& answer)
{
    if (!answer.error.empty()) {
        m_server.ReplyError(client, requestNumber, answer.error);
    } else if (answer.bytes) {
        m_server.ReplyWritten(client, requestNumber, answer.bytes);
    } else {
        m_server.Reply(client, requestNumber, answer.value.get());
    }
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
    const auto held = m_held.find(client);
    if (held != m_held.end()) {
        m_work.Forget(held->second);
        m_held.erase(held);
    }
    m_clock.ClientGone(client);
    m_log.Write(ELogLevel::Debug, "client " + std::to_string(client) + " is gone: " + reason);
}

void ServiceLinkC::HandlerFailed(ClientNumber client, const std::string& name,
                                 const std::string& reason)
{
    const WhileServingC serving(m_served, client);
    m_log.Write(ELogLevel::Warning, "notification of client " + std::to_string(client) +
                                        " failed: " + Printable(name) + ": " + reason);
}
