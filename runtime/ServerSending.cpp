#include "runtime/ServerConnection.h"

#include <utility>

#include <asio/buffer.hpp>
#include <asio/error.hpp>
#include <asio/socket_base.hpp>
#include <asio/write.hpp>

namespace {

/// A buffer that one large message has blown up is given back once it has been written.
void Empty(std::string& buffer)
{
    buffer.clear();
    if (buffer.capacity() > ServerConnectionC::kKeptBytes) {
        buffer.shrink_to_fit();
    }
}

} // namespace

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
    CountHeld();
    return true;
}

/// What is queued while messages are served goes out after them; otherwise after the handlers that
/// are ready now, so that the events of one moment share a write.
void ServerConnectionC::FlushLater()
{
    const std::shared_ptr<ServerConnectionOwnerC> owner = m_owner.lock();
    if (owner == nullptr || m_serving || m_isWriting || m_willFlush) {
        return;
    }
    m_willFlush = true;
    owner->SendingWanted(*this);
}

void ServerConnectionC::SendQueued()
{
    m_willFlush = false;
    Flush();
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
        asio::buffer(asio::buffer(m_writing) + m_written, kWritePortion),
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
    if (m_isEnding) {
        m_lastGrowth = std::chrono::steady_clock::now();
    }
    if (m_written == m_writing.size()) {
        Empty(m_writing);
        m_written = 0;
        CountHeld();
    }
    Flush();
    if (m_open && m_isEnding) {
        EndWhenSettled();
    }
}

std::size_t ServerConnectionC::Unsent() const
{
    return m_writing.size() - m_written + m_queued.size();
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
