#ifndef KESTROVE_RUNTIME_MPISOCKETSERVER_H
#define KESTROVE_RUNTIME_MPISOCKETSERVER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include "platform/BElement.h"

namespace asio {
class io_context;
}

/// Numbers a client of a service, from its connection to its end; never used twice.
using ClientNumber = std::uint64_t;

/// What a service does with what its clients send. Called on the thread that runs the loop.
///
/// Every operation of the server may be called from inside every one of these.
class MPIServiceHandlerC
{
public:
    virtual ~MPIServiceHandlerC() = default;

    /// A request. The service answers with MPISocketServerC::Reply() or ReplyError(), now or later,
    /// giving back `client` and `requestNumber`. For one that is answered later and is not held, a
    /// client that has shut its sending side is not waited with.
    virtual void RequestReceived(ClientNumber client, std::uint64_t requestNumber,
                                 const std::string& name, const BListC& arguments) = 0;
    /// A notification; not answered.
    virtual void NotificationReceived(ClientNumber client, const std::string& name,
                                      const BListC& arguments) = 0;
    /// Whether a message of that name is served at once although its client has a held one (see
    /// MPISocketServerC::Hold()). No, unless overridden.
    virtual bool Overtakes(const std::string& name);
    /// A client has subscribed to an event; the place to push the present state to it.
    virtual void Subscribed(ClientNumber client, const std::string& event);
    virtual void ClientConnected(ClientNumber client);
    /// The service drops a client for what it does: it sends what is not a message, does not read,
    /// or subscribes without end. ClientDisconnected() follows.
    virtual void ClientDropped(ClientNumber client, const std::string& reason);
    /// A client is gone, and why. Its number is not used again.
    virtual void ClientDisconnected(ClientNumber client, const std::string& reason);
    /// Connections have to wait, for example for want of descriptors, and closing one does not
    /// help. Reported once, until one can be taken again.
    virtual void ConnectionsWait(const std::string& reason);
    /// Bytes have come from a client, before they are decoded; for who records the link.
    virtual void BytesReceived(ClientNumber client, std::string_view bytes);
    /// The system has taken bytes for a client; likewise.
    virtual void BytesSent(ClientNumber client, std::string_view bytes);
    /// Something failed that nobody waits for an answer to: a notification (or one of the calls
    /// above) whose handler threw, or a subscription without a name. Writes a line to standard
    /// error. An exception that leaves RequestReceived() does not come here: it is the answer.
    virtual void HandlerFailed(ClientNumber client, const std::string& name,
                               const std::string& reason);
};

/// Which loopback addresses a service listens on.
enum class EListenOn
{
    Both,     ///< ::1 and 127.0.0.1; one of them will do where the machine lacks the other
    IPv4Only, ///< 127.0.0.1
    IPv6Only, ///< ::1
};

/// What the clients of a service may have it hold.
struct MPIServerLimitsC
{
    /// How many bytes all connections together hold of what is unfinished or waits: messages that
    /// have not arrived whole, that are being served, and what is queued for clients. Beyond it
    /// the connection that holds most is closed.
    std::size_t memory = std::size_t{256} * 1024 * 1024;
    /// How many connections there are at once. Beyond it, and when the system has no descriptor
    /// left, the least worthy is closed: of those that have never sent a whole message the oldest
    /// of which none waits to be read, unless they are few and new; then the quietest without a
    /// subscription; then the newest.
    std::size_t connections = std::numeric_limits<std::size_t>::max();
    /// How long a connection that has sent nothing counts as one that is in use, or new.
    std::chrono::milliseconds quiet{1'000};
    /// How long a message may be unfinished without growing, and the last replies to a client that
    /// sends nothing more without being taken.
    std::chrono::milliseconds unfinished{30'000};
    /// How long a client may take nothing of what it is sent while MPISocketServerC::Settle() waits
    /// for that.
    std::chrono::milliseconds untaken{1'000};
};

/// The service's side of the link: listens on the loopback addresses only, serves many clients on
/// one thread, hands requests and notifications to a handler, and pushes events to subscribers.
///
/// Writing never waits: what a client does not read is queued, and a client that lets more than
/// 8 MiB queue up is disconnected, so that a slow client never holds up the others. A message that
/// is no MessagePack-RPC closes the connection that sent it, and so does one that exceeds a limit.
/// Large messages are read in turns of a millisecond, and events go to many in such turns.
///
/// A client that shuts its sending side and goes on reading gets the replies to what it sent whole,
/// those of held requests too, and then the end. It is sent no more events, and is dropped when it
/// takes nothing for as long as a message may be unfinished.
///
/// Thread safety: none; used from the thread that runs the loop. Has a thread of its own, which
/// destroys large messages, from the first of them on.
class MPISocketServerC
{
public:
    /// @param loop the event loop, run by its owner; must outlive this object.
    /// @param handler must outlive this object.
    /// @param limits of what its clients may have it hold.
    MPISocketServerC(asio::io_context& loop, MPIServiceHandlerC& handler,
                     const MPIServerLimitsC& limits = {});
    /// Closes the listener and every connection.
    ~MPISocketServerC();
    MPISocketServerC(const MPISocketServerC&) = delete;
    MPISocketServerC& operator=(const MPISocketServerC&) = delete;

    /// Starts to listen. Port 0 takes a free one (see Port()).
    ///
    /// @return an empty text on success, otherwise the reason, for example that the port is taken.
    std::string Listen(std::uint16_t port, EListenOn addresses = EListenOn::Both);
    /// The port that is listened on; 0 when none is.
    std::uint16_t Port() const;
    /// Stops listening; connections stay.
    void StopListening();
    /// Closes every connection; in order, or with a reset that the peers notice as such.
    void DisconnectAll(bool withReset = false);
    /// Closes one connection, likewise; nothing happens when it is gone.
    void Disconnect(ClientNumber client, const std::string& reason, bool withReset = false);

    /// Holds the request or notification of a client that is being served, for work that ends
    /// later: what the client sends behind it waits until Release(), in order and up to a limit,
    /// beyond which nothing more is read. Only what the handler lets overtake does not wait. To be
    /// called while the handler is given the message.
    ///
    /// @return the arguments that the handler was given, its own from now on; null when the client
    ///         is gone.
    std::unique_ptr<BListC> Hold(ClientNumber client);
    /// Ends the holding: what has waited is served. A client that is gone is ignored, and so is
    /// what it sent behind the held message.
    void Release(ClientNumber client);

    /// From now on the messages of all clients, new ones too, are read and wait, up to the limit of
    /// Hold(); only what the handler lets overtake does not. What is being served is not affected.
    void Pause();
    /// Ends that. What has waited until now is served client by client, in the order in which their
    /// connections were opened, the next once the last has no more of it and holds nothing; then
    /// likewise what came meanwhile. When that is interrupted by another Pause(), it goes on there
    /// after it.
    void Resume();
    /// Calls back once everything that clients have been sent so far has been handed to the system.
    /// A client that takes nothing of it for as long as the limits say is dropped. One wait at a
    /// time; a further call takes the place of the one before.
    void Settle(std::function<void()> then);

    /// Answers a request. A null result stands for "nothing". A client that is gone is ignored.
    void Reply(ClientNumber client, std::uint64_t requestNumber, const BElementC* result);
    /// Answers a request with a result that a BEncoderC has written before, and that is not copied.
    void ReplyWritten(ClientNumber client, std::uint64_t requestNumber,
                      std::shared_ptr<const std::string> result);
    /// Answers a request with an error.
    void ReplyError(ClientNumber client, std::uint64_t requestNumber, const std::string& text);
    /// Pushes an event to every subscriber of it. Encoded once, however many there are.
    void Push(const std::string& event, const BListC& payload);
    /// Whether any client has subscribed to an event.
    bool IsWanted(const std::string& event) const;
    /// Pushes an event to one client, subscribed or not.
    void PushTo(ClientNumber client, const std::string& event, const BListC& payload);
    /// Writes bytes to one client as they are; for tests of what a client makes of them.
    void SendBytes(ClientNumber client, const std::string& bytes);

    /// The place of the message that is being served in the order in which messages have arrived
    /// from all clients; between messages, that of the last one. Shows what overtook what.
    std::uint64_t Arrival() const;
    /// Whether anything has come that has not been looked at: a client that waits to be taken, or
    /// bytes of one.
    bool HasUnread() const;
    /// How many clients are connected.
    std::size_t ClientCount() const;
    /// How many bytes the connections hold of what is unfinished or waits.
    std::size_t HeldBytes() const;
    /// Closes the connection that holds most, if that is more than one that does nothing counts:
    /// for a process whose memory runs short.
    void GiveUpGreediest();
    /// How many connections have been closed because of bytes that are not a message.
    unsigned long RejectedMessages() const;

private:
    class StateC;
    std::shared_ptr<StateC> m_state;
};

#endif
