#include "runtime/ServerConnection.h"

#include <asio/error.hpp>
#include <asio/socket_base.hpp>

#include "runtime/PeerSocket.h"

/// Nothing more comes. A client that has shut its sending side alone still gets what it is owed;
/// one that is not there any more gets nothing, and what it has not been served is not served: who
/// has crashed engages no steering later.
void ServerConnectionC::InputEnded()
{
    if (!m_open || m_isEnding) {
        return;
    }
    if (m_end != asio::error::eof || !IsOwedAnything() || !IsClientThere()) {
        Lost(EndReason());
        return;
    }
    m_isEnding = true;
    DiscardUnfinished();
    WaitForReset();
}

/// True when the client is to be served or sent something yet.
bool ServerConnectionC::IsOwedAnything() const
{
    return m_isHeld || !m_waiting.empty() || m_outgoing.Size() > 0;
}

bool ServerConnectionC::IsClientThere() const
{
    const auto client = PeerSocketC().Of(m_socket);
    return client && client->isOpen;
}

/// What is not whole never will be.
void ServerConnectionC::DiscardUnfinished()
{
    GiveAwayUnfinished({}, 0);
    m_decoder = NewDecoder();
    m_ahead.clear();
    m_aheadTaken = 0;
    m_aheadBytes = 0;
}

/// The system reports a client that goes while something is on its way to it.
void ServerConnectionC::WaitForReset()
{
    m_socket.async_wait(asio::socket_base::wait_error,
                        [self = shared_from_this()](const asio::error_code& error) {
                            if (!error && self->m_open && !self->IsClientThere()) {
                                self->Lost(self->EndReason());
                            }
                        });
}

/// Ends the connection once nothing is owed any more. What is only to be sent has to be taken.
void ServerConnectionC::EndWhenSettled()
{
    if (!IsOwedAnything()) {
        Lost(EndReason());
    } else if (const auto owner = m_owner.lock(); owner != nullptr && IsUnread()) {
        owner->ProgressAwaited(*this);
    }
}
