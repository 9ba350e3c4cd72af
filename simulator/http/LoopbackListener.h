#ifndef KESTROVE_SIMULATOR_HTTP_LOOPBACKLISTENER_H
#define KESTROVE_SIMULATOR_HTTP_LOOPBACKLISTENER_H

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

/// Listens on 127.0.0.1 and ::1 and hands out the connections.
///
/// Thread safety: Accept() on one thread, Stop() on any; the others before both.
class LoopbackListenerC
{
public:
    LoopbackListenerC();
    ~LoopbackListenerC();
    LoopbackListenerC(const LoopbackListenerC&) = delete;
    LoopbackListenerC& operator=(const LoopbackListenerC&) = delete;

    /// Starts to listen; port 0 takes a free one. A machine that lacks one of the two addresses is
    /// served on the other.
    ///
    /// @return an empty text on success, otherwise the reason.
    std::string Listen(std::uint16_t port);
    /// The port that is listened on; 0 when none is.
    std::uint16_t Port() const { return m_port; }
    /// One of the sockets that are listened on.
    int Socket() const { return m_sockets.empty() ? -1 : m_sockets.front(); }

    /// Waits for a connection.
    ///
    /// @return its socket, which is non-blocking and the caller's; -1 after Stop().
    int Accept();
    /// Ends Accept(), for good.
    void Stop();

private:
    int Open(int family, std::uint16_t port);
    void Close();
    int AcceptFrom(int socket);

    std::vector<int> m_sockets;
    std::uint16_t m_port = 0;
    int m_wake = -1;
    std::atomic<bool> m_stopped{false};
};

#endif
