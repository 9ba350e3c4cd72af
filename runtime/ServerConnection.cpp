#include "runtime/ServerConnection.h"

#include <algorithm>
#include <utility>

#include <asio/buffer.hpp>
#include <asio/error.hpp>
#include <asio/post.hpp>
#include <asio/socket_base.hpp>

namespace {

// So much is read at once: a turn of the loop stays short, however fast a client sends.
constexpr std::size_t kReadPortion = 256U * 1024U;

// A buffer that one large message has blown up is given back once it has been written.
constexpr std::size_t kKeptBuffer = 256U * 1024U;

void Empty(std::string& buffer)
{
    buffer.clear();
    if (buffer.capacity() > kKeptBuffer) {
        buffer.shrink_to_fit();
    }
}

} // namespace

ServerConnectionC::ServerConnectionC(asio::ip::tcp::socket socket, ClientNumber number,
                                     const std::shared_ptr<ServerConnectionOwnerC>& owner)
    : m_socket(std::move(socket)), m_number(number), m_owner(owner)
{
    asio::error_code ignored;
    m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    m_socket.non_blocking(true, ignored);
}

void ServerConnectionC::Start()
{
    Read();
}

void ServerConnectionC::Read()
{
    if (!m_open || m_isReading || IsWaitingFull()) {
        return;
    }
    m_isReading = true;
    std::size_t room = 0;
    char* const space = m_decoder.Space(room);
    m_socket.async_read_some(
        asio::buffer(space, std::min(room, kReadPortion)),
        [self = shared_from_this()](const asio::error_code& error, std::size_t count) {
            self->m_isReading = false;
            if (!self->m_open) {
                return;
            }
            if (error) {
                self->Lost(error == asio::error::eof ? "closed by the client" : error.message());
                return;
            }
            self->BytesArrived(count);
        });
}

void ServerConnectionC::BytesArrived(std::size_t count)
{
    m_decoder.Arrived(count);
    ServeArrived();
}

/// Serves the messages that have arrived, at most a turn's worth; then reads on, or leaves the rest
/// to a later turn. Nothing is read meanwhile, so a client that floods is slowed down to its share.
void ServerConnectionC::ServeArrived()
{
    const std::shared_ptr<ServerConnectionOwnerC> owner = m_owner.lock();
    if (owner == nullptr || !m_open) {
        return;
    }
    m_serving = true;
    int served = 0;
    while (served < kMessagesPerTurn && ServeNext(*owner)) {
        ++served;
    }
    m_serving = false;
    if (!m_open) {
        return;
    }
    Flush();
    if (served < kMessagesPerTurn) {
        Read();
    } else {
        ServeLater();
    }
}

void ServerConnectionC::ServeLater()
{
    if (m_willServe) {
        return;
    }
    m_willServe = true;
    asio::post(m_socket.get_executor(), [self = shared_from_this()] {
        self->m_willServe = false;
        self->ServeArrived();
    });
}

bool ServerConnectionC::ServeWaiting(ServerConnectionOwnerC& owner)
{
    m_message = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_waitingMemory -= m_message.memory;
    owner.MessageArrived(*this, m_message);
    return m_open;
}

/// Serves the next message, or has it wait. False when no whole one is there, none more may wait or
/// the connection has been closed.
bool ServerConnectionC::ServeNext(ServerConnectionOwnerC& owner)
{
    if (!m_isHeld && !m_waiting.empty()) {
        return ServeWaiting(owner);
    }
    // While bytes are awaited, the decoder's room is theirs, and it holds no whole message.
    if (m_isReading || IsWaitingFull()) {
        return false;
    }
    switch (m_decoder.Next(m_message)) {
    case MessageDecoderC::EResult::Complete:
        m_message.arrival = owner.NextArrival();
        if (m_isHeld && !owner.Overtakes(m_message)) {
            m_waitingMemory += m_message.memory;
            m_waiting.push_back(std::move(m_message));
        } else {
            owner.MessageArrived(*this, m_message);
        }
        return m_open;
    case MessageDecoderC::EResult::Bad:
        owner.MessageRejected(*this, m_decoder.Problem());
        return false;
    case MessageDecoderC::EResult::NeedMore:
        break;
    }
    return false;
}

std::unique_ptr<BListC> ServerConnectionC::Hold()
{
    m_isHeld = true;
    m_heldMemory = m_message.memory;
    return std::move(m_message.arguments);
}

void ServerConnectionC::Release()
{
    if (m_isHeld) {
        m_isHeld = false;
        m_heldMemory = 0;
        ServeLater();
    }
}

bool ServerConnectionC::IsWaitingFull() const
{
    return m_waiting.size() >= kMostWaiting || m_waitingMemory >= kMostWaitingMemory;
}

bool ServerConnectionC::Queue(const char* bytes, std::size_t count)
{
    if (!m_open) {
        return true;
    }
    if (Unsent() > kQueueLimit) {
        return false;
    }
    m_queued.append(bytes, count);
    FlushLater();
    return true;
}

/// What is queued while messages are served goes out after them; otherwise after the handlers that
/// are ready now, so that the events of one moment share a write.
void ServerConnectionC::FlushLater()
{
    if (m_serving || m_isWriting || m_willFlush) {
        return;
    }
    m_willFlush = true;
    asio::post(m_socket.get_executor(), [self = shared_from_this()] {
        self->m_willFlush = false;
        self->Flush();
    });
}

void ServerConnectionC::Flush()
{
    if (!m_open || m_isWriting || (m_writing.empty() && m_queued.empty())) {
        return;
    }
    m_isWriting = true;
    if (m_writing.empty()) {
        m_writing.swap(m_queued);
    }
    m_socket.async_write_some(
        asio::buffer(m_writing) + m_written,
        [self = shared_from_this()](const asio::error_code& error, std::size_t count) {
            self->m_isWriting = false;
            if (!self->m_open) {
                return;
            }
            if (error) {
                self->Lost(error.message());
                return;
            }
            self->Written(count);
        });
}

void ServerConnectionC::Written(std::size_t count)
{
    m_written += count;
    if (m_written == m_writing.size()) {
        Empty(m_writing);
        m_written = 0;
    }
    Flush();
}

std::size_t ServerConnectionC::Unsent() const
{
    return m_writing.size() - m_written + m_queued.size();
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
}

void ServerConnectionC::SendRestAtOnce()
{
    // With a write under way nobody knows how far it has got: sending on would repeat bytes.
    std::size_t sent = 0;
    asio::error_code error;
    while (!m_isWriting && !error && sent < m_queued.size()) {
        sent += m_socket.write_some(asio::buffer(m_queued) + sent, error);
    }
}

void ServerConnectionC::Lost(const std::string& reason)
{
    if (const std::shared_ptr<ServerConnectionOwnerC> owner = m_owner.lock()) {
        owner->ConnectionLost(*this, reason);
    }
}
