#include "simulator/service/ServiceLink.h"

#include <new>
#include <utility>

namespace {

const char* const kEngage = "EngageSteering";
const char* const kDisengage = "DisengageSteering";

} // namespace

/// Names a client as the one that is served, until the end of a scope.
class CServiceLink::CWhileServing
{
public:
    CWhileServing(const ServedSink& served, ClientNumber client) : m_served(served)
    {
        Tell(client);
    }
    ~CWhileServing() { Tell(0); }
    CWhileServing(const CWhileServing&) = delete;
    CWhileServing& operator=(const CWhileServing&) = delete;

private:
    void Tell(ClientNumber client) const
    {
        if (m_served) {
            m_served(client);
        }
    }

    const ServedSink& m_served;
};

CServiceLink::CServiceLink(asio::io_context& loop, ServiceCoreOptions options, ServedSink served,
                           const MPIServerLimitsC& limits)
    : m_log(options.log), m_served(std::move(served)), m_server(loop, *this, limits), m_work(loop),
      m_core(Publishing(std::move(options)))
{
    m_work.OnDisengaged([this] { m_disengaged = m_server.Arrival() + 1; });
}

ServiceCoreOptions CServiceLink::Publishing(ServiceCoreOptions options)
{
    options.publish = [this, also = std::move(options.publish)](const std::string& event,
                                                                const BListC& payload) {
        m_server.Push(event, payload);
        if (also) {
            also(event, payload);
        }
    };
    options.work = &m_work;
    return options;
}

bool CServiceLink::Overtakes(const std::string& name)
{
    return name == kDisengage;
}

/// An EngageSteering that waited while steering was ended by hand, and so must not bring it back.
bool CServiceLink::IsOvertakenEngaging(const std::string& name)
{
    return name == kEngage && IsBeforeDisengaging() &&
           !m_log.Carried(kEngage, COutcome::Overtaken("steering was ended by hand after it"));
}

void CServiceLink::RequestReceived(ClientNumber client, std::uint64_t requestNumber,
                                   const std::string& name, const BListC& arguments)
{
    const CWhileServing serving(m_served, client);
    Answer answer;
    if (IsOvertakenEngaging(name)) {
        answer.value = ToValue(false);
    } else if (!m_core.Try(ECall::Request, name, arguments, answer)) {
        Queue(ECall::Request, client, requestNumber, name);
        return;
    }
    Reply(client, requestNumber, answer);
}

void CServiceLink::NotificationReceived(ClientNumber client, const std::string& name,
                                        const BListC& arguments)
{
    const CWhileServing serving(m_served, client);
    Answer answer;
    if (!IsOvertakenEngaging(name) && !m_core.Try(ECall::Notification, name, arguments, answer)) {
        Queue(ECall::Notification, client, 0, name);
    }
}

void CServiceLink::Queue(ECall kind, ClientNumber client, std::uint64_t requestNumber,
                         const std::string& name)
{
    std::unique_ptr<BListC> arguments = m_server.Hold(client);
    if (!arguments) {
        return;
    }
    m_held[client] = m_core.Queue(
        kind, name, std::move(arguments),
        [this, kind, client, requestNumber](const Answer& answer) {
            m_held.erase(client);
            if (kind == ECall::Request) {
                Reply(client, requestNumber, answer);
            }
            m_server.Release(client);
        },
        [this, client] { return std::make_shared<CWhileServing>(m_served, client); });
    if (IsBeforeDisengaging()) {
        m_work.EndAsDisengaged(m_held[client]);
    }
}

/// Where there is no memory for it, that costs the client that has asked.
void CServiceLink::Reply(ClientNumber client, std::uint64_t requestNumber, const Answer& answer)
try {
    if (!answer.error.empty()) {
        m_server.ReplyError(client, requestNumber, answer.error);
    } else if (answer.bytes) {
        m_server.ReplyWritten(client, requestNumber, answer.bytes);
    } else {
        m_server.Reply(client, requestNumber, answer.value.get());
    }
} catch (const std::bad_alloc&) {
    m_server.Disconnect(client, "there is no memory for its reply", true);
}

void CServiceLink::Subscribed(ClientNumber client, const std::string& event)
{
    const CWhileServing serving(m_served, client);
    m_log.Write(ELogLevel::Debug,
                "client " + std::to_string(client) + " subscribed: " + Printable(event));
    m_core.TellPresentState(event, [this, client](const std::string& name, const BListC& payload) {
        m_server.PushTo(client, name, payload);
    });
}

void CServiceLink::ClientConnected(ClientNumber client)
{
    const CWhileServing serving(m_served, client);
    m_log.Write(ELogLevel::Debug, "client " + std::to_string(client) + " connected");
}

void CServiceLink::ClientDropped(ClientNumber client, const std::string& reason)
{
    const CWhileServing serving(m_served, client);
    m_log.Write(ELogLevel::Warning, "client " + std::to_string(client) + " is dropped: " + reason);
}

void CServiceLink::ConnectionsWait(const std::string& reason)
{
    m_log.Write(ELogLevel::Warning, "connections have to wait: " + reason);
}

void CServiceLink::ClientDisconnected(ClientNumber client, const std::string& reason)
{
    const CWhileServing serving(m_served, client);
    const auto held = m_held.find(client);
    if (held != m_held.end()) {
        m_work.Forget(held->second);
        m_held.erase(held);
    }
    m_log.Write(ELogLevel::Debug, "client " + std::to_string(client) + " is gone: " + reason);
}

void CServiceLink::HandlerFailed(ClientNumber client, const std::string& name,
                                 const std::string& reason)
{
    const CWhileServing serving(m_served, client);
    m_log.Write(ELogLevel::Warning, "notification of client " + std::to_string(client) +
                                        " failed: " + Printable(name) + ": " + reason);
}
