#ifndef KESTROVE_RUNTIME_SERVERCONNECTION_H
#define KESTROVE_RUNTIME_SERVERCONNECTION_H

#include <cstddef>
#include <deque>
#include <memory>
#include <set>
#include <string>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include "runtime/MPISocketServer.h"
#include "runtime/MessageDecoder.h"

class ServerConnectionC;

/// What a connection tells the service that it belongs to.
class ServerConnectionOwnerC
{
public:
    virtual ~ServerConnectionOwnerC() = default;
    /// A whole message has arrived. May close any connection, `connection` included.
    virtual void MessageArrived(ServerConnectionC& connection, const MessageC& message) = 0;
    /// The place of the next message among those of all clients.
    virtual std::uint64_t NextArrival() = 0;
    /// Whether a message is served at once, past those that wait behind a held one.
    virtual bool Overtakes(const MessageC& message) = 0;
    /// The client has sent bytes that are no message.
    virtual void MessageRejected(ServerConnectionC& connection, const std::string& problem) = 0;
    /// The connection has ended without Close().
    virtual void ConnectionLost(ServerConnectionC& connection, const std::string& reason) = 0;
};

/// One client of a service: reads messages, and queues and writes bytes without ever waiting.
///
/// What is queued during one turn of the loop leaves in one write. A client occupies the loop with
/// at most kMessagesPerTurn messages in a row; the rest waits until the others had their turn.
///
/// Thread safety: none; lives on the thread that runs the loop. Lifetime: shared by its owner and
/// by the operations under way. A closed one tells its owner nothing more.
class ServerConnectionC : public std::enable_shared_from_this<ServerConnectionC>
{
public:
    /// How many unsent bytes a client may let queue up.
    static constexpr std::size_t kQueueLimit = 8U * 1024U * 1024U;
    static constexpr int kMessagesPerTurn = 64;
    /// How much waits behind a held message before nothing more is read.
    static constexpr std::size_t kMostWaiting = 1024;
    static constexpr std::size_t kMostWaitingMemory = 16U * 1024U * 1024U;

    ServerConnectionC(asio::ip::tcp::socket socket, ClientNumber number,
                      const std::shared_ptr<ServerConnectionOwnerC>& owner);

    ClientNumber Number() const { return m_number; }
    bool IsOpen() const { return m_open; }
    /// The events that this client has subscribed to.
    std::set<std::string>& Subscriptions() { return m_subscriptions; }

    /// Begins to read.
    void Start();
    /// Queues bytes for writing.
    ///
    /// @return false when more than kQueueLimit bytes are waiting already; nothing is queued then.
    bool Queue(const char* bytes, std::size_t count);
    /// Holds the message that is being served: those behind it wait until Release(), but for what
    /// overtakes. They are read all the same, up to a limit.
    ///
    /// @return the arguments of the message, which are the caller's from now on.
    std::unique_ptr<BListC> Hold();
    /// Serves what has waited, in order and in a turn of its own. Nothing happens when no message
    /// is held.
    void Release();
    /// About how many bytes the held message and those behind it take.
    std::size_t WaitingMemory() const { return m_heldMemory + m_waitingMemory; }
    /// Ends the connection. In order, what is queued still goes out as far as the system takes it
    /// at once, so that an answer followed by a disconnection arrives; with a reset it does not.
    void Close(bool withReset);

private:
    void Read();
    void BytesArrived(std::size_t count);
    void ServeArrived();
    void ServeLater();
    bool ServeWaiting(ServerConnectionOwnerC& owner);
    bool ServeNext(ServerConnectionOwnerC& owner);
    bool IsWaitingFull() const;
    void FlushLater();
    void Flush();
    void Written(std::size_t count);
    std::size_t Unsent() const;
    void SendRestAtOnce();
    void Lost(const std::string& reason);

    asio::ip::tcp::socket m_socket;
    const ClientNumber m_number;
    std::weak_ptr<ServerConnectionOwnerC> m_owner;
    MessageDecoderC m_decoder;
    MessageC m_message;              // the one that is being served
    std::deque<MessageC> m_waiting;  // behind a held one
    std::size_t m_waitingMemory = 0; // of those
    std::size_t m_heldMemory = 0;    // of the held one
    std::set<std::string> m_subscriptions;
    std::string m_queued;      // waits for the write under way to end
    std::string m_writing;     // handed to the write under way
    std::size_t m_written = 0; // how much of m_writing the system has taken
    bool m_open = true;
    bool m_isHeld = false;
    bool m_isReading = false;
    bool m_serving = false;
    bool m_willServe = false;
    bool m_isWriting = false;
    bool m_willFlush = false;
};

#endif
