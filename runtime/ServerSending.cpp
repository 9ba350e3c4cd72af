#include "runtime/ServerConnection.h"

#include <new>
#include <string_view>
#include <utility>

#include <asio/buffer.hpp>
#include <asio/error.hpp>
#include <asio/socket_base.hpp>
#include <asio/write.hpp>

#include "runtime/SpareMemory.h"

bool ServerConnectionC::Queue(const char* bytes, std::size_t count)
{
    return QueueBy([&] { m_outgoing.Add(bytes, count); });
}

bool ServerConnectionC::Queue(std::shared_ptr<const std::string> text)
{
    return QueueBy([&] { m_outgoing.Add(std::move(text)); });
}

/// What there is no memory for is too much, too.
template <typename Add>
bool ServerConnectionC::QueueBy(Add add)
{
    if (IsQueueFull()) {
        return false;
    }
    if (m_open) {
        try {
            const SpareMemoryC::RefusableC refusable(HoldsMuch());
            add();
        } catch (const std::bad_alloc&) {
            return false;
        }
        Queued();
    }
    return true;
}

bool ServerConnectionC::IsQueueFull() const
{
    return m_open && m_outgoing.Size() > kQueueLimit;
}

void ServerConnectionC::Queued()
{
    FlushLater();
    CountHeld();
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
    if (!m_open || m_isWriting || m_outgoing.Size() == 0) {
        return;
    }
    m_isWriting = true;
    const std::string_view portion = m_outgoing.Next();
    m_socket.async_write_some(
        asio::buffer(portion.data(), portion.size()),
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

/// Reports the first bytes of the portion that is being sent.
void ServerConnectionC::TellWritten(std::size_t count)
{
    if (const std::shared_ptr<ServerConnectionOwnerC> owner = m_owner.lock()) {
        owner->BytesWritten(*this, m_outgoing.Next().substr(0, count));
    }
}

void ServerConnectionC::Written(std::size_t count)
{
    TellWritten(count);
    m_outgoing.Sent(count, kKeptBytes);
    if (m_isEnding) {
        m_lastGrowth = std::chrono::steady_clock::now();
    }
    CountHeld();
    Flush();
    if (m_open && m_isEnding) {
        EndWhenSettled();
    }
    const std::shared_ptr<ServerConnectionOwnerC> owner = m_owner.lock();
    if (owner != nullptr && m_outgoing.Size() == 0) {
        owner->AllSent();
    }
}

void ServerConnectionC::SendRestAtOnce()
{
    // With a write under way nobody knows how far it has got: sending on would repeat bytes.
    asio::error_code error;
    while (!m_isWriting && !error && m_outgoing.Size() > 0) {
        const std::string_view portion = m_outgoing.Next();
        const std::size_t count =
            m_socket.write_some(asio::buffer(portion.data(), portion.size()), error);
        TellWritten(count);
        m_outgoing.Sent(count, kKeptBytes);
    }
}
