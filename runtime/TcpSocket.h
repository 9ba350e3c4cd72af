#ifndef KESTROVE_RUNTIME_TCPSOCKET_H
#define KESTROVE_RUNTIME_TCPSOCKET_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/LinkError.h"
#include "runtime/Deadline.h"
#include "runtime/ProcessMark.h"

/// How an attempt to send or receive ended.
enum class ETransfer
{
    Done,   ///< at least one byte went
    NotNow, ///< none could go without waiting, or within the socket's time-out
    Closed, ///< the peer has closed or reset the connection
};

/// A connected TCP socket of the operating system, which it owns.
///
/// The client's hot path sends and receives through these calls directly: one system call each,
/// where an event loop's wait would cost one more.
class TcpSocketC
{
public:
    TcpSocketC() = default;
    ~TcpSocketC() { Close(); }
    TcpSocketC(const TcpSocketC&) = delete;
    TcpSocketC& operator=(const TcpSocketC&) = delete;

    /// Opens a connection: one attempt over every address of the host, in place of the present one.
    ///
    /// @return code None on success, otherwise the reason.
    LinkErrorC Open(const std::string& host, unsigned short port, const DeadlineC& deadline);
    /// Takes over a descriptor; false when it is not a connected stream socket.
    bool TakeOver(int descriptor);
    void Close();

    bool IsOpen() const { return m_descriptor >= 0; }
    /// Whether the socket was open when this process was forked from the one that it belongs to.
    bool IsInherited() const { return m_descriptor >= 0 && m_process != ProcessMark(); }
    /// The descriptor; -1 when none is open, or when it is another process's.
    int Descriptor() const { return IsInherited() ? -1 : m_descriptor; }
    const std::string& PeerHost() const { return m_peerHost; }
    unsigned short PeerPort() const { return m_peerPort; }

    /// Sends without waiting; `sent` receives how many bytes went.
    ETransfer Send(const char* data, std::size_t size, std::size_t& sent);
    /// Receives without waiting; `received` receives how many bytes came.
    ETransfer ReceiveNow(char* data, std::size_t size, std::size_t& received);
    /// Receives; waits for the socket's receive time-out. An interruption counts as NotNow.
    ETransfer ReceiveWaiting(char* data, std::size_t size, std::size_t& received);
    /// Sets the receive time-out; -1 for none. Costs nothing when it is set already.
    void SetReceiveTimeout(int milliseconds);

    /// Waits until the socket has something to read, or also room to write.
    ///
    /// @return false when the deadline has passed.
    bool Wait(bool alsoForRoom, const DeadlineC& deadline) const;

private:
    void Adopt(int descriptor);

    int m_descriptor = -1;
    std::uint64_t m_process = 0; // whose socket it is
    int m_receiveTimeout = -1;
    std::string m_peerHost;
    unsigned short m_peerPort = 0;
};

#endif
