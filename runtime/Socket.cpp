#include "platform/Socket.h"

#include "runtime/SocketState.h"

namespace {

/// The limit of a connection attempt for which the caller sets none: a port that swallows
/// connections must not hold a terminal up.
constexpr int kOwnConnectLimitMilliseconds = 1000;

} // namespace

Socket::Socket() : m_socket(std::make_unique<SocketStateC>()) {}
Socket::~Socket() = default;

bool Socket::Accept(int descriptor)
{
    Close();
    m_socket->recorder.Opening();
    if (!m_socket->tcp.TakeOver(descriptor)) {
        return m_socket->Fail(ELinkError::NotConnected, "no connected stream socket");
    }
    m_socket->Succeed();
    ++m_socket->connections;
    m_socket->recorder.Opened(m_socket->Peer());
    m_accepted = true;
    Connected();
    return m_accepted;
}

bool Socket::Reconnect()
{
    if (m_socket->port == 0) {
        return m_socket->Fail(ELinkError::NotConnected, "never connected to a service");
    }
    return Connect(m_socket->host, m_socket->port, m_socket->timeoutMilliseconds);
}

void Socket::Connected() {}
int Socket::GetExtraReader()
{
    return -1;
}
void Socket::ReadExtra() {}
void Socket::DataReceived() {}
// The hook hands the name over by value; its slot is fixed so.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void Socket::DataReceivedFrom(std::string /*host*/, unsigned short /*port*/) {}
void Socket::DataSent() {}
void Socket::Disconnected() {}

// The name comes by value, as the interface has it.
bool Socket::Connect(std::string host, unsigned short port, int timeoutMilliseconds)
{
    Close();
    SocketStateC& state = *m_socket;
    state.host = std::move(host);
    state.port = port;
    state.timeoutMilliseconds = timeoutMilliseconds;
    const int limit = timeoutMilliseconds < 0 ? kOwnConnectLimitMilliseconds : timeoutMilliseconds;
    state.recorder.Opening();
    state.error = state.tcp.Open(state.host, port, DeadlineC::After(limit));
    m_connected = state.tcp.IsOpen();
    m_accepted = false; // whatever a hook has opened in the meantime is gone
    if (!m_connected) {
        state.recorder.Refused(state.error.text);
        return false;
    }
    state.recorder.Opened(state.Peer());
    ++state.connections;
    Connected();
    return m_connected;
}

void Socket::Close()
{
    const bool wasUp = m_connected || m_accepted;
    m_connected = false;
    m_accepted = false;
    m_socket->recorder.Closed("the application closed the connection");
    m_socket->tcp.Close();
    if (wasUp) {
        Disconnected();
    }
}

int Socket::Descriptor() const
{
    return m_socket->tcp.Descriptor();
}

const LinkErrorC& Socket::LastError() const
{
    return m_socket->error;
}
