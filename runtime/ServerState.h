#ifndef KESTROVE_RUNTIME_SERVERSTATE_H
#define KESTROVE_RUNTIME_SERVERSTATE_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/ip/address.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include "platform/BEncoder.h"
#include "runtime/GradualDisposer.h"
#include "runtime/MPISocketServer.h"
#include "runtime/ServerConnection.h"
#include "runtime/ServerListener.h"

/// The listeners and the clients of a service. Outlives its owner while an operation is under way;
/// the handler is not called any more then.
class MPISocketServerC::StateC final : public ServerConnectionOwnerC,
                                       public std::enable_shared_from_this<StateC>
{
public:
    StateC(asio::io_context& loop, MPIServiceHandlerC& handler, const MPIServerLimitsC& limits)
        : m_loop(loop), m_handler(&handler), m_limits(limits),
          m_disposer(std::make_shared<GradualDisposerC>(loop)), m_pause(loop), m_watch(loop),
          m_patience(loop)
    {
    }

    std::string Listen(std::uint16_t port, EListenOn addresses);
    std::uint16_t Port() const;
    void StopListening();
    void Disconnect(ClientNumber client, const std::string& reason, bool withReset);
    void DisconnectAll(const std::string& reason, bool withReset);
    std::unique_ptr<BListC> Hold(ClientNumber client);
    void Release(ClientNumber client);
    void Pause();
    void Resume();
    void Settle(std::function<void()> then);
    void Detach();

    /// Queues an event that has been encoded for all who have subscribed to it.
    void Push(const std::string& event);
    void SendTo(ClientNumber client, const char* bytes, std::size_t count);
    void SendTo(ClientNumber client, std::shared_ptr<const std::string> text);
    void SendTo(ClientNumber client) { SendTo(client, m_encoder.Data(), m_encoder.Size()); }
    BEncoderC& StartReply(std::uint64_t requestNumber);
    bool EncodeEvent(const std::string& event, const BListC& payload);

    std::uint64_t Arrival() const { return m_served != 0 ? m_served : m_arrivals; }
    std::size_t ClientCount() const { return m_clients.size(); }
    void GiveUpGreediest();
    unsigned long RejectedMessages() const { return m_rejected; }
    std::size_t HeldBytes() const { return m_held; }
    bool HasUnread() const;
    bool IsWanted(const std::string& event) const { return m_wanted.count(event) != 0; }

private:
    struct Event
    {
        std::string name;
        std::string bytes;
    };

    asio::error_code Open(const asio::ip::address& address, std::uint16_t port);
    std::string ListenOnBoth(std::uint16_t port);
    void Take(asio::ip::tcp::socket socket);
    void MessageArrived(ServerConnectionC& connection, const MessageC& message) override;
    std::uint64_t NextArrival() override { return ++m_arrivals; }
    bool Overtakes(const MessageC& message) override;
    void MessageRejected(ServerConnectionC& connection, const std::string& problem) override;
    void ConnectionLost(ServerConnectionC& connection, const std::string& reason) override;
    void FirstTurnWanted(ServerConnectionC& connection) override;
    void TurnWanted(ServerConnectionC& connection) override;
    void SendingWanted(ServerConnectionC& connection) override;
    void ProgressAwaited(ServerConnectionC& connection) override;
    void AllSent() override { LookWhetherSettled(); }
    void HeldChanged(std::size_t before, std::size_t now) override;
    void BytesRead(ServerConnectionC& connection, std::string_view bytes) override
    {
        if (m_handler != nullptr) {
            m_handler->BytesReceived(connection.Number(), bytes);
        }
    }
    void BytesWritten(ServerConnectionC& connection, std::string_view bytes) override
    {
        if (m_handler != nullptr) {
            m_handler->BytesSent(connection.Number(), bytes);
        }
    }
    void CatchUp();
    bool IsCatchingUp(const ServerConnectionC& connection) const;
    bool IsAnyWaiting(std::uint64_t arrival) const;
    void CatchUpLater();
    void ForgetWishes(const ServerConnectionC& connection);
    void LookWhetherSettled();
    void LookLaterWhetherSettled();
    void WaitForTakers();
    void DropWhoTakeNothing();
    void PostFirstTurns();
    void GiveFirstTurns();
    void PostTurn();
    void DropClosedTurns();
    void GiveTurn();
    void KeepIf(bool isQueued, ServerConnectionC& connection);
    void SendTo(ClientNumber client, const std::function<bool(ServerConnectionC&)>& queue);
    void StartTelling();
    void PostTelling();
    void TellForATurn();
    void TellEvents(ServerConnectionC& connection);
    void PostSending();
    void SendForATurn();
    void Watch(std::chrono::steady_clock::duration time);
    void EndStuck();
    void DropStuck(ServerConnectionC& connection);
    std::shared_ptr<ServerConnectionC> Greediest() const;
    void DropGreediest();
    bool IsFullOfUnread() const;
    std::shared_ptr<ServerConnectionC> LeastWorthy() const;
    void DropLeastWorthy();
    void Serve(ClientNumber client, const MessageC& message);
    void Subscribe(ServerConnectionC& connection, const BListC& arguments);
    void CannotTake(const asio::error_code& reason);
    void Drop(ServerConnectionC& connection, const std::string& reason, bool withReset);
    void End(ServerConnectionC& connection, const std::string& reason, bool withReset);
    template <typename Action>
    void Tell(ClientNumber client, const std::string& name, Action action);

    asio::io_context& m_loop;
    MPIServiceHandlerC* m_handler;
    const MPIServerLimitsC m_limits;
    const std::shared_ptr<GradualDisposerC> m_disposer;
    std::vector<std::shared_ptr<ServerListenerC>> m_listeners;
    std::map<ClientNumber, std::shared_ptr<ServerConnectionC>> m_clients;
    std::deque<std::shared_ptr<ServerConnectionC>> m_firstTurns; // who has something to say
    std::deque<std::shared_ptr<ServerConnectionC>> m_turns;      // who waits for one
    std::deque<std::shared_ptr<ServerConnectionC>> m_senders;    // who has something to send
    asio::steady_timer m_pause;                                  // of all turns
    asio::steady_timer m_watch;                                  // over unfinished messages
    bool m_hasYielded = false;                                   // the turn to the first turns
    bool m_isWatching = false;
    bool m_hasToldOfWaiting = false; // of connections that cannot be taken
    std::deque<Event> m_events;      // that some have not been sent
    std::uint64_t m_toldEvents = 0;  // how many there were before those
    std::uint64_t m_roundEnd = 0;    // the number of the first that this round does not send
    ClientNumber m_toldLast = 0;     // in this round
    std::size_t m_held = 0;
    BEncoderC m_encoder;
    ClientNumber m_lastNumber = 0;
    std::uint64_t m_arrivals = 0;
    std::uint64_t m_served = 0; // the arrival of the message that is being served; 0 between them
    unsigned long m_rejected = 0;
    bool m_isPaused = false;
    bool m_isCatchingUp = false;                   // serves what has waited
    std::uint64_t m_catchUpTo = 0;                 // the arrival of the last that is served so
    ClientNumber m_catchingUp = 0;                 // whose messages those are now
    std::function<void()> m_settled;               // called once all that was sent has been taken
    std::map<ClientNumber, std::size_t> m_untaken; // by whom, when last looked at
    int m_looksForUnread = 0;                      // that are left before it is called
    asio::steady_timer m_patience;                 // with them
    std::map<std::string, std::size_t> m_wanted;   // events, by how many
};

#endif
