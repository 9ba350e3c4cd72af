#ifndef KESTROVE_RUNTIME_SERVERCONNECTION_H
#define KESTROVE_RUNTIME_SERVERCONNECTION_H

#include <cstddef>
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
    /// Ends the connection. In order, what is queued still goes out as far as the system takes it
    /// at once, so that an answer followed by a disconnection arrives; with a reset it does not.
    void Close(bool withReset);

private:
    void Read();
    void BytesArrived(std::size_t count);
    void ServeArrived();
    bool ServeNext(ServerConnectionOwnerC& owner);
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
    MessageC m_message;
    std::set<std::string> m_subscriptions;
    std::string m_queued;      // waits for the write under way to end
    std::string m_writing;     // handed to the write under way
    std::size_t m_written = 0; // how much of m_writing the system has taken
    bool m_open = true;
    bool m_serving = false;
    bool m_isWriting = false;
    bool m_willFlush = false;
};

#endif
