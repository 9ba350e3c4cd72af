#ifndef KESTROVE_PLATFORM_SOCKET_H
#define KESTROVE_PLATFORM_SOCKET_H

/// @file
/// A stream of bytes to another program.

#include <memory>
#include <string>

#include "core/Export.h"
#include "platform/LinkError.h"

struct SocketStateC;

/// A stream connection to one peer, with hooks that show a derived class what happens on it.
///
/// Thread safety: none; a socket is used from one thread at a time, and everything that it does
/// happens on the caller's thread. Lifetime: the destructor closes the connection and calls no
/// hook. No signal is ever raised by a closed peer; interrupted system calls are taken up again.
class KESTROVE_EXPORT Socket
{
public:
    /// Not connected.
    Socket();
    // The order of the virtual operations is fixed: applications keep working without a rebuild.
    /// Closes the connection; calls no hook.
    virtual ~Socket();
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    /// Called when a wait for messages ends without one. Does nothing; for derived classes.
    virtual void Idle() {}
    /// Takes over a connected stream socket, for example one that a listener accepted, in place of
    /// the present connection.
    ///
    /// @param descriptor the socket; owned from then on, also on failure.
    /// @return false when it is not a connected stream socket.
    virtual bool Accept(int descriptor);
    /// Opens the connection again to where Connect() led last: one attempt with its time-out.
    ///
    /// @return false when that fails, or when Connect() has never been called.
    virtual bool Reconnect();
    /// Hook: a connection has just been opened or taken over.
    virtual void Connected();
    /// Hook: names a further descriptor to watch while messages are waited for.
    ///
    /// @return the descriptor, which stays the derived class's; -1 for none.
    virtual int GetExtraReader();
    /// Hook: the descriptor that GetExtraReader() named has something to read.
    virtual void ReadExtra();
    /// Hook: bytes have arrived and have been taken in. Nothing may be sent from here, since a
    /// message may be half written.
    virtual void DataReceived();
    /// Hook: bytes have arrived from the peer. Called after DataReceived().
    ///
    /// @param host the peer's numeric address.
    /// @param port the peer's port.
    virtual void DataReceivedFrom(std::string host, unsigned short port);
    /// Hook: a message has been handed to the operating system whole.
    virtual void DataSent();
    /// Hook: the connection has been closed, by either side.
    virtual void Disconnected();

    /// Opens a connection in place of the present one: one attempt, over every address of the host.
    ///
    /// @param host a name, or an IPv4 or IPv6 address. "localhost" stands for ::1 and 127.0.0.1 and
    ///        is never looked up.
    /// @param port the peer's TCP port.
    /// @param timeoutMilliseconds the limit of the whole attempt; -1 for the library's own, 1000.
    ///        The look-up of a name other than "localhost" is not bounded by it.
    /// @return true when the connection is open; otherwise LastError() says why not.
    bool Connect(std::string host, unsigned short port, int timeoutMilliseconds);

    /// Closes the connection; nothing happens when there is none.
    void Close();

    /// @return the socket's descriptor, for an application's own event loop; -1 when there is no
    ///         connection, or only one that belongs to the process from which this one was forked.
    ///         It changes with every reconnection and must not be read from or closed.
    [[nodiscard]] int Descriptor() const;

    /// Why the last call failed. Set by Connect(), Reconnect() and Accept(), by every call that
    /// sends, and whenever a connection is found lost; a look at a link that lives leaves it as it
    /// is.
    ///
    /// @return the reason, code None when the call did not fail; valid until the next call.
    [[nodiscard]] const LinkErrorC& LastError() const;

protected:
    bool m_connected = false; ///< the connection was opened by Connect()
    bool m_accepted = false;  ///< the connection was taken over by Accept()
    /// The connection itself; the runtime's own.
    std::unique_ptr<SocketStateC> m_socket;
};

#endif
