#include "runtime/ServerConnection.h"

#include <algorithm>
#include <new>
#include <utility>

#include <asio/buffer.hpp>
#include <asio/error.hpp>
#include <asio/post.hpp>
#include <asio/socket_base.hpp>

#include "runtime/SpareMemory.h"
#include "runtime/TurnClock.h"

namespace {

// So much is read at once: decoding it takes a fraction of a turn at the worst.
constexpr std::size_t kReadPortion = 4U * 1024U;

// What a connection reads without waiting for its turn: a request, and so little that decoding it
// takes no longer than a few requests, whatever it is.
constexpr std::size_t kFirstRead = 512;

// More than a turn has the time for.
constexpr int kReadsPerTurn = 1024;

// About what a name takes that is subscribed to, beside itself.
constexpr std::size_t kNameBytes = 96;

// About what a waiting message takes beside its values.
constexpr std::size_t kMessageBytes = 256;

} // namespace

ServerConnectionC::ServerConnectionC(asio::ip::tcp::socket socket, ClientNumber number,
                                     const std::shared_ptr<ServerConnectionOwnerC>& owner,
                                     std::shared_ptr<GradualDisposerC> disposer)
    : m_socket(std::move(socket)), m_number(number), m_owner(owner),
      m_disposer(std::move(disposer)), m_decoder(NewDecoder())
{
    asio::error_code ignored;
    m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    m_socket.non_blocking(true, ignored);
}

MessageDecoderC ServerConnectionC::NewDecoder()
{
    return MessageDecoderC(kReadPortion);
}

ServerConnectionC::~ServerConnectionC()
{
    GiveAway();
    // With the connection itself: thousands that have sent nothing take megabytes, too.
    const std::size_t bytes = kSilentBytes + m_subscribed;
    GradualDisposerC::Remains remains;
    remains.names = std::move(m_subscriptions);
    m_disposer->Destroy(std::move(remains), bytes);
    const std::size_t outgoing = m_outgoing.Memory();
    m_disposer->Large().Destroy(std::move(m_outgoing), outgoing);
}

/// Has all that came from the client destroyed. Who waits for a turn may do so for long: a closed
/// connection keeps nothing meanwhile.
void ServerConnectionC::GiveAway()
{
    if (m_hasGivenAway) {
        return;
    }
    m_hasGivenAway = true;
    const std::size_t bytes = m_message.memory + m_waitingMemory;
    GradualDisposerC::Remains remains;
    remains.message = std::move(m_message);
    remains.waiting = std::move(m_waiting);
    GiveAwayUnfinished(std::move(remains), bytes);
}

/// Has what has come of a message that is not whole destroyed.
///
/// @param remains what else is.
/// @param bytes about how many that takes.
void ServerConnectionC::GiveAwayUnfinished(GradualDisposerC::Remains&& remains, std::size_t bytes)
{
    // The values are within what the decoder holds; for a moment they count twice.
    const std::size_t held = m_decoder.Held();
    remains.unfinished = std::move(m_decoder).TakeUnfinished();
    remains.texts = std::move(m_ahead);
    m_disposer->Destroy(std::move(remains), bytes + held + m_aheadBytes);
    m_disposer->Large().Destroy(std::move(m_decoder), held);
}

void ServerConnectionC::Start()
{
    m_lastGrowth = std::chrono::steady_clock::now();
    CountHeld();
    WaitForBytes();
}

/// Without room for them: a connection that sends nothing takes none.
void ServerConnectionC::WaitForBytes()
{
    if (!m_open || m_isWaiting || IsWaitingFull()) {
        return;
    }
    m_isWaiting = true;
    m_socket.async_wait(asio::socket_base::wait_read,
                        [self = shared_from_this()](const asio::error_code& error) {
                            self->m_isWaiting = false;
                            if (!self->m_open) {
                                return;
                            }
                            if (error) {
                                self->Lost(error.message());
                                return;
                            }
                            self->BytesWait();
                        });
}

void ServerConnectionC::BytesWait()
{
    const std::shared_ptr<ServerConnectionOwnerC> owner = m_owner.lock();
    if (owner == nullptr) {
        return;
    }
    if (m_decoder.InMessage()) {
        owner->TurnWanted(*this);
    } else {
        // Enough for a request. Many that send much get no turns by new connections.
        owner->FirstTurnWanted(*this);
    }
}

/// Does what takes memory for what the client sends. Where the process has none left it costs this
/// connection, which gives back what it has, and nobody else. Returns whether there is more to do.
template <typename Work>
bool ServerConnectionC::WithMemory(Work work)
{
    try {
        const SpareMemoryC::RefusableC refusable(HoldsMuch());
        return work();
    } catch (const std::bad_alloc&) {
        Lost("there is no memory for what it sends");
        return false;
    }
}

void ServerConnectionC::TakeTurn()
{
    const std::shared_ptr<ServerConnectionOwnerC> owner = m_owner.lock();
    const bool maySend = m_open && !IsStopped();
    const bool mayHaveMore =
        maySend && m_decoder.InMessage() && WithMemory([this] { return ReadAhead(); });
    if (m_open && IsLeft()) {
        InputEnded();
    } else if (mayHaveMore && m_open && owner != nullptr) {
        owner->TurnWanted(*this);
        return;
    }
    TakeTurn(kReadsPerTurn);
}

/// True when nothing more comes and what the client sent does not make its message whole.
bool ServerConnectionC::IsLeft() const
{
    return m_end && !m_isEnding && !m_hasGivenAway && m_decoder.LeastMissing() > m_aheadBytes;
}

std::string ServerConnectionC::EndReason() const
{
    return m_end == asio::error::eof ? "closed by the client" : m_end.message();
}

void ServerConnectionC::TakeTurn(int mostReads)
{
    const std::shared_ptr<ServerConnectionOwnerC> owner = m_owner.lock();
    if (owner == nullptr || !m_open) {
        return;
    }
    m_serving = true;
    const bool isDone = !WithMemory([&] { return !ServeForATurn(*owner, mostReads); });
    m_serving = false;
    if (!m_open) {
        GiveAway();
        return;
    }
    Flush();
    CountHeld();
    if (!m_open) {
        return;
    }
    if (!isDone) {
        owner->TurnWanted(*this);
        return;
    }
    if (m_isEnding) {
        EndWhenSettled();
        return;
    }
    WaitForBytes();
    if (m_decoder.InMessage()) {
        owner->ProgressAwaited(*this);
    }
}

/// @return true when there is nothing more to do for now.
bool ServerConnectionC::ServeForATurn(ServerConnectionOwnerC& owner, int mostReads)
{
    const TurnClockC turn(kTurn);
    const int mostMessages = mostReads == 1 ? kFirstMessages : kMessagesPerTurn;
    int served = 0;
    int reads = 0;
    bool mayHaveMore = true;
    while (m_open) {
        if (served == mostMessages || turn.IsOver()) {
            return false;
        }
        if (IsStopped()) {
            return true;
        }
        switch (ServeNext(owner)) {
        case MessageDecoderC::EResult::Complete:
            ++served;
            break;
        case MessageDecoderC::EResult::Bad:
            owner.MessageRejected(*this, m_decoder.Problem());
            return true;
        case MessageDecoderC::EResult::NeedMore:
            CountHeld();
            if (!m_open || !mayHaveMore) {
                return true;
            }
            if (reads == mostReads) {
                return false;
            }
            ++reads;
            if (!Receive(mayHaveMore, mostReads == 1 ? kFirstRead : kReadPortion)) {
                return true;
            }
            break;
        }
    }
    return true;
}

/// Serves the next message, or has it wait behind the held one or for its place.
MessageDecoderC::EResult ServerConnectionC::ServeNext(ServerConnectionOwnerC& owner)
{
    if (MayServeWaiting()) {
        m_message = std::move(m_waiting.front());
        m_waiting.pop_front();
        m_waitingMemory -= m_message.memory + kMessageBytes;
        ServeMessage(owner);
        return MessageDecoderC::EResult::Complete;
    }
    const MessageDecoderC::EResult result = m_decoder.Next(m_message);
    if (result == MessageDecoderC::EResult::Complete) {
        m_hasSentAMessage = true;
        m_message.arrival = owner.NextArrival();
        const bool waits = m_isHeld || m_message.arrival > m_lastServed;
        if (waits && !owner.Overtakes(m_message)) {
            HaveWait();
        } else {
            ServeMessage(owner);
        }
    }
    return result;
}

void ServerConnectionC::ServeMessage(ServerConnectionOwnerC& owner)
{
    owner.MessageArrived(*this, m_message);
    if (m_message.memory > kKeptBytes) {
        const std::size_t bytes = m_message.memory;
        GradualDisposerC::Remains remains;
        remains.message = std::exchange(m_message, MessageC());
        m_disposer->Destroy(std::move(remains), bytes);
    }
}

void ServerConnectionC::HaveWait()
{
    m_waitingMemory += m_message.memory + kMessageBytes;
    m_waiting.push_back(std::move(m_message));
    m_message = MessageC();
}

bool ServerConnectionC::IsWaitingFull() const
{
    return m_waitingMemory >= kMostWaitingMemory;
}

std::unique_ptr<BListC> ServerConnectionC::Hold()
{
    m_isHeld = true;
    m_heldMemory = m_message.memory;
    m_message.memory = 0;
    return std::move(m_message.arguments);
}

void ServerConnectionC::Release()
{
    if (!m_isHeld) {
        return;
    }
    m_isHeld = false;
    m_heldMemory = 0;
    if (m_open && m_isEnding && !IsClientThere()) {
        Lost(EndReason());
    }
    const std::shared_ptr<ServerConnectionOwnerC> owner = m_owner.lock();
    if (owner != nullptr && m_open) {
        owner->TurnWanted(*this);
    }
}

/// @param mayHaveMore receives whether the system may have more.
/// @param most how many bytes to read at most.
/// @return false when nothing has arrived, or the connection has ended.
bool ServerConnectionC::Receive(bool& mayHaveMore, std::size_t most)
{
    std::size_t room = 0;
    char* const space = m_decoder.Space(room);
    room = std::min(room, most);
    if (!m_ahead.empty()) {
        m_decoder.Arrived(TakeAhead(space, room));
        return true;
    }
    std::size_t count = 0;
    if (!m_end) {
        asio::error_code error;
        count = m_socket.read_some(asio::buffer(space, room), error);
        if (error == asio::error::would_block || error == asio::error::try_again) {
            return false;
        }
        m_end = error;
    }
    if (m_end) {
        InputEnded();
        return false;
    }
    mayHaveMore = count == room;
    m_lastGrowth = std::chrono::steady_clock::now();
    TellRead(space, count);
    m_decoder.Arrived(count);
    return true;
}

bool ServerConnectionC::Subscribe(const std::string& event)
{
    const bool isNew = m_subscriptions.insert(event).second;
    if (isNew) {
        m_subscribed += event.size() + kNameBytes;
        CountHeld();
    }
    return isNew;
}

void ServerConnectionC::CountHeld()
{
    const std::size_t before = m_held;
    // As much for a connection that does next to nothing as for one that does nothing at all: among
    // those the newest goes first.
    m_held = !m_open ? 0
                     : std::max(kSilentBytes, m_decoder.Held() + m_aheadBytes + m_message.memory +
                                                  m_heldMemory + m_waitingMemory + m_subscribed +
                                                  m_outgoing.Memory());
    const std::shared_ptr<ServerConnectionOwnerC> owner = m_owner.lock();
    if (owner != nullptr && m_held != before) {
        owner->HeldChanged(before, m_held);
    }
}

void ServerConnectionC::Close(bool withReset)
{
    if (!m_open) {
        return;
    }
    m_open = false;
    asio::error_code error;
    if (withReset) {
        m_socket.set_option(asio::socket_base::linger(true, 0), error);
    } else {
        SendRestAtOnce();
        m_socket.shutdown(asio::socket_base::shutdown_send, error);
    }
    m_socket.close(error);
    CountHeld();
    if (!m_serving) {
        GiveAway();
    }
}

void ServerConnectionC::Lost(const std::string& reason)
{
    if (const std::shared_ptr<ServerConnectionOwnerC> owner = m_owner.lock()) {
        owner->ConnectionLost(*this, reason);
    }
}
