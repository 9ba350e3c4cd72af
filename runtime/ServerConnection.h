#ifndef KESTROVE_RUNTIME_SERVERCONNECTION_H
#define KESTROVE_RUNTIME_SERVERCONNECTION_H

#include <chrono>
#include <cstddef>
#include <deque>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include <asio/error_code.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include "runtime/GradualDisposer.h"
#include "runtime/MPISocketServer.h"
#include "runtime/MessageDecoder.h"
#include "runtime/OutgoingBytes.h"

class ServerConnectionC;

/// What a connection reports to the service that it belongs to.
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
    /// The client has sent bytes that are not a message.
    virtual void MessageRejected(ServerConnectionC& connection, const std::string& problem) = 0;
    /// The connection has ended without Close().
    virtual void ConnectionLost(ServerConnectionC& connection, const std::string& reason) = 0;
    /// Something has come that may be short: TakeFirstTurn() is to be called.
    virtual void FirstTurnWanted(ServerConnectionC& connection) = 0;
    /// The connection has more to do than one turn allows: TakeTurn() is to be called again, when
    /// those that wait already and whatever is new had theirs.
    virtual void TurnWanted(ServerConnectionC& connection) = 0;
    /// The connection has something to send: SendQueued() is to be called after the handlers that
    /// are ready now.
    virtual void SendingWanted(ServerConnectionC& connection) = 0;
    /// The connection waits for its client to send the rest of a message, or to take the last of
    /// what it is sent.
    virtual void ProgressAwaited(ServerConnectionC& connection) = 0;
    /// All that was queued for the connection has been handed to the system.
    virtual void AllSent() = 0;
    /// The connection holds `now` bytes and no longer `before`. May close any connection.
    virtual void HeldChanged(std::size_t before, std::size_t now) = 0;
    /// Bytes have been read. Does nothing unless overridden.
    virtual void BytesRead(ServerConnectionC& /*connection*/, std::string_view /*bytes*/) {}
    /// The system has taken bytes. Likewise.
    virtual void BytesWritten(ServerConnectionC& /*connection*/, std::string_view /*bytes*/) {}
};

/// One client of a service: reads messages, and queues and writes bytes without ever waiting.
///
/// What is queued during one turn of the loop leaves in one write. A client occupies the loop with
/// at most kMessagesPerTurn messages in a row, and for at most kTurn of processor time; the rest
/// waits until the others had their turn. Within a message that is larger than a read it asks for a
/// turn before it reads on, so that many who send much take no more of the loop than one.
///
/// In its turn it first reads ahead what the rest of an unfinished message may be, which costs a
/// fraction of decoding it: what a client sent that has gone is in the system's way no longer, and
/// a message that it has left in the middle is not decoded to where it breaks off.
///
/// A client that shuts its sending side and stays is served to the end: what it sent whole has its
/// turn, also behind a held message, and the replies go out; then the connection ends. Events come
/// no longer. With a client that has gone altogether the connection ends at once.
///
/// Counts what it holds: what is read and not complete, the message that is being served, what
/// waits behind one that is held, what is queued, the names of subscriptions. What is large of it
/// is destroyed little by little, as soon as the connection is closed.
///
/// Thread safety: none; lives on the thread that runs the loop. Lifetime: shared by its owner and
/// by the operations under way. A closed one reports nothing more to its owner.
class ServerConnectionC : public std::enable_shared_from_this<ServerConnectionC>
{
public:
    /// How many unsent bytes a client may let queue up.
    static constexpr std::size_t kQueueLimit = 8U * 1024U * 1024U;
    static constexpr int kMessagesPerTurn = 64;
    /// How many messages are served at once when something comes; more wait for a turn.
    static constexpr int kFirstMessages = 4;
    static constexpr std::chrono::microseconds kTurn{1000}; // of processor time
    /// How much waits behind a held message before nothing more is read: of the longest messages
    /// several, so that what overtakes is found behind them. Half of what all connections hold.
    static constexpr std::size_t kMostWaitingMemory = 128U * 1024U * 1024U;
    /// The place of no message: all came before.
    static constexpr std::uint64_t kAnyArrival = std::numeric_limits<std::uint64_t>::max();
    /// What a connection counts for that has never sent anything.
    static constexpr std::size_t kSilentBytes = 32768;
    /// How much of a buffer or a served message stays for the next one: with all of them, less
    /// than a silent connection counts, so that one which has been idle since counts no more than
    /// that.
    static constexpr std::size_t kKeptBytes = 8192;

    ServerConnectionC(asio::ip::tcp::socket socket, ClientNumber number,
                      const std::shared_ptr<ServerConnectionOwnerC>& owner,
                      std::shared_ptr<GradualDisposerC> disposer);
    ~ServerConnectionC();

    ClientNumber Number() const { return m_number; }
    bool HasSentAMessage() const { return m_hasSentAMessage; }
    /// Whether the begin of a message has come that has not been read.
    bool HasUnreadMessage() const
    {
        asio::error_code error;
        return !m_decoder.InMessage() && m_socket.available(error) > 0;
    }
    /// Whether bytes have come that have not been read.
    bool HasUnreadBytes() const
    {
        asio::error_code error;
        return m_socket.available(error) > 0;
    }
    bool IsOpen() const { return m_open; }
    /// The events that this client has subscribed to.
    const std::set<std::string>& Subscriptions() const { return m_subscriptions; }
    /// Whether it is to be sent an event.
    bool Wants(const std::string& event) const
    {
        return !m_isEnding && m_subscriptions.count(event) != 0;
    }
    /// Adds one.
    ///
    /// @return false when it was there already.
    bool Subscribe(const std::string& event);
    /// The number of the first event that it has not been sent, among those of the service.
    std::uint64_t NextEvent() const { return m_nextEvent; }
    void SetNextEvent(std::uint64_t number) { m_nextEvent = number; }
    /// How many bytes it holds; 0 once it is closed.
    std::size_t Held() const { return m_held; }
    /// True while it waits for the rest of a message.
    bool IsUnfinished() const { return m_isWaiting && m_decoder.InMessage(); }
    /// True while all that is left to do is that its client, who sends nothing more, takes what it
    /// is sent.
    bool IsUnread() const { return m_isEnding && !m_isHeld && m_waiting.empty(); }
    /// When something was last received, or taken by a client that sends nothing more.
    std::chrono::steady_clock::time_point LastGrowth() const { return m_lastGrowth; }

    /// Begins to read.
    void Start();
    /// Reads and serves what may be short.
    void TakeFirstTurn() { TakeTurn(1); }
    /// Reads and serves for a turn.
    void TakeTurn();
    /// Queues bytes for writing.
    ///
    /// @return false when more than kQueueLimit bytes are waiting already; nothing is queued then.
    bool Queue(const char* bytes, std::size_t count);
    /// Likewise a text, which is kept until it has been written and not copied.
    bool Queue(std::shared_ptr<const std::string> text);
    /// Holds the message that is being served: those behind it wait until Release(), but for what
    /// overtakes. They are read all the same, up to a limit.
    ///
    /// @return the arguments of the message, which are the caller's from now on. What they take
    ///         still counts for the connection.
    std::unique_ptr<BListC> Hold();
    /// Serves what has waited, in order and in a turn of its own. Nothing happens when no message
    /// is held.
    void Release();
    /// Has messages wait that arrive after the one of that place, but for what overtakes. They are
    /// read all the same, up to a limit. Without a call none does; a turn serves what may be.
    void ServeUpTo(std::uint64_t arrival) { m_lastServed = arrival; }
    /// Whether a message waits that came no later than that.
    bool HasWaiting(std::uint64_t arrival) const
    {
        return !m_waiting.empty() && m_waiting.front().arrival <= arrival;
    }
    bool IsHeld() const { return m_isHeld; }
    /// How many bytes are queued that the system has not taken.
    std::size_t Unsent() const { return m_open ? m_outgoing.Size() : 0; }
    /// Hands to the system what is queued, as far as it takes it.
    void SendQueued();
    /// Ends the connection. In order, what is queued still goes out as far as the system takes it
    /// at once, so that an answer followed by a disconnection arrives; with a reset it does not.
    void Close(bool withReset);

private:
    static MessageDecoderC NewDecoder();
    void WaitForBytes();
    void BytesWait();
    void TakeTurn(int mostReads);
    bool ServeForATurn(ServerConnectionOwnerC& owner, int mostReads);
    MessageDecoderC::EResult ServeNext(ServerConnectionOwnerC& owner);
    void ServeMessage(ServerConnectionOwnerC& owner);
    void HaveWait();
    bool IsWaitingFull() const;
    bool MayServeWaiting() const { return !m_isHeld && HasWaiting(m_lastServed); }
    bool IsStopped() const { return IsWaitingFull() && !MayServeWaiting(); }
    bool Receive(bool& mayHaveMore, std::size_t most);
    bool ReadAhead();
    template <typename Work>
    bool WithMemory(Work work);
    template <typename Add>
    bool QueueBy(Add add);
    /// Those that hold little are served with what there is to spare.
    bool HoldsMuch() const { return m_held > kSilentBytes; }
    std::size_t TakeAhead(char* space, std::size_t room);
    bool IsLeft() const;
    std::string EndReason() const;
    void InputEnded();
    bool IsOwedAnything() const;
    bool IsClientThere() const;
    void DiscardUnfinished();
    void WaitForReset();
    void EndWhenSettled();
    void GiveAway();
    void GiveAwayUnfinished(GradualDisposerC::Remains&& remains, std::size_t bytes);
    void CountHeld();
    bool IsQueueFull() const;
    void Queued();
    void FlushLater();
    void Flush();
    void Written(std::size_t count);
    void TellWritten(std::size_t count);
    void TellRead(const char* bytes, std::size_t count);
    void SendRestAtOnce();
    void Lost(const std::string& reason);

    asio::ip::tcp::socket m_socket;
    const ClientNumber m_number;
    std::weak_ptr<ServerConnectionOwnerC> m_owner;
    const std::shared_ptr<GradualDisposerC> m_disposer;
    MessageDecoderC m_decoder;
    std::deque<std::string> m_ahead; // read, and not decoded yet
    std::size_t m_aheadTaken = 0;    // of the first of those
    std::size_t m_aheadBytes = 0;    // of all that is not taken
    asio::error_code m_end;          // why nothing more comes
    MessageC m_message;              // the one that is being served
    std::deque<MessageC> m_waiting;  // behind a held one, or for their place
    std::size_t m_waitingMemory = 0; // of those
    std::size_t m_heldMemory = 0;    // of the held one
    std::set<std::string> m_subscriptions;
    std::uint64_t m_nextEvent = 0;
    std::uint64_t m_lastServed = kAnyArrival; // messages that arrived later wait
    OutgoingBytesC m_outgoing;
    std::size_t m_subscribed = 0; // bytes of the names
    std::size_t m_held = 0;
    std::chrono::steady_clock::time_point m_lastGrowth;
    bool m_open = true;
    bool m_isEnding = false; // sends what is owed, and nothing more comes
    bool m_hasSentAMessage = false;
    bool m_hasGivenAway = false;
    bool m_isHeld = false;
    bool m_isWaiting = false; // for bytes
    bool m_serving = false;
    bool m_isWriting = false;
    bool m_willFlush = false;
};

#endif
