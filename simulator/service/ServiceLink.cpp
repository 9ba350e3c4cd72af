#include "simulator/service/ServiceLink.h"

#include <new>
#include <utility>

#include "simulator/service/ServiceRecorder.h"

namespace {

const char* const kEngage = "EngageSteering";

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
      m_core(Publishing(std::move(options))), m_clock(m_server, m_work, m_core)
{
    m_work.OnDisengaged([this] { m_disengaged = m_server.Arrival() + 1; });
}

CServiceLink::~CServiceLink() = default;

ServiceCoreOptions CServiceLink::Publishing(ServiceCoreOptions options)
{
    // Who else takes events takes all of them.
    options.wanted = [this,
                      isAllWanted = static_cast<bool>(options.publish)](const std::string& event) {
        return isAllWanted || m_server.IsWanted(event);
    };
    options.publish = [this, also = std::move(options.publish)](const std::string& event,
                                                                const BListC& payload) {
        m_server.Push(event, payload);
        if (also) {
            also(event, payload);
        }
    };
    options.work = &m_work;
    if (options.stepped) {
        m_work.PrepareBeforePieces();
    }
    return options;
}

bool CServiceLink::Overtakes(const std::string& name)
{
    return name == CSteeringOperations::kDisengage;
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
    Serve(ECall::Request, client, requestNumber, name, arguments);
}

void CServiceLink::NotificationReceived(ClientNumber client, const std::string& name,
                                        const BListC& arguments)
{
    Serve(ECall::Notification, client, 0, name, arguments);
}

void CServiceLink::Serve(ECall kind, ClientNumber client, std::uint64_t requestNumber,
                         const std::string& name, const BListC& arguments)
try {
    const CWhileServing serving(m_served, client);
    Answer answer;
    if (IsOvertakenEngaging(name)) {
        answer.value = ToValue(false);
    } else if (!m_core.Try(kind, name, arguments, answer)) {
        Queue(kind, client, requestNumber, name);
        return;
    }
    if (kind == ECall::Request) {
        Reply(client, requestNumber, answer);
    }
} catch (const CStepsPending& pending) {
    m_clock.Advance(client, pending.Steps(), [this, kind, client, requestNumber] {
        if (kind == ECall::Request) {
            Reply(client, requestNumber, {ToValue(m_core.World().Time()), {}, nullptr});
        }
    });
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
    m_hasHadClients = true;
    if (m_connected) {
        m_connected();
    }
    if (m_recorder != nullptr) {
        m_recorder->ClientConnected(client);
    }
}

std::string CServiceLink::RecordTo(const std::string& path, const std::string& run)
{
    auto recorder = std::make_unique<CServiceRecorder>();
    const std::string wrong = recorder->Open(path, run);
    if (!wrong.empty()) {
        return wrong;
    }
    m_recorder = std::move(recorder);
    m_core.OnGuidance([this](const CSimulation& world) {
        m_recorder->Machine(world, m_core.Faults());
        const std::string problem = m_recorder->TakeProblem();
        if (!problem.empty()) {
            m_log.Write(ELogLevel::Warning, problem);
        }
    });
    return {};
}

void CServiceLink::EndRecording(std::chrono::steady_clock::time_point deadline)
{
    if (m_recorder != nullptr) {
        m_recorder->Close(deadline);
    }
}

void CServiceLink::BytesReceived(ClientNumber client, std::string_view bytes)
{
    if (m_recorder != nullptr) {
        m_recorder->Bytes(client, ELinkDirection::ToService, bytes);
    }
}

void CServiceLink::BytesSent(ClientNumber client, std::string_view bytes)
{
    if (m_recorder != nullptr) {
        m_recorder->Bytes(client, ELinkDirection::ToApplication, bytes);
    }
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
    m_clock.ClientGone(client);
    m_log.Write(ELogLevel::Debug, "client " + std::to_string(client) + " is gone: " + reason);
    if (m_recorder != nullptr) {
        m_recorder->ClientDisconnected(client, reason);
    }
}

void CServiceLink::HandlerFailed(ClientNumber client, const std::string& name,
                                 const std::string& reason)
{
    const CWhileServing serving(m_served, client);
    m_log.Write(ELogLevel::Warning, "notification of client " + std::to_string(client) +
                                        " failed: " + Printable(name) + ": " + reason);
}
