#include "runtime/ServerState.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <new>
#include <set>
#include <utility>

#include <asio/error.hpp>
#include <asio/ip/address_v4.hpp>
#include <asio/ip/address_v6.hpp>
#include <asio/post.hpp>

namespace {

// The first element of a response.
constexpr int kResponse = 1;

// What one client may subscribe to, so that it cannot fill the memory with names.
constexpr std::size_t kLongestEventName = 256;
constexpr std::size_t kMostSubscriptions = 1024;

/// While so many connections wait for their turn, others are taken one at a time, with a pause.
constexpr std::size_t kMostTurns = 64;

const char* const kSlowClient = "too much is waiting for a client that does not read";

/// Does what an exception of the handler must not keep from going on. Empty when nothing is thrown.
template <typename Action>
std::string Problem(Action action)
{
    try {
        action();
        return std::string();
    } catch (const std::bad_alloc&) {
        return "there is not enough memory for it";
    } catch (const std::exception& exception) {
        const std::string text = exception.what();
        return text.empty() ? "failed without a reason" : text;
    } catch (...) {
        return "failed without a reason";
    }
}

bool IsLacking(const asio::error_code& error)
{
    return error == asio::error::address_family_not_supported ||
           error == asio::error_code(EADDRNOTAVAIL, asio::error::get_system_category());
}

/// True when a connection could be taken if there were one less.
bool IsWantOfRoom(const asio::error_code& error)
{
    const int value = error.value();
    return value == EMFILE || value == ENFILE || value == ENOBUFS || value == ENOMEM;
}

std::string ReasonOf(const asio::error_code& error, std::uint16_t port)
{
    const std::string name = "port " + std::to_string(port);
    if (error == asio::error::address_in_use) {
        return name + " is already in use";
    }
    return "cannot listen on " + name + ": " + error.message();
}

} // namespace

std::string MPISocketServerC::StateC::Listen(std::uint16_t port, EListenOn addresses)
{
    StopListening();
    std::string problem;
    if (addresses == EListenOn::Both) {
        problem = ListenOnBoth(port);
    } else {
        const bool isV4 = addresses == EListenOn::IPv4Only;
        const asio::error_code error = isV4 ? Open(asio::ip::address_v4::loopback(), port)
                                            : Open(asio::ip::address_v6::loopback(), port);
        problem = error ? ReasonOf(error, port) : std::string();
    }
    if (!problem.empty()) {
        StopListening();
    }
    return problem;
}

std::string MPISocketServerC::StateC::ListenOnBoth(std::uint16_t port)
{
    const asio::error_code errorV4 = Open(asio::ip::address_v4::loopback(), port);
    if (errorV4 && !IsLacking(errorV4)) {
        return ReasonOf(errorV4, port);
    }
    const std::uint16_t samePort = m_listeners.empty() ? port : Port();
    const asio::error_code errorV6 = Open(asio::ip::address_v6::loopback(), samePort);
    const bool isServed = !errorV6 || (IsLacking(errorV6) && !m_listeners.empty());
    return isServed ? std::string() : ReasonOf(errorV6, samePort);
}

asio::error_code MPISocketServerC::StateC::Open(const asio::ip::address& address,
                                                std::uint16_t port)
{
    const std::weak_ptr<StateC> self = weak_from_this();
    const auto listener = std::make_shared<ServerListenerC>(
        m_loop,
        [self](asio::ip::tcp::socket socket) {
            if (const std::shared_ptr<StateC> state = self.lock()) {
                state->Take(std::move(socket));
            }
        },
        [self](const asio::error_code& reason) {
            if (const std::shared_ptr<StateC> state = self.lock()) {
                state->CannotTake(reason);
            }
        },
        // Those that are there share the loop with each that is taken, and are read before they
        // give way to it.
        [self] {
            const std::shared_ptr<StateC> state = self.lock();
            const bool isScarce = state != nullptr &&
                                  (state->m_turns.size() >= kMostTurns || state->IsFullOfUnread());
            return isScarce ? ServerListenerC::ERoom::Scarce : ServerListenerC::ERoom::Free;
        });
    const asio::error_code error = listener->Open(address, port);
    if (!error) {
        m_listeners.push_back(listener);
    }
    return error;
}

std::uint16_t MPISocketServerC::StateC::Port() const
{
    return m_listeners.empty() ? std::uint16_t{0} : m_listeners.front()->Port();
}

void MPISocketServerC::StateC::StopListening()
{
    for (const std::shared_ptr<ServerListenerC>& listener : m_listeners) {
        listener->Close();
    }
    m_listeners.clear();
}

void MPISocketServerC::StateC::Take(asio::ip::tcp::socket socket)
{
    m_hasToldOfWaiting = false;
    if (m_clients.size() >= m_limits.connections) {
        DropLeastWorthy();
    }
    const ClientNumber number = ++m_lastNumber;
    const auto connection = std::make_shared<ServerConnectionC>(std::move(socket), number,
                                                                shared_from_this(), m_disposer);
    connection->SetNextEvent(m_toldEvents + m_events.size());
    m_clients.emplace(number, connection);
    if (m_isPaused) {
        connection->ServeUpTo(0);
    }
    Tell(number, "connecting",
         [number](MPIServiceHandlerC& handler) { handler.ClientConnected(number); });
    connection->Start();
}

void MPISocketServerC::StateC::Detach()
{
    m_handler = nullptr;
    m_disposer->End();
    m_firstTurns.clear();
    m_turns.clear();
    m_senders.clear();
    m_pause.cancel();
    m_watch.cancel();
    m_patience.cancel();
    m_settled = nullptr;
}

void MPISocketServerC::StateC::CannotTake(const asio::error_code& reason)
{
    if (!m_clients.empty() && IsWantOfRoom(reason)) {
        DropLeastWorthy();
    } else if (!m_hasToldOfWaiting) {
        m_hasToldOfWaiting = true;
        Tell(0, "waiting",
             [&reason](MPIServiceHandlerC& handler) { handler.ConnectionsWait(reason.message()); });
    }
}

void MPISocketServerC::StateC::MessageArrived(ServerConnectionC& connection,
                                              const MessageC& message)
{
    m_served = message.arrival;
    const bool isSubscription =
        message.kind == MessageC::EKind::Notification && message.method == "subscribe";
    if (message.kind == MessageC::EKind::Response) {
        MessageRejected(connection, "a response, but nothing was asked");
    } else if (isSubscription) {
        Subscribe(connection, *message.arguments);
    } else {
        Serve(connection.Number(), message);
    }
    m_served = 0;
}

bool MPISocketServerC::StateC::Overtakes(const MessageC& message)
{
    return message.kind != MessageC::EKind::Response && m_handler != nullptr &&
           m_handler->Overtakes(message.method);
}

std::unique_ptr<BListC> MPISocketServerC::StateC::Hold(ClientNumber client)
{
    const auto found = m_clients.find(client);
    return found != m_clients.end() ? found->second->Hold() : nullptr;
}

void MPISocketServerC::StateC::Release(ClientNumber client)
{
    const auto found = m_clients.find(client);
    if (found != m_clients.end()) {
        found->second->Release();
    }
}

void MPISocketServerC::StateC::Serve(ClientNumber client, const MessageC& message)
{
    if (message.kind == MessageC::EKind::Notification) {
        Tell(client, message.method, [&](MPIServiceHandlerC& handler) {
            handler.NotificationReceived(client, message.method, *message.arguments);
        });
        return;
    }
    const std::string problem = Problem([&] {
        if (m_handler != nullptr) {
            m_handler->RequestReceived(client, message.id, message.method, *message.arguments);
        }
    });
    if (!problem.empty()) {
        StartReply(message.id).WriteString(problem.data(), problem.size());
        m_encoder.WriteNothing();
        SendTo(client);
    }
}

void MPISocketServerC::StateC::Subscribe(ServerConnectionC& connection, const BListC& arguments)
{
    const ClientNumber client = connection.Number();
    const std::string& event = arguments.GetString(0);
    TellEvents(connection); // those before it are not for it
    const bool isName = arguments.Size() == 1 && arguments.TypeAt(0) == EBElementType::String &&
                        event.size() <= kLongestEventName;
    Tell(client, "subscribe", [&](MPIServiceHandlerC& handler) {
        const std::set<std::string>& subscriptions = connection.Subscriptions();
        if (!isName) {
            handler.HandlerFailed(client, "subscribe", "wants the name of one event");
        } else if (subscriptions.size() >= kMostSubscriptions) {
            Drop(connection, "subscribed to too many events", false);
        } else if (subscriptions.count(event) == 0) {
            ++m_wanted[event];
            connection.Subscribe(event); // which may end the connection
            handler.Subscribed(client, event);
        }
    });
}

/// Calls the handler for something that nobody waits for an answer to.
template <typename Action>
void MPISocketServerC::StateC::Tell(ClientNumber client, const std::string& name, Action action)
{
    if (m_handler == nullptr) {
        return;
    }
    const std::string problem = Problem([&] { action(*m_handler); });
    if (!problem.empty() && m_handler != nullptr) {
        m_handler->HandlerFailed(client, name, problem);
    }
}

void MPISocketServerC::StateC::MessageRejected(ServerConnectionC& connection,
                                               const std::string& problem)
{
    ++m_rejected;
    Drop(connection, "no message: " + problem, false);
}

void MPISocketServerC::StateC::ConnectionLost(ServerConnectionC& connection,
                                              const std::string& reason)
{
    End(connection, reason, false);
}

/// Ends the connection of a client that does what it must not.
void MPISocketServerC::StateC::Drop(ServerConnectionC& connection, const std::string& reason,
                                    bool withReset)
{
    const ClientNumber client = connection.Number();
    if (m_clients.count(client) != 0) {
        asio::post(m_loop, [self = shared_from_this(), client, reason] {
            self->Tell(client, "dropping",
                       [&](MPIServiceHandlerC& handler) { handler.ClientDropped(client, reason); });
        });
    }
    End(connection, reason, withReset);
}

/// Ends a connection at once. The handler hears of it in a turn of its own, never inside a call
/// that it makes itself.
void MPISocketServerC::StateC::End(ServerConnectionC& connection, const std::string& reason,
                                   bool withReset)
{
    const ClientNumber client = connection.Number();
    connection.Close(withReset);
    if (m_clients.erase(client) == 0) {
        return;
    }
    ForgetWishes(connection);
    CatchUpLater();
    asio::post(m_loop, [self = shared_from_this(), client, reason] {
        self->Tell(client, "disconnecting", [&](MPIServiceHandlerC& handler) {
            handler.ClientDisconnected(client, reason);
        });
    });
}

void MPISocketServerC::StateC::Disconnect(ClientNumber client, const std::string& reason,
                                          bool withReset)
{
    const auto found = m_clients.find(client);
    if (found != m_clients.end()) {
        const std::shared_ptr<ServerConnectionC> connection = found->second;
        TellEvents(*connection);
        End(*connection, reason, withReset);
    }
}

void MPISocketServerC::StateC::DisconnectAll(const std::string& reason, bool withReset)
{
    while (!m_clients.empty()) {
        Disconnect(m_clients.begin()->first, reason, withReset);
    }
}

void MPISocketServerC::StateC::KeepIf(bool isQueued, ServerConnectionC& connection)
{
    if (!isQueued) {
        Drop(connection, kSlowClient, true);
    }
}

void MPISocketServerC::StateC::SendTo(ClientNumber client, const char* bytes, std::size_t count)
{
    SendTo(client, [&](ServerConnectionC& connection) { return connection.Queue(bytes, count); });
}

void MPISocketServerC::StateC::SendTo(ClientNumber client, std::shared_ptr<const std::string> text)
{
    SendTo(client,
           [&](ServerConnectionC& connection) { return connection.Queue(std::move(text)); });
}

void MPISocketServerC::StateC::SendTo(ClientNumber client,
                                      const std::function<bool(ServerConnectionC&)>& queue)
{
    const auto found = m_clients.find(client);
    if (found == m_clients.end()) {
        return;
    }
    const std::shared_ptr<ServerConnectionC> connection = found->second;
    TellEvents(*connection); // what happened before comes before
    KeepIf(queue(*connection), *connection);
}

BEncoderC& MPISocketServerC::StateC::StartReply(std::uint64_t requestNumber)
{
    m_encoder.Clear();
    m_encoder.WriteListHeader(4);
    m_encoder.WriteInteger(kResponse);
    m_encoder.WriteUnsigned(requestNumber);
    return m_encoder;
}
