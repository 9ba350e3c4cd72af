#include "testing/ScriptedServiceState.h"

#include <algorithm>
#include <stdexcept>

#include <asio/steady_timer.hpp>

#include "testing/EventForm.h"

namespace Kestrove::Testing {
namespace {

EListenOn ForServer(EListen addresses)
{
    switch (addresses) {
    case EListen::IPv4Only:
        return EListenOn::IPv4Only;
    case EListen::IPv6Only:
        return EListenOn::IPv6Only;
    default:
        return EListenOn::Both;
    }
}

} // namespace

void CScriptedService::CState::Listen(EListen addresses)
{
    const std::string problem = OnLoop([&] {
        m_server.StopListening();
        return addresses == EListen::Not ? std::string()
                                         : m_server.Listen(kPort, ForServer(addresses));
    });
    if (!problem.empty()) {
        throw std::runtime_error(problem);
    }
}

void CScriptedService::CState::Record(CReceived received)
{
    Locked([&] {
        const bool isSubscription = received.kind == CReceived::EKind::Subscription;
        ++(isSubscription ? m_subscriptionCounts : m_callCounts)[received.name];
        m_received.push_back(std::move(received));
    });
    m_changed.notify_all();
}

std::size_t CScriptedService::CState::Count(const Counts& counts, const std::string& name)
{
    const auto found = counts.find(name);
    return found == counts.end() ? 0 : found->second;
}

void CScriptedService::CState::ForgetReceived()
{
    m_received.clear();
    m_callCounts.clear();
    m_subscriptionCounts.clear();
}

CAnswer CScriptedService::CState::RecordCall(CReceived::EKind kind, ClientNumber client,
                                             const std::string& name, const BListC& arguments)
{
    Record({kind, name, Copy(arguments), client});
    return Locked([&] { return m_script.Take(name, Describe(arguments)); });
}

void CScriptedService::CState::RequestReceived(ClientNumber client, std::uint64_t requestNumber,
                                               const std::string& name, const BListC& arguments)
{
    const CAnswer answer = RecordCall(CReceived::EKind::Request, client, name, arguments);
    const CPending pending{client, requestNumber, answer};
    if (answer.IsHeld()) {
        m_held.push_back(pending);
    } else if (answer.DelayMilliseconds() > 0) {
        GiveLater(pending);
    } else {
        Give(pending);
    }
}

void CScriptedService::CState::NotificationReceived(ClientNumber client, const std::string& name,
                                                    const BListC& arguments)
{
    const CAnswer answer = RecordCall(CReceived::EKind::Notification, client, name, arguments);
    const bool dropsLink =
        answer.Kind() == CAnswer::EKind::Drop || answer.Kind() == CAnswer::EKind::Reset;
    if (dropsLink) {
        Give({client, 0, answer});
    }
}

void CScriptedService::CState::Subscribed(ClientNumber client, const std::string& event)
{
    m_subscribers[event].insert(client);
    Record({CReceived::EKind::Subscription, event, std::make_unique<BListC>(nullptr), client});
}

void CScriptedService::CState::ClientConnected(ClientNumber client)
{
    const bool closes = Locked([&] {
        ++m_acceptedCount;
        m_clients.push_back(client);
        return m_closesAtAccept;
    });
    m_changed.notify_all();
    if (closes) {
        m_server.Disconnect(client, "closed at accept");
    }
}

void CScriptedService::CState::ClientDisconnected(ClientNumber client, const std::string&)
{
    for (auto& [event, clients] : m_subscribers) {
        clients.erase(client);
    }
    Locked([&] {
        m_clients.erase(std::remove(m_clients.begin(), m_clients.end(), client), m_clients.end());
    });
    m_changed.notify_all();
}

void CScriptedService::CState::GiveLater(const CPending& pending)
{
    const auto timer = std::make_shared<asio::steady_timer>(
        m_loop, std::chrono::milliseconds(pending.answer.DelayMilliseconds()));
    timer->async_wait([this, timer, pending](const asio::error_code& error) {
        if (!error) {
            Give(pending);
        }
    });
}

void CScriptedService::CState::Give(const CPending& pending)
{
    const ClientNumber client = pending.client;
    const CAnswer& answer = pending.answer;
    switch (answer.Kind()) {
    case CAnswer::EKind::Value:
        m_server.Reply(client, pending.requestNumber, answer.Value().ToElement().get());
        break;
    case CAnswer::EKind::Error:
        m_server.ReplyError(client, pending.requestNumber, answer.ErrorText());
        break;
    case CAnswer::EKind::Silence:
        break;
    case CAnswer::EKind::Drop:
        m_server.Disconnect(client, "dropped by the script");
        break;
    case CAnswer::EKind::Reset:
        m_server.Disconnect(client, "reset by the script", true);
        break;
    }
}

void CScriptedService::CState::Push(const std::string& event, const BListC& payload)
{
    const auto found = m_subscribers.find(event);
    const std::size_t subscribers = found == m_subscribers.end() ? 0 : found->second.size();
    const std::string problem = ProblemOfPush(event, payload, subscribers);
    Locked([&] { m_script.Note(problem); });
    m_server.Push(event, payload);
}

void CScriptedService::CState::ReleaseHeld()
{
    std::vector<CPending> held;
    held.swap(m_held);
    for (const CPending& pending : held) {
        Give(pending);
    }
}

} // namespace Kestrove::Testing
